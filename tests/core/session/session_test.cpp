#include "core/session/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "core/modules/property_list.h"
#include "core/platform/files.h"
#include "core/scan/report_json.h"
#include "tests/support/canned_tools.h"
#include "tests/support/disk_usage.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

Session sessionOf(const TestHome& home, bool isCurrentUser = false) {
    return Session({home.path(), isCurrentUser, {"XDG_CONFIG_HOME=" + home.path("elsewhere")}});
}

std::vector<std::string> idsOf(const ScanReport& report) {
    std::vector<std::string> ids;
    for (const CleanupItem& item : report.allItems()) ids.push_back(item.id);
    std::ranges::sort(ids);
    return ids;
}

TEST(Session, ScansANamedHomeWithItsOwnSettings) {
    TestHome home;
    home.file(".cache/uv/archive");
    home.file(".cargo/registry/index");
    home.file(".gradle/caches/jar");
    home.text(".config/brindle/preferences.json", R"({"brindle.disabledModules": ["rust"]})");
    home.text("elsewhere/brindle/preferences.json", R"({"brindle.disabledModules": ["python", "android"]})");
    const Session session = sessionOf(home);
    EXPECT_EQ(idsOf(session.scan({})), (std::vector<std::string>{"android.gradle", "python.uv"}));

    ScanOptions onlyDisabled;
    onlyDisabled.only = {ModuleID::rust};
    EXPECT_EQ(idsOf(session.scan(onlyDisabled)), std::vector<std::string>{"rust.cargoRegistry"});

#ifndef __APPLE__
    EXPECT_EQ(idsOf(sessionOf(home, true).scan({})), std::vector<std::string>{"rust.cargoRegistry"});
#endif
}

TEST(Session, CountsAFileOfTwoCachesOnceAndKeepsOddNames) {
    TestHome home;
    home.file(".cache/uv/wheels/caf\xe9-\xff", 200'000);
    home.hardLink(".cargo/registry/cache/linked", ".cache/uv/wheels/caf\xe9-\xff");
    const ScanReport report = sessionOf(home).scan({});
    EXPECT_EQ(report.developerBytes(),
              test::diskUsage(std::vector{home.path(".cache/uv"), home.path(".cargo/registry")}));
    EXPECT_NO_THROW(reportJson(report, home.path()).dump());
}

TEST(Session, GuardsWithWhatTheUserProtectsAndNotAtAllWhenThatCannotBeRead) {
    TestHome home;
    home.file(".gradle/caches/jar");
    home.folder("elsewhere");
    home.link(".cargo", "elsewhere");
    home.file("elsewhere/registry/index");
    home.text(".config/brindle/preferences.json",
              R"({"brindle.protectedPaths": [")" + home.path(".gradle") + "\"]}");
    const Session session = sessionOf(home);
    const ScanReport report = session.scan({});
    EXPECT_EQ(idsOf(report), (std::vector<std::string>{"android.gradle", "rust.cargoRegistry"}));
    EXPECT_EQ(report.reclaimableBytes(), 0U);
    const auto guard = session.safetyGuard(report);
    ASSERT_TRUE(guard);
    EXPECT_FALSE(guard->verdictForDeleting(home.path(".gradle/caches")).isAllowed());
    EXPECT_TRUE(guard->verdictForDeleting(home.path(".npm/x")).isAllowed());

    home.text(".config/brindle/preferences.json", R"({"brindle.protectedPaths": "all"})");
    EXPECT_FALSE(session.safetyGuard(report));
}

TEST(Session, RecordsACleanupAndLeavesNothingElseBehind) {
    TestHome home;
    home.file(".cache/uv/archive");
    home.file(".gradle/caches/modules/jar");
    const Session session = sessionOf(home);
    const ScanReport report = session.scan({});
    const auto clean = [&](bool isDryRun) {
        std::vector<CleanupItem> items = report.allItems();
        std::erase_if(items, [](const CleanupItem& item) { return item.removal.isCommand(); });
        return session.clean({.items = items, .report = report, .isDryRun = isDryRun});
    };
    ASSERT_TRUE(clean(true));
    EXPECT_TRUE(fs::exists(home.path(".gradle/caches/modules/jar")));
    const auto outcome = clean(false);
    ASSERT_TRUE(outcome) << outcome.error().sentence;
    EXPECT_TRUE(outcome->isRecorded && !outcome->isInterrupted && outcome->before && outcome->after);
    EXPECT_FALSE(fs::exists(home.path(".gradle/caches/modules/jar")));
    const auto history = session.history().loadChecked();
    ASSERT_TRUE(history);
    ASSERT_EQ(history->size(), 2U);
    EXPECT_EQ(history->at(0).entries, outcome->receipt.entries);
    EXPECT_TRUE(history->at(1).wasDryRun);
    std::set<std::string> left;
    for (const auto& entry : fs::directory_iterator(session.history().directory())) {
        left.insert(entry.path().filename());
        EXPECT_EQ(entry.status().permissions(), fs::perms(0600));
    }
    EXPECT_EQ(left, (std::set<std::string>{"cleanup.lock", "history.json"}));
    EXPECT_EQ(fs::status(session.history().directory()).permissions(), fs::perms(0700));
}

