#include "core/text/byte_format.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <utility>

namespace brindle {
namespace {

class Formatting : public testing::Test {
  protected:
    void TearDown() override {
        ByteFormat::setOverrideLocale(std::nullopt);
        ByteFormat::setSystemLocale("en_US");
    }
};

TEST_F(Formatting, ChoosesTheUnitBeforeItRounds) {
    using Case = std::pair<std::uint64_t, ByteFormat::Halves>;
    const Case cases[] = {{0, {"0", "B"}},
                          {999, {"999", "B"}},
                          {1000, {"1.0", "KB"}},
                          {1250, {"1.2", "KB"}},
                          {1350, {"1.4", "KB"}},
                          {999'949, {"999.9", "KB"}},
                          {999'950, {"1000.0", "KB"}},
                          {5'000'000'000'000, {"5.0", "TB"}},
                          {1'000'000'000'000'000'000, {"1000.0", "PB"}},
                          {std::numeric_limits<std::uint64_t>::max(), {"18446.7", "PB"}}};
    for (const auto& [bytes, halves] : cases) {
        EXPECT_EQ(ByteFormat::split(bytes), halves) << bytes;
        EXPECT_EQ(ByteFormat::shortText(bytes), ByteFormat::value(bytes) + " " + ByteFormat::unit(bytes));
    }
}

TEST_F(Formatting, WritesNumbersAsTheLocaleDoes) {
    using Case = std::tuple<const char*, const char*, const char*, const char*>;
    const Case cases[] = {
        {"de", "1234,6 PB", "4,0s", "1.234.567"},           {"de_CH.UTF-8", "1234.6 PB", "4.0s", "1’234’567"},
        {"fr", "1234,6 PB", "4,0s", "1\u202F234\u202F567"}, {"hi_IN", "1234.6 PB", "4.0s", "12,34,567"},
        {"C.UTF-8", "1234.6 PB", "4.0s", "1,234,567"},      {"", "1234.6 PB", "4.0s", "1,234,567"}};
    for (const auto& [locale, size, duration, count] : cases) {
        ByteFormat::setSystemLocale(locale);
        EXPECT_EQ(ByteFormat::shortText(1'234'567'000'000'000'000), size) << locale;
        EXPECT_EQ(ByteFormat::seconds(4.04), duration) << locale;
        EXPECT_EQ(ByteFormat::count(1'234'567), count) << locale;
    }
    ByteFormat::setOverrideLocale("de");
    EXPECT_EQ(ByteFormat::count(1234), "1.234");
    ByteFormat::setOverrideLocale(std::nullopt);
    EXPECT_EQ(ByteFormat::count(std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,808");
}

TEST_F(Formatting, RoundsPercentagesAndKnowsNoShareOfNothing) {
    constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
    using Case = std::tuple<std::uint64_t, std::uint64_t, const char*>;
    const Case cases[] = {{1, 3, "33%"},    {2, 3, "67%"},          {1, 8, "13%"},
                          {5, 0, "0%"},     {0, 9, "0%"},           {3, 2, "150%"},
                          {1, kMost, "0%"}, {kMost, kMost, "100%"}, {kMost, 1, "1844674407370955161600%"}};
    for (const auto& [part, total, text] : cases) EXPECT_EQ(ByteFormat::percent(part, total), text);
}

}  // namespace
}  // namespace brindle
