// Widths, wide characters, bars: what keeps the report in its columns.
#include <gtest/gtest.h>

#include <numeric>
#include <tuple>

#include "cli/display_width.h"
#include "cli/environment.h"
#include "cli/item_lookup.h"
#include "cli/storage_bar.h"
#include "tests/support/test_home.h"

namespace brindle {

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

}  // namespace brindle