class ScheduledCleanup : public testing::Test {
  protected:
    ScheduledCleanup() {
        for (const char* each :
             {".cargo/registry/crate", ".gradle/caches/jar", ".cache/huggingface/hub/model"})
            home.file(each, 100'000);
        home.file("Projects/old/node_modules/left/index.js", 100'000);
        home.text("Projects/old/package.json", "{}");
        Preferences settings = sessionOf(home).preferences();
        EXPECT_TRUE(settings.setScheduledScansEnabled(true));
        EXPECT_TRUE(settings.setAutoCleanEnabled(true));
    }

    Scheduler::Outcome run() const {
        const Session session = sessionOf(home);
        return session.scheduler().run(std::chrono::system_clock::now(), [] { return false; });
    }
    bool isThere(const char* path) const { return fs::exists(home.path(path)); }

    TestHome home;
};

TEST_F(ScheduledCleanup, RemovesWhatIsSafeAndLeavesALine) {
    std::set<std::string> safe;
    for (const CleanupItem& each : Scheduler::itemsToClean(sessionOf(home).scan({}))) safe.insert(each.id);
    ASSERT_TRUE(safe.contains("rust.cargoRegistry"));
    const auto outcome = run();
    ASSERT_TRUE(outcome.receipt);
    std::set<std::string> gone;
    for (const ReceiptEntry& each : outcome.receipt->entries) {
        EXPECT_EQ(each.method, RemovalMethod::deleted);
        gone.insert(each.itemID);
    }
    EXPECT_EQ(gone, safe);
    EXPECT_FALSE(isThere(".cargo/registry"));
    EXPECT_TRUE(isThere(".cache/huggingface/hub/model"));
    EXPECT_TRUE(isThere("Projects/old/node_modules/left/index.js"));
    const Session session = sessionOf(home);
    EXPECT_EQ(session.history().loadChecked()->size(), 1U);
    ASSERT_EQ(session.scheduleLog().runs().size(), 1U);
    EXPECT_EQ(session.scheduleLog().runs()[0].receipt, outcome.receipt->id);
    EXPECT_FALSE(session.scheduler().isOverdue(std::chrono::system_clock::now()));
}

TEST_F(ScheduledCleanup, HeedsWhatIsProtectedWhileItRuns) {
    const Session session = sessionOf(home);
    const ScanReport report = session.scan({});
    const auto outcome = session.clean(
        {.items = Scheduler::itemsToClean(report), .report = report, .onItem = [&](const CleanupItem& item) {
             Preferences settings = session.preferences();
             const char* other = item.id == "rust.cargoRegistry" ? ".gradle" : ".cargo";
             if (settings.protectedPaths().empty()) (void)settings.setProtectedPaths({home.path(other)});
         }});
    ASSERT_TRUE(outcome && outcome->receipt.entries.size() == 2);
    EXPECT_EQ(outcome->receipt.entries[0].method, RemovalMethod::deleted);
    EXPECT_EQ(outcome->receipt.entries[1].method, RemovalMethod::refused);
    EXPECT_EQ(isThere(".cargo/registry") + isThere(".gradle/caches"), 1);
}

TEST_F(ScheduledCleanup, RunsOnceWhenTwoComeTogether) {
    Scheduler::Outcome outcomes[2];
    std::vector<std::jthread> threads;
    for (Scheduler::Outcome& each : outcomes) threads.emplace_back([&each, this] { each = run(); });
    threads.clear();
    EXPECT_GE(outcomes[0].receipt.has_value() + outcomes[1].receipt.has_value(), 1);
    EXPECT_EQ(sessionOf(home).history().loadChecked()->size(), 1U);
    EXPECT_FALSE(isThere(".cargo/registry"));
}

const char* const kOddProgram = "/opt/a \"b\" 100% <c> & \\d/brindle";

TimerOrder orderFor(const TestHome& home, const std::string& program) {
    return {home.path(), home.path(".config"), program, {"schedule", "run", "--if-due"}};
}

TEST(TimerFiles, NameTheProgramHoweverItIsSpelled) {
    const TestHome home;
    for (const char* program : {"/usr/bin/brindle", "/opt/caf\xc3\xa9 100% $HOME/brindle", kOddProgram}) {
        const TimerOrder order = orderFor(home, program);
        EXPECT_EQ(programOfLaunchAgent(launchAgent(order).value()), program);
        EXPECT_TRUE(PropertyList::parse(launchAgent(order).value())) << *launchAgent(order);
        const auto service = systemdService(order);
        ASSERT_EQ(service.has_value(), program != kOddProgram);
        if (!service) continue;
        EXPECT_EQ(programOfSystemdService(*service), program);
    }
    for (const char* program : {"/opt/\xff/brindle", "/opt/a\nb/brindle"}) {
        EXPECT_FALSE(systemdService(orderFor(home, program)));
        EXPECT_FALSE(launchAgent(orderFor(home, program)));
    }
    EXPECT_FALSE(programOfSystemdService("[Service]\nExecStart=\"/unfinished"));
    EXPECT_FALSE(programOfLaunchAgent(""));
}

#ifndef __APPLE__
TEST(TimerFiles, AreAcceptedBySystemd) {
    TestHome home;
    const std::string program = home.script("bin 100% $HOME/brindle", "true");
    TimerOrder order = orderFor(home, program);
    order.environment = {"XDG_CONFIG_HOME=/a b/100%"};
    home.text("units/brindle.service", systemdService(order).value());
    home.text("units/brindle.timer", systemdTimer());
    const ProcessRunner runner(home.path(), {"XDG_RUNTIME_DIR=" + home.path()});
    const auto analyze = runner.locate("systemd-analyze");
    if (!analyze) GTEST_SKIP() << "systemd-analyze is not on this machine";
    for (const char* unit : {"units/brindle.service", "units/brindle.timer"}) {
        const auto result = runner.run(*analyze, {"--user", "--man=no", "verify", home.path(unit)});
        ASSERT_TRUE(result);
        EXPECT_EQ(result->status, 0) << result->message();
        EXPECT_EQ(result->errors, "");
    }
}

TEST(ScheduleTimer, IsInstalledSeenAndTakenAway) {
    TestHome home;
    const std::string program = home.script("bin/brindle", "true");
    const Toolbox tools =
        test::cannedTools({{"/usr/bin/systemctl --user daemon-reload", {}},
                           {"/usr/bin/systemctl --user enable --now brindle.timer", {"no bus", 1}},
                           {"/usr/bin/systemctl --user disable --now brindle.timer", {}},
                           {"systemctl", {}}});
    const ScheduleTimer timer(orderFor(home, program), tools);
    EXPECT_FALSE(timer.state().isInstalled);
    EXPECT_TRUE(timer.uninstall()->files.empty());

    const auto done = timer.install();
    ASSERT_TRUE(done);
    std::vector<std::string> paths = timer.paths();
    const std::string link = home.path(".config/systemd/user/timers.target.wants/brindle.timer");
    ASSERT_EQ(paths.back(), link);
    paths.pop_back();
    EXPECT_EQ(done->files, paths);
    ASSERT_TRUE(done->complaint);
    EXPECT_NE(done->complaint->find("no bus"), std::string::npos);
    EXPECT_EQ(timer.state().program, program);
    EXPECT_TRUE(timer.state().isProgramThere);
    EXPECT_FALSE(timer.state().isEnabled);
    fs::create_directories(fs::path(link).parent_path());
    fs::create_symlink(paths.back(), link);
    EXPECT_TRUE(timer.state().isEnabled);
    fs::remove(program);
    EXPECT_FALSE(timer.state().isProgramThere);
    EXPECT_EQ(timer.uninstall()->files, timer.paths());
    EXPECT_FALSE(timer.state().isInstalled);
    fs::create_symlink("gone", link);
    EXPECT_EQ(timer.uninstall()->files, std::vector<std::string>{link}) << "of a stop that failed";
}
#endif

}  // namespace
}  // namespace brindle
