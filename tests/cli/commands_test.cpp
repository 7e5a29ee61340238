// The commands in this process: what they print for a home that the test declared.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <tuple>

#include "cli/disk_page.h"
#include "cli/display_width.h"
#include "core/insight/storage_trend.h"
#include "core/settings/preferences.h"
#include "core/text/byte_format.h"
#include "tests/cli/collected_run.h"
#include "tests/support/disk_usage.h"

namespace brindle::test {
namespace {

using nlohmann::json;

json reportOf(const TestHome& home, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"scan", "--json"});
    return json::parse(runIn(home, arguments).result);
}

// A home with something of each kind.
class MixedHome : public testing::Test {
  protected:
    MixedHome() {
        home.file("Library/Caches/pip/wheel", 300'000);
        home.file(".cache/uv/x", 40'000);
        home.file(".cache/huggingface/hub/model", 900'000);
        home.file(".claude/projects/\xff\x1b[31m\xe6\x97\xa5", 70'000);
        home.sparse(".gradle/caches/image", 200'000'000, 4096);
        home.modified("Library/Caches/pip/wheel", 1'000'000'000);
    }
    TestHome home;
};
using ScanCommand = MixedHome;
using ScanCommandUnprivileged = MixedHome;
using ExplainCommand = MixedHome;
using CommandLine = MixedHome;

TEST_F(ScanCommand, TextTellsTheNumbersOfTheJson) {
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

TEST_F(ScanCommand, FiltersWhatIsShownAndNeverTheTotals) {
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

TEST_F(ScanCommand, KeepsToTheWidthOfTheTerminal) {
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

TEST_F(ScanCommandUnprivileged, SaysWhatStoodInItsWay) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
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

TEST_F(ScanCommand, PrintsWhatItHasWhenInterrupted) {
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

TEST_F(ScanCommand, WarnsWhenThePreferencesCannotBeTrusted) {
    home.text(".config/brindle/preferences.json", "{ broken");
    expectAll(
        {"could not read the preferences " + home.path(".config/brindle/preferences.json") + ": not JSON",
         "what you disabled or protected is not respected"},
        runIn(home, {"scan"}).messages);
    EXPECT_EQ(runIn(home, {"settings", "cadence", "daily"}).code, ExitCode::failed);
}

TEST_F(ExplainCommand, TellsOfItemsAndPaths) {
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
    EXPECT_EQ(runIn(home, {"settings", "disabled-modules", "python", "tools"}).code, ExitCode::success);
    EXPECT_TRUE(contains(runIn(home, {"modules"}).result, "no, disabled"));
}

TEST_F(CommandLine, DrawsOnlyOnATerminalAndColoursOnlyWhereAllowed) {
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

TEST(DiskCommand, ShowsTheSamplesThatEveryScanLeavesAndWhatFollowsFromThem) {
    TestHome home;
    home.file(".cache/huggingface/hub/model", 900'000);
    expectAll({"No declining trend established."}, runIn(home, {"disk"}).result);

    const auto defaults = fileDefaults(home.path(".config/brindle/preferences.json"));
    ASSERT_TRUE(Preferences(defaults).setLowDiskThreshold(1));
    StorageTrend trend(defaults);
    const TimePoint now = std::chrono::system_clock::now();
    const auto disk = DiskInfo::current(home.path());
    ASSERT_TRUE(disk);
    ASSERT_EQ(trend.samples(now).size(), 1U);
    EXPECT_GE(trend.totals(now).back().bytes.at(ModuleID::tools), 901'120U);
    for (const int days : {10, 5}) {
        const DiskInfo then{disk->volumeName, disk->totalBytes, disk->freeBytes + 1'000'000'000'000};
        ASSERT_TRUE(trend.record(then, now - std::chrono::days(days)));
    }

    const json document = json::parse(runIn(home, {"disk", "--json"}).result);
    EXPECT_EQ(document["samples"].size(), 3U);
    std::uint64_t sum = 0;
    for (const json& slice : document["storage"]) sum += slice["bytes"].get<std::uint64_t>();
    EXPECT_EQ(sum, document["disk"]["totalBytes"]);
    const double expected = static_cast<double>(disk->freeBytes) / 1e12 * 10;
    EXPECT_NEAR(document["daysUntilLowSpace"].get<double>(), expected, expected / 10 + 0.1);
    expectAll({"could reach the low-space threshold", "Estimate from the first and latest samples."},
              runIn(home, {"disk"}).result);
    const json only = json::parse(runIn(home, {"scan", "--only", "python", "--json"}).result)["storage"][2];
    EXPECT_EQ(only["isMeasured"], false);
    EXPECT_EQ(only["blockedReason"], nullptr) << "nobody was to measure it";
}

TEST(DiskCommand, MeasuresTheUsersOwnFoldersBesideTheModules) {
    TestHome home;
    home.file("Papers/letter", 50'000);
    home.file(".cache/uv/archive", 90'000);
    home.hardLink("Papers/archive", ".cache/uv/archive");
    home.text(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
    const json documents = json::parse(runIn(home, {"disk", "--json"}).result)["storage"][2];
#ifndef __APPLE__
    EXPECT_EQ(documents["bytes"], diskUsage(home.path("Papers/letter")) + diskUsage(home.folder("empty")));
#endif
    EXPECT_TRUE(contains(runIn(home, {"scan", "--timings"}).messages, "survey: "));
}

TEST(Sparkline, StandsForTheLatestValues) {
    EXPECT_EQ(sparkline({7}, 10, {.isUnicode = true}), "");
    EXPECT_EQ(sparkline({0, 50, 100, 0}, 3, {.isUnicode = true}), "▅█▁");
    EXPECT_EQ(sparkline({5, 5}, 3, {.isUnicode = false}), "__");
}

bool isThere(const TestHome& home, const char* path) {
    return std::filesystem::exists(home.path(path));
}

TEST(ScheduleCommand, SwitchesShowsAndRuns) {
    TestHome home;
    home.file(".cargo/registry/crate", 100'000);
    expectAll({"Scheduled scans off", "Last run never", "Timer none"},
              unwrapped(runIn(home, {"schedule"}).result));
    EXPECT_EQ(json::parse(runIn(home, {"schedule", "run", "--if-due", "--json"}).result)["ran"], false)
        << "scans are off";

    expectAll({"Every day", "due now"}, runIn(home, {"schedule", "on", "daily"}).result);
    const auto looked = json::parse(runIn(home, {"schedule", "run", "--if-due", "--json"}).result);
    EXPECT_GE(looked["reclaimableBytes"], 100'000);
    EXPECT_TRUE(looked["cleanup"].is_null());
    EXPECT_TRUE(isThere(home, ".cargo/registry"));
    EXPECT_EQ(runIn(home, {"schedule", "run", "--if-due"}).result, "") << "it is not time";

    runIn(home, {"settings", "auto-clean", "on"});
    expectAll({"Cleaned automatically from 1 item:"}, runIn(home, {"schedule", "run"}).result);
    EXPECT_FALSE(isThere(home, ".cargo/registry"));
    expectAll({"by itself · 1 item", "Scheduled scans", "could be cleaned"}, runIn(home, {"history"}).result);
    const auto history = json::parse(runIn(home, {"history", "--json"}).result);
    EXPECT_EQ(history["scheduledRuns"].size(), 2U);
    EXPECT_EQ(history["scheduledRuns"][0]["cleanup"], history["cleanups"][0]["id"]);
    EXPECT_EQ(json::parse(runIn(home, {"schedule", "off", "--json"}).result)["nextRun"], nullptr);
}

TEST(ScheduleCommand, EndsAsItShould) {
    TestHome home;
    home.file(".cargo/registry/crate", 100'000);
    runIn(home, {"settings", "auto-clean", "on"});
    EXPECT_EQ(runIn(home, {"schedule", "run"}, {.isInterrupted = [] { return true; }}).code,
              ExitCode::interrupted);
    home.text("Library/Application Support/Brindle/history.json", "no history");
    const auto refused = runIn(home, {"schedule", "run"});
    EXPECT_EQ(refused.code, ExitCode::kHistoryUnreadable);
    expectAll({"Nothing was cleaned: History cannot be read; cleanup has not started."},
              unwrapped(refused.result));
    EXPECT_TRUE(isThere(home, ".cargo/registry/crate"));
    const auto lock = FileLock::tryAcquire(home.path("Library/Application Support/Brindle/schedule.lock"));
    EXPECT_EQ(runIn(home, {"schedule", "run"}).code, ExitCode::kBusy);
    for (const std::vector<std::string>& words : {std::vector<std::string>{"schedule", "off", "daily"},
                                                  {"schedule", "on", "hourly"},
                                                  {"schedule", "on", "--if-due"},
                                                  {"schedule", "install"},
                                                  {"schedule", "start"}})
        EXPECT_EQ(runIn(home, words).code, ExitCode::usage) << words.back();
}

TEST(ScheduleCommand, SaysOfATimerThatItsProgramHasMovedAndOfLowSpaceOnce) {
    TestHome home;
    home.text(".config/systemd/user/brindle.service",
              "[Service]\nExecStart=\"/gone/brindle\" schedule run\n");
    Preferences settings(fileDefaults(home.path(".config/brindle/preferences.json")));
    ASSERT_TRUE(settings.setLowDiskAlertsEnabled(true));
    ASSERT_TRUE(settings.setLowDiskThreshold(1'000'000'000'000'000'000));
#ifndef __APPLE__
    expectAll({"The timer starts /gone/brindle, which is not there any more"},
              unwrapped(runIn(home, {"doctor"}).result));
#endif
    EXPECT_FALSE(contains(runIn(home, {"scan"}).messages, "Low disk space")) << "nobody reads it there";
    expectAll({"Low disk space: ", "This alert does not remove anything."},
              runIn(home, {"scan"}, {.terminal = 80}).messages);
    EXPECT_FALSE(contains(runIn(home, {"scan"}, {.terminal = 80}).messages, "Low disk space"));
}

}  // namespace
}  // namespace brindle::test
