#include "core/insight/storage_trend.h"

#include <gtest/gtest.h>

#include "tests/support/test_home.h"
#include "tests/support/time_zone.h"

namespace brindle {
namespace {

constexpr std::uint64_t kGB = 1'000'000'000;

TimePoint instant(const char* text) {
    return timeFromIso8601(text).value();
}

TimePoint dayAfter(double days) {
    return instant("2026-01-01T12:00:00Z") +
           std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>(days * 86'400));
}

StorageSample sample(double day, std::uint64_t free, std::uint64_t total = 500) {
    return {dayAfter(day), free * kGB, total * kGB};
}

TEST(StorageTrend, ForecastsFromTheFirstAndTheLatestSample) {
    constexpr double kAlmost = 7 - 60.0 / 86'400;
    const struct {
        const char* name;
        std::vector<StorageSample> samples;
        std::optional<double> days;
    } cases[] = {
        {"two GB a day", {sample(0, 100), sample(3, 90), sample(7, 86)}, 33},
        {"in any order, whatever lies between", {sample(7, 86), sample(3, 10), sample(0, 100)}, 33},
        {"another capacity between", {sample(0, 100), sample(3, 90, 400), sample(7, 86)}, {}},
        {"two samples", {sample(0, 100), sample(7, 86)}, {}},
        {"not a week", {sample(0, 100), sample(3, 90), sample(kAlmost, 86)}, {}},
        {"rising", {sample(0, 80), sample(3, 90), sample(7, 86)}, {}},
        {"low already", {sample(0, 100), sample(3, 90), sample(7, 20)}, {}},
        {"a gap of two months", {sample(0, 100), sample(70, 61), sample(80, 60)}, 80},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const auto days = StorageTrend::daysUntilLowSpace(each.samples, 20 * kGB);
        EXPECT_EQ(days.has_value(), each.days.has_value());
        EXPECT_NEAR(days.value_or(0), each.days.value_or(0), 1e-9);
    }
}

class StoredTrend : public testing::Test {
  protected:
    void record(TimePoint now, std::uint64_t free, std::uint64_t total = 500) {
        ASSERT_TRUE(trend_.record({"disk", total * kGB, free * kGB}, now));
    }
    std::vector<std::uint64_t> freeAt(TimePoint now) const {
        std::vector<std::uint64_t> free;
        for (const StorageSample& each : trend_.samples(now)) free.push_back(each.freeBytes / kGB);
        return free;
    }

    test::TestHome home_;
    std::shared_ptr<UserDefaults> defaults_ = fileDefaults(home_.path("preferences.json"));
    StorageTrend trend_{defaults_};
};

using Free = std::vector<std::uint64_t>;

TEST_F(StoredTrend, KeepsNinetyDaysOfOneCapacity) {
    for (int day = 0; day < 200; ++day) record(dayAfter(day), 300 - static_cast<std::uint64_t>(day));
    EXPECT_EQ(freeAt(dayAfter(199)).size(), 90U);
    EXPECT_EQ(freeAt(dayAfter(199)).front(), 190U);
    EXPECT_NEAR(*StorageTrend::daysUntilLowSpace(trend_.samples(dayAfter(199)), 20 * kGB), 81, 1e-6);
    EXPECT_EQ(freeAt(dayAfter(120)).back(), 180U) << "a sample of the future tells nothing";
    record(dayAfter(199), 700, 1000);
    EXPECT_EQ(freeAt(dayAfter(199)), Free({700}));
}

TEST_F(StoredTrend, KeepsTheLatestSampleOfADayOfTheUsers) {
    const test::TimeZone zone("Europe/Lisbon");
    // Clocks went back at 01:00 UTC that day: it had 25 hours, from 23:00 UTC to midnight UTC.
    record(instant("2026-10-24T22:30:00Z"), 90);
    record(instant("2026-10-24T23:30:00Z"), 80);
    record(instant("2026-10-25T23:30:00Z"), 70);
    EXPECT_EQ(freeAt(instant("2026-10-25T23:40:00Z")), Free({90, 70}));
    record(instant("2026-10-26T00:10:00Z"), 60);
    EXPECT_EQ(freeAt(instant("2026-10-26T00:20:00Z")), Free({90, 70, 60}));
}

TEST_F(StoredTrend, TakesWhatItCannotUnderstandForNothing) {
    for (const char* text : {"", "{}", "[1]", R"([{"date":1,"freeBytes":-1,"totalBytes":2}])",
                             R"([{"date":1e300,"freeBytes":1,"totalBytes":2}])", "[{\"date\":1}", "\xff"}) {
        ASSERT_TRUE(defaults_->set("brindle.storageSamples", DefaultsData{text}));
        EXPECT_TRUE(freeAt(dayAfter(0)).empty()) << text;
    }
    record(dayAfter(0), 5);
    EXPECT_EQ(freeAt(dayAfter(0)), Free({5}));
    const auto stored = std::get<DefaultsData>(*defaults_->value("brindle.storageSamples").value()).bytes;
    EXPECT_EQ(stored, R"([{"date":788961600.0,"freeBytes":5000000000,"totalBytes":500000000000}])");
}

TEST_F(StoredTrend, NamesACauseOnlyWhereBothDaysAreKnown) {
    using Bytes = std::map<ModuleID, std::uint64_t>;
    const auto note = [&](double day, Bytes bytes) {
        ASSERT_TRUE(trend_.recordTotals(std::move(bytes), dayAfter(day)));
    };
    const std::vector<StorageSample> samples = {sample(0, 100), sample(3, 90), sample(7, 86)};
    const auto cause = [&] { return StorageTrend::causeOfDecline(samples, trend_.totals(dayAfter(7))); };
    note(3, {{ModuleID::docker, 1 * kGB}});
    note(7, {{ModuleID::docker, 9 * kGB}, {ModuleID::node, 30 * kGB}});
    EXPECT_EQ(cause(), std::nullopt) << "nothing is known of the first day";
    const ModuleGrowth docker{ModuleID::docker, 8 * kGB};
    EXPECT_EQ(StorageTrend::largestGrowth(trend_.totals(dayAfter(7))), docker);

    ASSERT_TRUE(defaults_->remove("brindle.storageTotals"));
    note(0, {{ModuleID::docker, 1 * kGB}, {ModuleID::rust, 7 * kGB}});
    note(7, {{ModuleID::docker, 9 * kGB}, {ModuleID::node, 30 * kGB}});
    EXPECT_EQ(cause(), docker) << "node was not looked into on the first day";
    ASSERT_TRUE(trend_.subtractFromTotals({{ModuleID::docker, 1 * kGB}, {ModuleID::go, kGB}}, dayAfter(7.1)));
    EXPECT_EQ(cause(), std::nullopt) << "half of the decline is not most of it";
    note(7.2, {});
    EXPECT_EQ(trend_.totals(dayAfter(8)).back().bytes,
              (Bytes{{ModuleID::docker, 8 * kGB}, {ModuleID::node, 30 * kGB}}));
}

}  // namespace
}  // namespace brindle
