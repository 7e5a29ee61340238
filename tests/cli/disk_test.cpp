#include <nlohmann/json.hpp>

#include "cli/disk_page.h"
#include "core/insight/storage_trend.h"
#include "core/settings/preferences.h"
#include "tests/cli/collected_run.h"
#include "tests/support/disk_usage.h"

namespace brindle::test {
namespace {

using nlohmann::json;

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
}

TEST(Sparkline, StandsForTheLatestValues) {
    EXPECT_EQ(sparkline({7}, 10, {.isUnicode = true}), "");
    EXPECT_EQ(sparkline({0, 50, 100, 0}, 3, {.isUnicode = true}), "▅█▁");
    EXPECT_EQ(sparkline({5, 5}, 3, {.isUnicode = false}), "__");
}

TEST(DiskCommand, MeasuresEverySliceOfTheVolumeOnce) {
    TestHome home;
    home.file("Papers/letter", 50'000);
    home.file(".cache/uv/archive", 90'000);
    home.hardLink("Papers/archive", ".cache/uv/archive");
    home.file("Applications/tool", 30'000);
    home.text(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
    const json document = json::parse(runIn(home, {"disk", "--json"}).result);
    std::uint64_t sum = 0;
    for (const json& slice : document["storage"]) sum += slice["bytes"].get<std::uint64_t>();
    EXPECT_EQ(sum, document["disk"]["totalBytes"]);
#ifndef __APPLE__
    EXPECT_EQ(document["storage"][2]["bytes"],
              diskUsage(home.path("Papers/letter")) + diskUsage(home.folder("empty")));
#endif
    EXPECT_GE(document["storage"][1]["bytes"], document["storage"][1]["isMeasured"] ? 30'000U : 0U);
    const json only = json::parse(runIn(home, {"scan", "--only", "python", "--json"}).result)["storage"][2];
    EXPECT_EQ(only["isMeasured"], false);
    EXPECT_EQ(only["blockedReason"], nullptr) << "nobody was to measure it";
    EXPECT_TRUE(contains(runIn(home, {"scan", "--timings"}).messages, "survey: "));
}

}  // namespace
}  // namespace brindle::test
