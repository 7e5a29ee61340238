// What the report is drawn from: widths, bars, colours, and items and places that a real disk does not readily offer.
#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

#include "cli/display_width.h"
#include "cli/environment.h"
#include "cli/item_lookup.h"
#include "cli/item_page.h"
#include "cli/report_view.h"
#include "cli/storage_bar.h"
#include "cli/unreachable_view.h"
#include "core/text/core_strings.h"
#include "tests/cli/collected_run.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::contains;
using test::expectAll;
using Texts = std::vector<std::string>;

TEST(DisplayWidth, MeasuresAndShortensByColumns) {
    EXPECT_EQ(displayWidth("日本e\u0301a"), 6U);
    for (const char* text : {"~/日本語/キャッシュ/日本", "~/e\u0301e\u0301e\u0301e\u0301"}) {
        for (unsigned columns = 0; columns < 24; ++columns) {
            EXPECT_LE(displayWidth(shortenMiddle(text, columns, "…")), columns);
            EXPECT_LE(displayWidth(shortenEnd(text, columns, "...")), columns);
        }
    }
    EXPECT_EQ(shortenMiddle("/a/long/path/to/end", 11, "…"), "/a/l…to/end");
    EXPECT_EQ(shortenEnd("ae\u0301bc", 3, "…"), "ae\u0301…") << "a mark is never parted from its letter";
    EXPECT_EQ(wrap("one two three", 8), (Texts{"one two", "three"}));
    EXPECT_EQ(wrap("a 日本語日本語 b", 6), (Texts{"a", "日本語", "日本語", "b"}));
    EXPECT_EQ(wrap("", 5), Texts{""});
}

