#include "core/modules/homebrew_module.h"

#include <gtest/gtest.h>

#include "core/modules/homebrew_output.h"
#include "tests/support/canned_tools.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using Names = std::vector<std::string>;

ModuleResult scanHomebrew(const test::TestHome& home, const Toolbox& tools) {
    return HomebrewModule(tools).scan(test::contextOf(home));
}

TEST(HomebrewOutput, ReadsTheDryRunOfEveryVersion) {
    const std::string kOne = "==> Would autoremove 1 unneeded formula:\n";
    const std::string kTwo = "==> Would autoremove 2 unneeded formulae:\n";
    const std::vector<std::pair<std::string, Names>> listings = {
        {"", {}},
        {"Would autoremove 0 unneeded formulae:", {}},
        {kTwo + "libfoo\nuser/tap/formula\n", {"libfoo", "user/tap/formula"}},
        {"Updating Homebrew...\n" + kOne + "\r\n  gcc@13\r\nNote: all done\n", {"gcc@13"}},
        {"\x1b[34m==>\x1b[0m Would autoremove 1 unneeded formula:\x1b[0m\nc++_x.y-z\n", {"c++_x.y-z"}},
        {"==> Formulae that could be removed:\na\nb/c\n", {"a", "b/c"}},
    };
    for (const auto& [output, names] : listings) EXPECT_EQ(parseAutoremove(output), names) << output;
    for (const std::string& output :
         {kTwo, kTwo + "libfoo\n", kOne + "libfoo\nlibbar\n", kOne + "a/b/c/d\n", kOne + "-force\n",
          kOne + "a/../b\n", kTwo + "a\na\n", kOne + "a\n" + kOne,
          std::string("Would autoremove 99999999999999999999 unneeded formulae:\na\n"),
          std::string("libfoo\n")}) {
        EXPECT_EQ(parseAutoremove(output), std::nullopt) << output;
    }
}

TEST(HomebrewOutput, TakesOnlyAnAbsoluteFolderNamedCellar) {
    EXPECT_EQ(parseCellar("/opt/homebrew/Cellar\n"), "/opt/homebrew/Cellar");
    for (const std::string output :
         {"", "\n", "Cellar", "/opt/homebrew/cellar", "/opt/MyCellar", "/opt/Cellar/x", "/opt/../Cellar",
          "/../Cellar", "opt/Cellar", "/opt\n/Cellar", "Warning: old\n/opt/Cellar", "/opt\x01/Cellar"}) {
        EXPECT_EQ(parseCellar(output), std::nullopt) << output;
    }
}

TEST(HomebrewModule, OffersDownloadsAndUnusedDependencies) {
    test::TestHome home;
    EXPECT_FALSE(HomebrewModule({}).isPresent({}));
    const std::string cellar = home.folder("brew/Cellar");
    const Toolbox tools =
        test::cannedTools({{"brew --cellar", {cellar}},
                           {"brew autoremove --dry-run",
                            {"==> Would autoremove 3 unneeded formulae:\nlibfoo\nuser/tap/libbar\ngone\n"}}});
    home.file("brew/Cellar/libfoo/1.0/lib", 20'000);
    home.file("brew/Cellar/libbar/2.0/lib", 30'000);
    home.file("brew/Cellar/needed/3.0/lib", 40'000);
    home.file("Library/Caches/Homebrew/api/formula.json", 70'000);
    home.hardLink("Library/Caches/Homebrew/api/also", "Library/Caches/Homebrew/api/formula.json");
    EXPECT_EQ(scanHomebrew(home, tools).items.size(), 1U);  // nothing but what cleanup keeps

    home.file("Library/Caches/Homebrew/downloads/bottle", 50'000);
    home.hardLink("Library/Caches/Homebrew/api/linked", "Library/Caches/Homebrew/downloads/bottle");
    home.link("Library/Caches/Homebrew/jq--1.7", "downloads/bottle");
    const ModuleResult result = scanHomebrew(home, tools);
    ASSERT_EQ(result.items.size(), 2U);
    EXPECT_TRUE(result.unreachable.empty());
    EXPECT_EQ(result.items[0].bytes(), test::diskUsage(home.path("Library/Caches/Homebrew/downloads")));
    const CleanupItem& unused = result.items[1];
    EXPECT_EQ(unused.bytes(), test::diskUsage({cellar + "/libfoo", cellar + "/libbar"}));
    EXPECT_EQ(unused.explanation.regeneratedBy->storedText, "brew install libfoo user/tap/libbar gone");
    for (const CleanupItem& item : result.items) test::expectInEnglish(item);
}

TEST(HomebrewModule, SaysWhatHomebrewDidNotAnswer) {
    test::TestHome home;
    const test::CannedAnswer cellar = {home.path("Cellar")};
    const std::string kDryRun = "brew autoremove --dry-run";
    const std::string kDoctor =
        "Homebrew could not list unused dependencies. Run brew doctor, then scan again.";
    const std::string kNone = "Could not locate Homebrew's Cellar";
    using BrewAnswers = std::map<std::string, test::CannedAnswer>;
    const std::vector<std::tuple<BrewAnswers, std::string, std::string>> cases = {
        {{{"brew --cellar", cellar}}, kDryRun, kDoctor},
        {{{"brew --cellar", cellar}, {kDryRun, {"", 1}}}, kDryRun, kDoctor},
        {{{"brew --cellar", cellar}, {kDryRun, {std::string(2'000'000, '\n')}}}, kDryRun, kDoctor},
        {{{"brew --cellar", {"/usr/local"}}, {kDryRun, {""}}}, "brew --cellar", kNone},
        {{{"brew --cellar", {"/Cellar", 1}}, {kDryRun, {""}}}, "brew --cellar", kNone},
        {{{"brew --cellar", cellar}, {kDryRun, {"==> Would autoremove 1 unneeded formula:\nlibfoo"}}},
         kDryRun,
         "Homebrew lists unused dependencies, but none of them was found in its Cellar. Run brew doctor, "
         "then scan again."}};
    for (const auto& [answers, asked, remedy] : cases) {
        const ModuleResult result = scanHomebrew(home, test::cannedTools(answers));
        EXPECT_TRUE(result.items.empty());
        ASSERT_EQ(result.unreachable.size(), 1U) << remedy;
        EXPECT_EQ(result.unreachable[0].path + result.unreachable[0].storedRemedy, asked + remedy);
        test::expectInEnglish({remedy});
    }
    EXPECT_TRUE(scanHomebrew(home, test::cannedTools({{"brew --cellar", cellar}, {kDryRun, {""}}}))
                    .unreachable.empty());
}

}  // namespace
}  // namespace brindle
