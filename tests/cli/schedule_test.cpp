#include <filesystem>
#include <nlohmann/json.hpp>

#include "core/settings/preferences.h"
#include "tests/cli/collected_run.h"

namespace brindle::test {
namespace {

using nlohmann::json;

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
