#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "core/modules/property_list.h"
#include "core/platform/files.h"
#include "core/session/session.h"
#include "tests/support/canned_tools.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

Session scheduledSessionOf(const TestHome& home) {
    return Session({home.path(), false, {}});
}

class ScheduledCleanup : public testing::Test {
  protected:
    ScheduledCleanup() {
        for (const char* each :
             {".cargo/registry/crate", ".gradle/caches/jar", ".cache/huggingface/hub/model"})
            home.file(each, 100'000);
        home.file("Projects/old/node_modules/left/index.js", 100'000);
        home.text("Projects/old/package.json", "{}");
        Preferences settings = scheduledSessionOf(home).preferences();
        EXPECT_TRUE(settings.setScheduledScansEnabled(true));
        EXPECT_TRUE(settings.setAutoCleanEnabled(true));
    }

    Scheduler::Outcome run() const {
        const Session session = scheduledSessionOf(home);
        return session.scheduler().run(std::chrono::system_clock::now(), [] { return false; });
    }
    bool isThere(const char* path) const { return fs::exists(home.path(path)); }

    TestHome home;
};

TEST_F(ScheduledCleanup, RemovesWhatIsSafeAndLeavesALine) {
    std::set<std::string> safe;
    for (const CleanupItem& each : Scheduler::itemsToClean(scheduledSessionOf(home).scan({})))
        safe.insert(each.id);
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
    const Session session = scheduledSessionOf(home);
    EXPECT_EQ(session.history().loadChecked()->size(), 1U);
    ASSERT_EQ(session.scheduleLog().runs().size(), 1U);
    EXPECT_EQ(session.scheduleLog().runs()[0].receipt, outcome.receipt->id);
    EXPECT_FALSE(session.scheduler().isOverdue(std::chrono::system_clock::now()));
}

TEST_F(ScheduledCleanup, RemovesNothingThatItCouldNotRecord) {
    home.text("Library/Application Support/Brindle/history.json", "not a history");
    const auto outcome = run();
    EXPECT_FALSE(outcome.receipt);
    ASSERT_TRUE(outcome.refusal);
    EXPECT_EQ(outcome.refusal->sentence, "History cannot be read; cleanup has not started.");
    EXPECT_TRUE(isThere(".cargo/registry/crate"));
    EXPECT_EQ(scheduledSessionOf(home).scheduleLog().runs().front().refusal, outcome.refusal->sentence);
}

TEST_F(ScheduledCleanup, RunsOnceWhenTwoComeTogether) {
    Scheduler::Outcome outcomes[2];
    std::vector<std::jthread> threads;
    for (Scheduler::Outcome& each : outcomes) threads.emplace_back([&each, this] { each = run(); });
    threads.clear();
    EXPECT_GE(outcomes[0].receipt.has_value() + outcomes[1].receipt.has_value(), 1);
    EXPECT_EQ(scheduledSessionOf(home).history().loadChecked()->size(), 1U);
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
    EXPECT_EQ(done->files, timer.paths());
    ASSERT_TRUE(done->complaint);
    EXPECT_NE(done->complaint->find("no bus"), std::string::npos);
    EXPECT_EQ(timer.state().program, program);
    EXPECT_TRUE(timer.state().isProgramThere);
    fs::remove(program);
    EXPECT_FALSE(timer.state().isProgramThere);
    EXPECT_EQ(timer.uninstall()->files, timer.paths());
    EXPECT_FALSE(timer.state().isInstalled);
}
#endif

}  // namespace
}  // namespace brindle
