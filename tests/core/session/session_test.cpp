#include "core/session/session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "core/scan/report_json.h"
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
    home.file("outside/large", 3'000'000);
    home.link(".cargo/registry/out", "../../outside");
    const ScanReport report = sessionOf(home).scan({});
    EXPECT_EQ(report.developerBytes(),
              test::diskUsage(std::vector{home.path(".cache/uv"), home.path(".cargo/registry")}));
    std::uint64_t deduplicated = 0;
    for (const CleanupItem& item : report.allItems()) {
        deduplicated += item.measurement.deduplicatedBytes;
        EXPECT_TRUE(item.measurement.isComplete());
    }
    EXPECT_EQ(deduplicated, 200'704U);
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
    Session session({home.path(), false, {}});
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

TEST(SessionUnprivileged, NamesEveryPlaceItCouldNotRead) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    TestHome home;
    home.file(".cargo/registry/open/data");
    home.file(".cargo/registry/caf\xe9/data");
    home.file(".gradle/caches/data");
    home.mode(".cargo/registry/caf\xe9", 0000);
    home.mode(".gradle/caches", 0000);
    const ScanReport report = sessionOf(home).scan({});

    EXPECT_EQ(idsOf(report), std::vector<std::string>{"rust.cargoRegistry"});
    EXPECT_EQ(report.allItems().front().measurement.fileCount, 1);
    ASSERT_TRUE(report.isPartial());
    const auto json = reportJson(report, home.path());
    EXPECT_EQ(json["modules"][0]["unreachable"][0]["path"],
              home.path(".cargo/registry/caf") + std::string("\0e9", 3));
    const auto& system = *std::ranges::find(report.modules, ModuleID::system, &ModuleResult::moduleID);
    ASSERT_EQ(system.unreachable.size(), 1U);
    EXPECT_EQ(system.unreachable[0].path, home.path(".gradle/caches"));
    EXPECT_EQ(system.unreachable[0].reason, UnreachableLocation::Reason::permissionDenied);
}

}  // namespace
}  // namespace brindle
