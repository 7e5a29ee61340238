// Items and places that a real disk does not readily offer.
#include <gtest/gtest.h>

#include "cli/item_lookup.h"
#include "cli/item_page.h"
#include "cli/report_view.h"
#include "cli/unreachable_view.h"
#include "core/text/core_strings.h"
#include "tests/support/test_home.h"

namespace brindle {

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

CleanupItem itemWith(DirectoryMeasurement measurement,
                     Classification classification = Classification::review) {
    return CleanupItem(
        {.id = "node.store",
         .title = "Store \x1b[2J",
         .detail = "~/store",
         .measurement = std::move(measurement),
         .classification = classification,
         .explanation = {.storedWhatItIs = "A store.",
                         .storedWhatHappensNext = "Nothing.",
                         .storedWhySuggested = {},
                         .regeneratedBy = Regeneration{Regeneration::Kind::automatic, "On the next run"},
                         .facts = {{"Version", "9"}}},
         .removal = {DeletePaths{{"/home/u/store", "/else/\xff"}}},
         .projectPath = "/home/u/app",
         .clears = "the index"});
}

Look lookOf(unsigned columns) {
    Look look;
    look.width = columns;
    return look;
}

std::string noAge(std::optional<std::chrono::sys_seconds>) {
    return "today";
}

}  // namespace

TEST(ItemView, NeverShowsASizeForMoreThanItIs) {
    DirectoryMeasurement partial;
    partial.allocatedBytes = 2'000'000;
    partial.unreadablePaths = {"/home/u/store/x"};
    partial.deduplicatedBytes = 5'000'000;
    const CleanupItem item = itemWith(partial);
    const std::string wide = ItemTable(lookOf(80), noAge).lines(item);
    EXPECT_TRUE(contains(wide, "at least 2.0 MB"));
    EXPECT_TRUE(contains(wide, "also clears: the index"));
    EXPECT_FALSE(contains(wide, "\x1b"));
    EXPECT_TRUE(contains(ItemTable(lookOf(40), noAge).lines(item), ">= 2.0 MB"));

    const std::string page = itemPage(item, "/home/u", lookOf(200));
    for (const char* said :
         {"at least 2.0 MB on disk", "5.0 MB more are shared", "treat it as a floor", "~/store/x",
          "moved to the Trash:", "/else/\\xFF", "by itself: On the next run", "~/app", "Version"}) {
        EXPECT_TRUE(contains(page, said)) << said << "\n" << page;
    }
    const CleanupItem kept = itemWith({}, Classification::protected_);
    EXPECT_FALSE(contains(itemPage(kept, "/home/u", {}), "moved to the Trash"));
}

TEST(ItemView, SaysWhenTheToolGaveTheNumber) {
    DirectoryMeasurement told;
    told.source = DirectoryMeasurement::Source::reported;
    told.allocatedBytes = 1000;
    const CleanupItem item = itemWith(told);
    EXPECT_TRUE(contains(ItemTable(lookOf(100), noAge).lines(item), "reported by the tool"));
    EXPECT_FALSE(contains(itemPage(item, "/home/u", {}), "sizes of its files"));
}

TEST(UnreachableView, GroupsByReasonAndRemedyAndCutsLongLists) {
    using Reason = UnreachableLocation::Reason;
    std::vector<UnreachableLocation> locations;
    locations.push_back({"/mnt/other", Reason::differentVolume, "Left alone."});
    for (int index = 0; index < 10; ++index) {
        locations.push_back({"/home/u/" + std::to_string(index), Reason::permissionDenied, "Ask."});
    }
    locations.push_back({"/home/u/0", Reason::permissionDenied, "Ask."});
    locations.push_back({"docker", Reason::toolchainNotRunning, "Start it."});
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
    struct Case {
        std::string path;
        std::string place;
        bool isInside;
    };
    for (const Case& each : {Case{"/h/a/b/c", "/h/a/b", false}, Case{"/h/a/x", "/h/a", false},
                             Case{"/h", "/h/a/b", true}, Case{"/h/ab", "", false}}) {
        const auto obstacle = obstacleFor(each.path, locations);
        EXPECT_EQ(obstacle ? obstacle->location.path : "", each.place);
        EXPECT_EQ(obstacle && obstacle->isInside, each.isInside) << each.path;
    }
}

TEST(ReportView, SaysSoWhenThereIsNothingOrNoCapacity) {
    CoreStrings::setBundles(ResourceBundle(test::resourcesFolder(), "core", {}),
                            ResourceBundle(test::resourcesFolder(), "cli", {}));
    ScanReport report;
    report.storage = {{StorageCategory::Kind::developer, 0, true, {}}};
    const auto text = [&](bool isInterrupted) {
        return reportText({.report = report,
                           .filter = {},
                           .home = "/home/u",
                           .age = noAge,
                           .isInterrupted = isInterrupted,
                           .look = {}});
    };
    EXPECT_TRUE(contains(text(false), "The capacity of this volume could not be read."));
    EXPECT_TRUE(contains(text(false), "Nothing was found"));
    EXPECT_TRUE(contains(text(true), "Nothing had been found yet."));
    report.storage.front().storedBlockedReason = "Grant access";
    report.disk = DiskInfo{"Disk \xff", 1000, 400};
    report.storage.front().isMeasured = false;
    EXPECT_TRUE(contains(text(false), "not measured: Grant access"));
    EXPECT_TRUE(contains(text(false), "Volume Disk \\xFF  600 B of 1.0 KB used"));
    EXPECT_TRUE(contains(text(false), "This scan is partial"));
}

}  // namespace brindle
