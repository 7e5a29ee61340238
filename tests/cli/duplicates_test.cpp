#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/option_set.h"
#include "tests/cli/collected_run.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::contains;
using test::expectAll;
using test::runIn;
using test::RunSettings;
using test::unwrapped;

// The oldest copy is a.apk, the newest c.apk.
class DuplicatesCommand : public ::testing::Test {
  protected:
    DuplicatesCommand() {
        int age = 300'000;
        for (const char* name : {"a.apk", "deep/b.apk", "c.apk", "x.zip", "y.zip"}) {
            const std::string place = std::string("exports/") + name;
            home.text(place, contains(name, "zip") ? "zip" : std::string(2000, 'a'));
            home.modified(place, 1'700'000'000 - (age -= 50'000));
        }
        home.file("exports/node_modules/x");
    }

    std::set<std::string> left() const {
        std::set<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(home.path("exports"))) {
            if (entry.path().extension() == ".apk") names.insert(entry.path().filename());
        }
        return names;
    }

    test::TestHome home;
};

TEST_F(DuplicatesCommand, ShowsGroupsMostWastedFirstAndWhatWasPassedOver) {
    const auto text = runIn(home, {"duplicates", "exports"});
    EXPECT_EQ(text.code, ExitCode::success);
    expectAll({"4.0 KB 3 copies of 2.0 KB each ~/exports/a.apk can be moved", "3 B 2 copies of 3 B each",
               "~/exports/x.zip inspection only", "Skipped locations", "~/exports/node_modules",
               "2 groups of identical files · 4.0 KB could be free"},
              unwrapped(text.result));
    EXPECT_TRUE(contains(unwrapped(runIn(home, {"duplicates", "exports"}, {.terminal = 80}).messages),
                         "package stores, hard links and recently modified or open files are excluded."));
    const auto json =
        nlohmann::json::parse(runIn(home, {"duplicates", "exports", "--json", "--min-size", "1KB"}).result);
    EXPECT_EQ(json["groups"].size(), 1U);
    EXPECT_EQ(json["groups"][0]["wastedBytes"], 4000);
    EXPECT_EQ(json["groups"][0]["files"][1]["path"], home.path("exports/c.apk"));
    EXPECT_EQ(json["groups"][0]["files"][1]["mayGo"], true);
    EXPECT_EQ(json["skipped"][0]["reason"], "excluded");
    EXPECT_EQ(runIn(home, {"duplicates", "/usr"}).code, ExitCode::failed);
}

TEST_F(DuplicatesCommand, MovesAllButTheCopyThatIsToStay) {
    const RunSettings nobody, yes{.terminal = 80, .answers = {"y"}}, no{.terminal = 80, .answers = {"n"}};
    const RunSettings cancelled{.isInterrupted = [] { return true; }};
    const std::set<std::string> all = {"a.apk", "b.apk", "c.apk"};
    using enum ExitCode;
    const std::tuple<const char*, RunSettings, ExitCode, std::set<std::string>, const char*> cases[] = {
        {"--keep newest", nobody, usage, all, "--keep and --yes go with --trash"},
        {"--trash", nobody, usage, all, "needs to be told what stays"},
        {"--trash --keep newest --json", nobody, usage, all, "--json needs --yes"},
        {"--trash --keep newest", nobody, failed, all, "no terminal on which to ask"},
        {"--trash --keep newest", no, success, all, "one copy always stays"},
        {"--trash --keep elsewhere", nobody, notFound, all, "--keep: could not resolve"},
        {"--trash --keep newest --yes", cancelled, interrupted, all, " · cancelled; partial results"},
        {"--trash --keep exports/deep", yes, success, {"b.apk"}, "2 copies moved to Trash; 0 refused"},
        {"--trash --keep newest --yes", nobody, success, {"c.apk"}, "2 copies moved"},
        {"--trash --keep oldest --yes --json", nobody, success, {"a.apk"}, "\"trashed\""},
    };
    for (const auto& [arguments, settings, code, expected, says] : cases) {
        const auto run = runIn(home, test::wordsOf("duplicates exports " + std::string(arguments)), settings);
        EXPECT_EQ(run.code, code) << says;
        EXPECT_EQ(left(), expected) << says;
        EXPECT_TRUE(contains(unwrapped(run.messages) + run.result, says) ||
                    contains(unwrapped(run.result), says))
            << says << run.messages << run.result;
        if (left() != all) {
            EXPECT_EQ(runIn(home, {"restore", "1", "--yes"}).code, ExitCode::success);
        }
    }
}

}  // namespace
}  // namespace brindle
