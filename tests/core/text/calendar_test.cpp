#include "core/text/calendar.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/time_zone.h"

namespace brindle {
namespace {

using std::chrono::sys_seconds;

sys_seconds at(std::string_view text) {
    return std::chrono::floor<std::chrono::seconds>(timeFromIso8601(text).value());
}

class Calendar : public testing::Test {
  protected:
    test::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(Calendar, CountsADayWhenTheSameTimeOfTheNextDayIsReachedWhereTheUserLives) {
    using Case = std::tuple<std::string_view, std::string_view, int>;
    const Case cases[] = {
        {"2025-06-10T12:00:00+02:00", "2025-06-11T11:59:59+02:00", 0},
        {"2025-03-29T12:00:00+01:00", "2025-03-30T12:00:00+02:00", 1},  // 23 hours: clocks go forward
        {"2025-03-29T12:00:00+01:00", "2025-03-30T11:59:59+02:00", 0},
        {"2025-10-25T12:00:00+02:00", "2025-10-26T11:30:00+01:00", 0},  // 24.5 hours: clocks go back
        {"2025-10-25T12:00:00+02:00", "2025-10-26T12:00:00+01:00", 1},
        {"2025-06-11T12:00:00+02:00", "2025-06-10T12:00:00+02:00", -1},
    };
    for (const auto& [from, to, days] : cases) EXPECT_EQ(wholeDaysBetween(at(from), at(to)), days) << to;
    test::liveIn("America/New_York");
    EXPECT_EQ(wholeDaysBetween(at("2025-03-08T17:00:00Z"), at("2025-03-09T16:00:00Z")), 1);
    EXPECT_EQ(wholeDaysBetween(at("2025-03-29T11:00:00Z"), at("2025-03-30T10:00:00Z")), 0);
}

TEST_F(Calendar, CountsOrRefusesTimesThatNoClockShowed) {
    const auto second = [](std::int64_t value) { return sys_seconds{std::chrono::seconds{value}}; };
    const sys_seconds now = at("2025-06-10T12:00:00Z");
    EXPECT_EQ(wholeDaysBetween(sys_seconds::max(), now), std::nullopt);
    EXPECT_EQ(wholeDaysBetween(now, sys_seconds::min()), std::nullopt);
    EXPECT_EQ(wholeDaysBetween(second(10'000'000'000'001), now), std::nullopt);
    EXPECT_NEAR(wholeDaysBetween(second(-10'000'000'000'000), second(10'000'000'000'000)).value(),
                231'481'481, 2);
}

TEST(Iso8601, ReadsWhatItWritesAndTheUsualVariants) {
    using Case = std::pair<std::string_view, std::string_view>;
    const Case cases[] = {{"2026-11-21T07:19:27Z", "2026-11-21T07:19:27Z"},
                          {"1969-12-31T23:59:59.5Z", "1969-12-31T23:59:59Z"},
                          {"2024-02-29T00:30:00.123456789012+01:00", "2024-02-28T23:30:00Z"},
                          {"2025-12-31T20:00:00-05:30", "2026-01-01T01:30:00Z"}};
    for (const auto& [text, written] : cases) EXPECT_EQ(iso8601(timeFromIso8601(text).value()), written);
    EXPECT_EQ(timeFromIso8601("1970-01-01T00:00:00.25Z"), TimePoint{std::chrono::milliseconds{250}});
    EXPECT_EQ(iso8601(sys_seconds{std::chrono::seconds{32'503'680'000}}), "3000-01-01T00:00:00Z");
    EXPECT_EQ(iso8601(sys_seconds::max()), std::nullopt);
    EXPECT_EQ(iso8601(sys_seconds::min()), std::nullopt);
}

TEST(Iso8601, RefusesEverythingElse) {
    for (const std::string_view text :
         {"", "2026-11-21", "2026-11-21 07:19:27Z", "2026-11-21T07:19:27", "2026-11-21T07:19:27Z ",
          "2026-11-21T07:19:27.Z", "2025-02-29T00:00:00Z", "2026-13-01T00:00:00Z", "2026-01-01T24:00:00Z",
          "2026-01-01T00:60:00Z", "2026-01-01T00:00:61Z", "2026-01-01T00:00:00+25:00",
          "2026-01-01T00:00:00+0100", "-026-01-01T00:00:00Z", "+026-01-01T00:00:00Z", "2263-01-01T00:00:00Z",
          "9999-12-31T23:59:59Z", "1600-01-01T00:00:00Z"}) {
        EXPECT_EQ(timeFromIso8601(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace brindle