TEST(StorageBar, SharesAllColumnsAndNeverDropsAMeasuredSlice) {
    using Kind = StorageCategory::Kind;
    const std::vector<StorageCategory> slices = {{Kind::developer, 1, true, {}},
                                                 {Kind::applications, 0, false, {}},
                                                 {Kind::documents, 10, true, {}},
                                                 {Kind::other, 900'000'000'000, true, {}},
                                                 {Kind::free, 100'000'000'000, true, {}}};
    for (unsigned columns = 4; columns < 100; ++columns) {
        const auto shares = sharesOf(slices, columns);
        EXPECT_EQ(std::accumulate(shares.begin(), shares.end(), 0U), columns);
        EXPECT_EQ(shares[0], 1U);
        EXPECT_EQ(shares[1], 0U);
    }
}

TEST(Environment, ChoosesLanguageAndEncodingAsGettextDoes) {
    using Case = std::tuple<Texts, Texts, bool>;
    const Case cases[] = {
        {{"LANG=pt_PT.UTF-8", "TERM=xterm"}, {"pt-PT"}, true},
        {{"LC_ALL=", "LC_MESSAGES=de_DE@euro", "LANG=fr_FR.utf8", "TERM=xterm"}, {"de-DE"}, true},
        {{"LANG=de_DE.UTF-8", "LANGUAGE=es:fr", "TERM=xterm"}, {"es", "fr", "de-DE"}, true},
        {{"LC_ALL=C", "LANG=de_DE.UTF-8", "LANGUAGE=es"}, {}, false},
        {{"LANG=C.UTF-8", "TERM=xterm"}, {}, true},
        {{"LANG=en_US.UTF-8", "TERM=dumb"}, {"en-US"}, false},
    };
    for (const auto& [environment, languages, isUtf8] : cases) {
        EXPECT_EQ(systemLanguages(environment), languages);
        EXPECT_EQ(speaksUtf8(environment), isUtf8);
    }
}

TEST(Environment, GivesColoursOnlyWhereTheyAreWanted) {
    using Case = std::tuple<Texts, bool, bool, bool>;
    const Case cases[] = {
        {{"TERM=xterm"}, false, true, true},
        {{"TERM=xterm"}, false, false, false},
        {{"TERM=xterm"}, true, true, false},
        {{"NO_COLOR=1", "TERM=xterm"}, false, true, false},
        {{"NO_COLOR=", "TERM=xterm"}, false, true, true},
        {{"CLICOLOR=0", "TERM=xterm"}, false, true, false},
        {{"TERM="}, false, true, false},
        {{"CLICOLOR_FORCE=1"}, false, false, true},
        {{"CLICOLOR_FORCE=1", "NO_COLOR=1"}, false, true, false},
    };
    for (const auto& [environment, isForbidden, isTerminal, expected] : cases) {
        EXPECT_EQ(wantsColour(environment, isForbidden, isTerminal), expected) << environment.front();
    }
}

TEST(Environment, NamedHomeIsAnotherUsersWhateverTheEnvironmentSays) {
    test::TestHome home;
    home.folder("real");
    home.link("alias", home.path("real"));
    home.file("file");
    Surroundings around{.arguments = {},
                        .environment = {"HOME=/elsewhere", "XDG_CONFIG_HOME=/x", "LANG=C"},
                        .resourceFolder = "",
                        .accountHome = home.path("real"),
                        .program = "",
                        .workingFolder = home.path()};
    const auto named = chooseHome("alias/", around);
    ASSERT_TRUE(named);
    EXPECT_EQ(named->path, home.path("real"));
    EXPECT_FALSE(named->isCurrentUser);
    EXPECT_EQ(named->environment, (Texts{"LANG=C", "HOME=" + home.path("real")}));
    for (const char* wrong : {"file", "nowhere", ""}) EXPECT_FALSE(chooseHome(wrong, around)) << wrong;
    EXPECT_EQ(chooseHome(std::nullopt, around)->path, home.path("real"));  // HOME does not exist
    around.accountHome.clear();
    EXPECT_FALSE(chooseHome(std::nullopt, around));
}

TEST(ItemLookup, FindsTheClosestItemAlsoBehindLinks) {
    test::TestHome home;
    home.file("store/uv/a/b");
    home.link(".cache", home.path("store"));
    CleanupItemFields outer;
    outer.id = "a.outer";
    outer.removal = {DeletePaths{{home.path(".cache/uv")}}};
    CleanupItemFields inner;
    inner.id = "a.inner";
    inner.detail = "~/.cache/uv/a · kept by the tool";
    inner.removal = {RunCommand{"uv", {}}};
    const std::vector items = {CleanupItem(std::move(outer)), CleanupItem(std::move(inner))};
    const auto covering = [&](const std::string& typed) {
        const auto coverage =
            coverageOf(*absolutePath(typed, home.path("store"), home.path()), items, home.path());
        if (!coverage.covering.empty()) return coverage.covering.front().id;
        return std::to_string(coverage.inside.size());
    };
    EXPECT_EQ(covering("uv/a/b"), "a.inner");
    EXPECT_EQ(covering("~/.cache/uv/"), "a.outer");
    EXPECT_EQ(covering("uv/a/../other"), "a.outer");
    EXPECT_EQ(covering("./uv2"), "0");
    EXPECT_EQ(covering("/"), "2");
}

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

std::string noAge(std::optional<std::chrono::sys_seconds>) {
    return "today";
}

TEST(ItemView, NeverShowsASizeForMoreThanItIs) {
    const CleanupItem item = itemWith({.allocatedBytes = 2'000'000,
                                       .unreadablePaths = {"/home/u/store/x"},
                                       .deduplicatedBytes = 5'000'000});
    const std::string wide = ItemTable(test::lookOf(80), noAge).lines(item);
    expectAll({"at least 2.0 MB", "also clears: the index"}, wide);
    EXPECT_FALSE(contains(wide, "\x1b"));
    expectAll({">= 2.0 MB"}, ItemTable(test::lookOf(40), noAge).lines(item));
    expectAll({"at least 2.0 MB on disk", "5.0 MB more are shared", "treat it as a floor", "~/store/x",
               "moved to the Trash:", "/else/\\xFF", "by itself: On the next run", "~/app", "Version"},
              itemPage(item, "/home/u", test::lookOf(200)));
    EXPECT_FALSE(contains(itemPage(itemWith({}, Classification::protected_), "/home/u", {}), "to the Trash"));
    const CleanupItem reported = itemWith({.source = DirectoryMeasurement::Source::reported});
    expectAll({"reported by the tool"}, ItemTable(test::lookOf(100), noAge).lines(reported));
    EXPECT_FALSE(contains(itemPage(reported, "/home/u", {}), "sizes of its files"));
}

TEST(ItemView, ShowsLongIdentifiersAndFactsOfSeveralLinesWhole) {
    CleanupItem item = itemWith({});
    item.storedDetail = "~/store";
    item.id = "android.systemImage.android-34/google_apis/arm64-v8a";
    item.explanation.facts = {{"Folders", "~/a\n~/b"},
                              {"Still installed from the same vendor", "org.example"}};
    const std::string wide = ItemTable(test::lookOf(80), noAge).lines(item);
    EXPECT_TRUE(contains(wide, " ~/store\n")) << wide;
    EXPECT_TRUE(contains(wide, " " + item.id + "\n")) << wide;
    const std::string page = itemPage(item, "/home/u", test::lookOf(80));
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
    const std::string text = unreachableText(locations, "/home/u", {});
    EXPECT_TRUE(text.starts_with("Not measured\n  could not read\n    ~/0\n    ~/1\n")) << text;
    expectAll({"    ~/7\n    and 2 more (--json shows all)\n    Ask.\n  tool not running\n    docker\n    "
               "Start it.\n"},
              text);
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

}  // namespace
}  // namespace brindle
