// The commands in this process: what they print for a home that the test declared.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>

#include "cli/display_width.h"
#include "core/text/byte_format.h"
#include "tests/cli/collected_run.h"

namespace brindle::test {

namespace {

using nlohmann::json;

json reportOf(const TestHome& home, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"scan", "--json"});
    return json::parse(runIn(home, arguments).result);
}

// A home with something of each kind.
void furnishMixed(TestHome& home) {
    home.file("Library/Caches/pip/wheel", 300'000);
    home.file(".cache/uv/x", 40'000);
    home.file(".cache/huggingface/hub/model", 900'000);
    home.file(".claude/projects/\xff\x1b[31m\xe6\x97\xa5", 70'000);
    home.sparse(".gradle/caches/image", 200'000'000, 4096);
    home.modified("Library/Caches/pip/wheel", 1'000'000'000);
}

}  // namespace

TEST(ScanCommand, TextTellsTheNumbersOfTheJson) {
    TestHome home;
    furnishMixed(home);
    const CollectedRun text = runIn(home, {"scan"});
    const json report = reportOf(home);
    std::size_t items = 0;
    for (const json& module : report["modules"]) {
        for (const json& item : module["items"]) {
            ++items;
            expectAll({item["id"], item["title"], item["detail"], ByteFormat::shortText(item["bytes"])},
                      text.result);
        }
    }
    EXPECT_EQ(items, 5U);
    for (const char* total : {"reclaimableBytes", "safeBytes", "reviewBytes", "protectedBytes"}) {
        EXPECT_TRUE(contains(text.result, ByteFormat::shortText(report["totals"][total]))) << total;
    }
    expectAll({"modified over a year ago", "comes back with: pip install",
               "holds sparse files: they look like 200.0 MB"},
              text.result);
}

TEST(ScanCommand, FiltersWhatIsShownAndNeverTheTotals) {
    TestHome home;
    furnishMixed(home);
    const json some = reportOf(home, {"--safe", "--min-size", "100KB"});
    EXPECT_EQ(some["totals"], reportOf(home)["totals"]);
    std::vector<std::string> shown;
    for (const json& module : some["modules"]) {
        for (const json& item : module["items"]) shown.push_back(item["id"]);
    }
    EXPECT_EQ(shown, std::vector<std::string>{"python.pip"});
    const std::string text = runIn(home, {"scan", "--protected", "--review"}).result;
    expectAll({"tools.hf", "ai.claudeCodeSessions", "3 more items are not shown"}, text);
    EXPECT_FALSE(contains(text, "python.pip"));
}

TEST(ScanCommand, KeepsToTheWidthOfTheTerminal) {
    TestHome home;
    furnishMixed(home);
    home.file("Library/Application Support/Cursor/CachedData/x");
    for (const unsigned width : {30U, 40U, 63U, 64U, 80U, 120U}) {
        for (const std::string command :
             {"scan", "doctor", "modules", "projects", "settings", "help", "history"}) {
            std::istringstream stream(runIn(home, {command, "--no-color"}, {.terminal = width}).result);
            for (std::string line; std::getline(stream, line);) {
                EXPECT_LE(displayWidth(line), width) << command << ": " << line;
            }
        }
    }
}

TEST(ScanCommandUnprivileged, SaysWhatStoodInItsWay) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    TestHome home;
    furnishMixed(home);
    for (int index = 0; index < 12; ++index) {
        const std::string folder = "Library/Caches/pip/closed" + std::to_string(index);
        home.folder(folder);
        home.mode(folder, 0);
    }
    const CollectedRun run = runIn(home, {"scan"});
    EXPECT_EQ(run.code, ExitCode::success);
    expectAll(
        {"at least ", "~/Library/Caches/pip/closed0\n", "and 4 more (--json shows all)",
         "Check folder permissions or grant Full Disk Access, then scan again.", "This scan is partial"},
        run.result);
}

TEST(ScanCommand, PrintsWhatItHasWhenInterrupted) {
    TestHome home;
    furnishMixed(home);
    const RunSettings interrupted{.isInterrupted = [] { return true; }};
    const CollectedRun text = runIn(home, {"scan"}, interrupted);
    EXPECT_EQ(text.code, ExitCode::interrupted);
    expectAll({"Interrupted: this is partial", "Not finished: "}, text.result);
    const json report = json::parse(runIn(home, {"scan", "--json", "--only", "python"}, interrupted).result);
    EXPECT_EQ(report["isPartial"], true);
    EXPECT_EQ(report["unfinishedModules"], json::array({"python"}));
    EXPECT_FALSE(reportOf(home).contains("unfinishedModules"));
    EXPECT_EQ(runIn(home, {"explain", "python.pip"}, interrupted).code, ExitCode::interrupted);
}

TEST(ScanCommand, LooksAtOneModuleAlsoADisabledOne) {
    TestHome home;
    furnishMixed(home);
    ASSERT_EQ(runIn(home, {"settings", "disabled-modules", "python", "tools"}).code, ExitCode::success);
    EXPECT_FALSE(contains(runIn(home, {"scan"}).result, "python.pip"));
    const std::string only = runIn(home, {"scan", "--only", "python"}).result;
    expectAll({"python.pip", " used\n"}, only);
    EXPECT_FALSE(contains(only, "not measured")) << "the slices of one module are not those of the volume";
    EXPECT_EQ(runIn(home, {"explain", "Library/Caches/pip/wheel"}).code, ExitCode::success);
    EXPECT_TRUE(contains(runIn(home, {"modules"}).result, "no, disabled"));
}

TEST(ScanCommand, WarnsWhenThePreferencesCannotBeTrusted) {
    TestHome home;
    furnishMixed(home);
    home.text(".config/brindle/preferences.json", "{ broken");
    expectAll(
        {"could not read the preferences " + home.path(".config/brindle/preferences.json") + ": not JSON",
         "what you disabled or protected is not respected"},
        runIn(home, {"scan"}).messages);
    EXPECT_EQ(runIn(home, {"settings", "cadence", "daily"}).code, ExitCode::failed);
}

TEST(ExplainCommand, TellsOfItemsAndPaths) {
    TestHome home;
    furnishMixed(home);
    using Case = std::tuple<std::string, ExitCode, std::string>;
    const Case cases[] = {
        {"python.uv", ExitCode::success, "/usr/bin/env uv cache clean"},
        {"ai.claudeCodeSessions", ExitCode::success, "Brindle shows it and never removes it."},
        {"~/Library/Caches/pip/wheel", ExitCode::success, "deleted outright:"},
        {".cache", ExitCode::success, "These lie inside it:"},
        {"/usr", ExitCode::notFound, "No item covers /usr."},
        {"./nowhere", ExitCode::notFound, "nothing lies at ~/nowhere"},
        {"rust.\x1b[2J", ExitCode::notFound, "rust.\\x1B[2J"},
    };
    for (const auto& [subject, code, said] : cases) {
        const CollectedRun run = runIn(home, {"explain", subject});
        EXPECT_EQ(run.code, code) << subject;
        expectAll({said}, run.result + run.messages);
    }
    const json item = json::parse(runIn(home, {"explain", "--json", "Library/Caches/pip"}).result);
    EXPECT_EQ(item["id"], "python.pip");
    EXPECT_TRUE(json::parse(runIn(home, {"explain", "--json", "/usr"}).result)["item"].is_null());
}

TEST(ExplainCommandUnprivileged, NeverTakesWhatItCouldNotSeeForNothing) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    TestHome home;
    home.folder("closed");
    home.mode("closed", 0);
    const CollectedRun run = runIn(home, {"explain", "closed/x"});
    EXPECT_EQ(run.code, ExitCode::failed);
    EXPECT_FALSE(contains(run.messages, "nothing lies"));
    EXPECT_TRUE(contains(run.messages, "Permission denied"));
    EXPECT_TRUE(json::parse(runIn(home, {"explain", "--json", "closed/x"}).result).contains("problem"));
}

TEST(SettingsCommand, ChangesShowsAndResetsEverySettingByName) {
    TestHome home;
    const std::string shown = runIn(home, {"settings"}).result;
    const json document = json::parse(runIn(home, {"settings", "--json"}).result);
    for (const json& setting : document["settings"]) expectAll({setting["name"]}, shown);
    EXPECT_EQ(runIn(home, {"settings", "cadence", "monthly"}).code, ExitCode::success);
    EXPECT_TRUE(contains(runIn(home, {"settings", "cadence"}).result, "monthly"));
    EXPECT_EQ(runIn(home, {"settings", "--reset", "cadence"}).code, ExitCode::success);
    EXPECT_TRUE(contains(runIn(home, {"settings", "cadence"}).result, "weekly"));
    EXPECT_EQ(runIn(home, {"settings", "cadence", "hourly"}).code, ExitCode::usage);
}

TEST(CommandLine, DrawsOnlyOnATerminalAndColoursOnlyWhereAllowed) {
    TestHome home;
    furnishMixed(home);
    EXPECT_EQ(runIn(home, {"scan"}).messages, "");
    const CollectedRun terminal = runIn(home, {"scan"}, {.terminal = 80});
    EXPECT_TRUE(contains(terminal.messages, " modules"));
    EXPECT_TRUE(terminal.messages.ends_with("\r\x1b[K"));
    EXPECT_TRUE(contains(terminal.result, "\x1b[32m"));
    for (const std::string forbid : {"NO_COLOR=1", "TERM=dumb"}) {
        const CollectedRun plain = runIn(home, {"scan"}, {.terminal = 80, .environment = {forbid, "LANG=C"}});
        EXPECT_FALSE(contains(plain.result, "\x1b")) << forbid;
        EXPECT_TRUE(std::ranges::all_of(plain.result, [](char each) { return each > 0; })) << plain.result;
    }
}

}  // namespace brindle::test
