// Items and places that a real disk does not readily offer.
#include <gtest/gtest.h>

#include "cli/item_lookup.h"
#include "cli/item_page.h"
#include "cli/report_view.h"
#include "cli/unreachable_view.h"
#include "core/text/core_strings.h"
#include "tests/cli/collected_run.h"

namespace brindle {

namespace {

using test::contains;
using test::expectAll;

CleanupItem itemWith(DirectoryMeasurement measurement,
                     Classification classification = Classification::review) {
    const Regeneration regeneration{Regeneration::Kind::automatic, "On the next run"};
    CleanupItemFields fields;
    fields.title = "Store \x1b[2J";
    fields.measurement = std::move(measurement);
    fields.classification = classification;
    fields.explanation = {"A store.", "Nothing.", {}, regeneration, {{"Version", "9"}}};
    fields.removal = {DeletePaths{{"/home/u/store", "/else/\xff"}}};
    fields.projectPath = "/home/u/app";
    fields.clears = "the index";
    return CleanupItem(std::move(fields));
}

Look lookOfWidth(unsigned columns) {
    Look look;
    look.width = columns;
    return look;
}

std::string noAge(std::optional<std::chrono::sys_seconds>) {
    return "today";
}

}  // namespace

TEST(ItemView, NeverShowsASizeForMoreThanItIs) {
    const CleanupItem item = itemWith({.allocatedBytes = 2'000'000,
                                       .unreadablePaths = {"/home/u/store/x"},
                                       .deduplicatedBytes = 5'000'000});
    const std::string wide = ItemTable(lookOfWidth(80), noAge).lines(item);
    expectAll({"at least 2.0 MB", "also clears: the index"}, wide);
    EXPECT_FALSE(contains(wide, "\x1b"));
    expectAll({">= 2.0 MB"}, ItemTable(lookOfWidth(40), noAge).lines(item));
    expectAll({"at least 2.0 MB on disk", "5.0 MB more are shared", "treat it as a floor", "~/store/x",
               "moved to the Trash:", "/else/\\xFF", "by itself: On the next run", "~/app", "Version"},
              itemPage(item, "/home/u", lookOfWidth(200)));
    EXPECT_FALSE(contains(itemPage(itemWith({}, Classification::protected_), "/home/u", {}), "to the Trash"));
}

TEST(ItemView, SaysWhenTheToolGaveTheNumber) {
    const CleanupItem item = itemWith({.source = DirectoryMeasurement::Source::reported});
    EXPECT_TRUE(contains(ItemTable(lookOfWidth(100), noAge).lines(item), "reported by the tool"));
    EXPECT_FALSE(contains(itemPage(item, "/home/u", {}), "sizes of its files"));
}

TEST(ItemView, ShowsLongIdentifiersAndFactsOfSeveralLinesWhole) {
    CleanupItem item = itemWith({});
    item.storedDetail = "~/store";
    item.id = "android.systemImage.android-34/google_apis/arm64-v8a";
    item.explanation.facts = {{"Folders", "~/a\n~/b"},
                              {"Still installed from the same vendor", "org.example"}};
    const std::string wide = ItemTable(lookOfWidth(80), noAge).lines(item);
    EXPECT_TRUE(contains(wide, " ~/store\n")) << wide;
    EXPECT_TRUE(contains(wide, " " + item.id + "\n")) << wide;
    const std::string page = itemPage(item, "/home/u", lookOfWidth(80));
    const std::string below(24, ' ');
    EXPECT_TRUE(contains(page, "~/a\n" + below + "~/b\n")) << page;
    EXPECT_TRUE(contains(page, "  Still installed from the same vendor\n" + below + "org.example\n")) << page;
}

TEST(UnreachableView, GroupsByReasonAndRemedyAndCutsLongLists) {
    using Reason = UnreachableLocation::Reason;
    std::vector<UnreachableLocation> locations = {{"/mnt/other", Reason::differentVolume, "Left alone."},
                                                  {"docker", Reason::toolchainNotRunning, "Start it."},
                                                  {"/home/u/0", Reason::permissionDenied, "Ask."}};
    for (const char name : std::string_view("0123456789")) {
        locations.push_back({std::string("/home/u/") + name, Reason::permissionDenied, "Ask."});
    }
    EXPECT_EQ(unreachableText(locations, "/home/u", {}),
              "Not measured\n  could not read\n    ~/0\n    ~/1\n    ~/2\n    ~/3\n    ~/4\n    ~/5\n    "
              "~/6\n    ~/7\n"
              "    and 2 more (--json shows all)\n    Ask.\n  tool not running\n    docker\n    Start it.\n"
              "  on another volume\n    /mnt/other\n    Left alone.\n");
    EXPECT_EQ(unreachableText({}, "/home/u", {}), "");
}

TEST(ItemLookup, KnowsWhatWasNotLookedAt) {
    using Reason = UnreachableLocation::Reason;
    const std::vector<UnreachableLocation> locations = {{"docker", Reason::toolchainNotRunning, ""},
                                                        {"/h/a/b", Reason::permissionDenied, ""},
                                                        {"/h/a", Reason::searchDepth, ""}};
    const std::tuple<std::string, std::string, bool> cases[] = {{"/h/a/b/c", "/h/a/b", false},
                                                                {"/h/a/x", "/h/a", false},
                                                                {"/h", "/h/a/b", true},
                                                                {"/h/ab", "", false}};
    for (const auto& [path, place, isInside] : cases) {
        const auto obstacle = obstacleFor(path, locations);
        EXPECT_EQ(obstacle ? obstacle->location.path : "", place);
        EXPECT_EQ(obstacle && obstacle->isInside, isInside) << path;
    }
}

TEST(ReportView, SaysSoWhenThereIsNothingOrNoCapacity) {
    ScanReport report;
    report.storage = {{StorageCategory::Kind::developer, 0, true, {}}};
    const auto text = [&](bool isInterrupted) {
        return reportText({report, {}, "/home/u", noAge, isInterrupted, {}, false, {}});
    };
    expectAll({"The capacity of this volume could not be read.", "Nothing was found"}, text(false));
    expectAll({"Nothing had been found yet."}, text(true));
    report.storage.front().storedBlockedReason = "Grant access";
    report.disk = DiskInfo{"Disk \xff", 1000, 400};
    report.storage.front().isMeasured = false;
    expectAll({"Developer data not measured: Grant access", "Volume Disk \\xFF  600 B of 1.0 KB used",
               "This scan is partial"},
              text(false));
}

}  // namespace brindle
