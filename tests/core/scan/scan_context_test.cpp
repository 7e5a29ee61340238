#include "core/scan/scan_context.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/item_checks.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using Reason = UnreachableLocation::Reason;
using std::chrono::sys_seconds;
using test::contextOf;

TEST(ScanContext, SaysOfAVanishedFileThatItIsGone) {
    test::TestHome home;
    home.file("cache/data");
    ScanContext context = contextOf(home);
    context.isCancelled = [&, polls = 0]() mutable {
        // Asked once before the walk and once before each entry: the folder has been listed by then.
        if (++polls == 2) std::filesystem::remove(home.path("cache/data"));
        return false;
    };
    EXPECT_TRUE(context.measure(home.path("cache")));
    EXPECT_EQ(context.diagnostics->reason(home.path("cache/data")), Reason::missing);
}

TEST(ScanContextUnprivileged, RecordsWhatItCouldNotRead) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    test::TestHome home;
    home.file("cache/closed/data");
    home.mode("cache/closed", 0000);
    const ScanContext context = contextOf(home);
    EXPECT_TRUE(context.measure(home.path("cache")));
    EXPECT_TRUE(context.children(home.path("cache/closed")).empty());
    EXPECT_TRUE(context.children(home.path("nowhere")).empty());
    EXPECT_EQ(context.diagnostics->paths(), std::vector{home.path("cache/closed")});

    home.file("shut/tool/cache/data");
    home.mode("shut", 0000);
    EXPECT_FALSE(context.measure(home.path("shut/tool/cache")));
    EXPECT_EQ(context.diagnostics->paths(), (std::vector{home.path("cache/closed"), home.path("shut")}));
}

TEST(ScanContext, ListsChildrenWithTheirOwnTimes) {
    test::TestHome home;
    home.folder("folder/b");
    home.file("folder/a");
    home.file("folder/.hidden");
    home.modified("folder/a", 1000);
    home.modified("folder/b", 2000);
    const std::vector<ChildEntry> expected = {
        {home.path("folder/a"), sys_seconds(std::chrono::seconds(1000))},
        {home.path("folder/b"), sys_seconds(std::chrono::seconds(2000))}};
    EXPECT_EQ(contextOf(home).children(home.path("folder")), expected);
}

TEST(ScanContext, SaysAgesAsPeopleDo) {
    test::speakEnglish();
    test::TestHome home;
    const ScanContext context = contextOf(home);
    const auto now = std::chrono::floor<std::chrono::seconds>(context.now);
    using Row = std::pair<int, const char*>;
    for (const auto& [days, text] :
         {Row{-400, "today"}, Row{0, "today"}, Row{1, "yesterday"}, Row{2, "2 days ago"},
          Row{29, "29 days ago"}, Row{30, "last month"}, Row{59, "last month"}, Row{60, "2 months ago"},
          Row{75, "2 months ago"}, Row{364, "12 months ago"}, Row{365, "over a year ago"}}) {
        // An hour beside the full day: a change of daylight saving between must not move the row.
        EXPECT_EQ(context.relativeAge(now - std::chrono::days(days) - std::chrono::hours(2)), text) << days;
    }
    EXPECT_EQ(context.relativeAge(std::nullopt), "unknown");
    EXPECT_EQ(context.relativeAge(sys_seconds::min()), "unknown");
    EXPECT_FALSE(context.days(std::nullopt));
    EXPECT_EQ(context.displayPath(home.path("a")), "~/a");
    EXPECT_EQ(context.displayPath(home.path() + "-other/a"), home.path() + "-other/a");
}

TEST(ScanDiagnostics, KeepsTheFirstRealFailureOfAPath) {
    ScanDiagnostics diagnostics;
    using enum UnreachableLocation::Reason;
    for (const Reason reason : {differentVolume, permissionDenied, missing}) diagnostics.record("/z", reason);
    for (const Reason reason : {searchDepth, differentVolume}) diagnostics.record("/a", reason);
    using Entries = std::vector<std::pair<std::string, Reason>>;
    EXPECT_EQ(diagnostics.entries(),
              (Entries{{"/a", Reason::differentVolume}, {"/z", Reason::permissionDenied}}));
}

}  // namespace
}  // namespace brindle
