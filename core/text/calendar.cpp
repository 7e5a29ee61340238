#include "core/text/calendar.h"

#include <fmt/format.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <charconv>
#include <cstddef>
#include <cstdint>

namespace brindle {

namespace {

using std::chrono::sys_seconds;

// Some 300,000 years to either side: ICU's calendar reaches twenty times further, and the days between still
// fit an int. A file may carry any 64-bit number as its time.
constexpr std::int64_t kFarthestSecond = 10'000'000'000'000;

bool isCountable(sys_seconds moment) {
    const std::int64_t seconds = moment.time_since_epoch().count();
    return seconds >= -kFarthestSecond && seconds <= kFarthestSecond;
}

UDate milliseconds(sys_seconds moment) {
    return static_cast<double>(moment.time_since_epoch().count()) * 1000.0;
}

// Takes fixed-width numbers and single characters off the front of a text.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::optional<int> digits(std::size_t width) {
        if (rest_.size() < width || leadingDigits() < width) return std::nullopt;
        int number = 0;
        std::from_chars(rest_.data(), rest_.data() + width, number);
        rest_.remove_prefix(width);
        return number;
    }

    bool take(char expected) {
        if (rest_.empty() || rest_.front() != expected) return false;
        rest_.remove_prefix(1);
        return true;
    }

    // The digits behind a decimal point; those below a nanosecond are dropped.
    std::optional<std::chrono::nanoseconds> fraction() {
        const std::size_t count = leadingDigits();
        if (count == 0) return std::nullopt;
        std::string nanoseconds(rest_.substr(0, count));
        nanoseconds.resize(9, '0');
        rest_.remove_prefix(count);
        return std::chrono::nanoseconds(*Reader(nanoseconds).digits(9));
    }

    bool isAtEnd() const { return rest_.empty(); }

  private:
    std::size_t leadingDigits() const {
        const std::size_t end = rest_.find_first_not_of("0123456789");
        return end == std::string_view::npos ? rest_.size() : end;
    }

    std::string_view rest_;
};

std::optional<std::chrono::sys_days> readDate(Reader& reader) {
    const auto year = reader.digits(4);
    if (!year || !reader.take('-')) return std::nullopt;
    const auto month = reader.digits(2);
    if (!month || !reader.take('-')) return std::nullopt;
    const auto day = reader.digits(2);
    if (!day) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year{*year},
                                           std::chrono::month{static_cast<unsigned>(*month)},
                                           std::chrono::day{static_cast<unsigned>(*day)}};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days{date};
}

std::optional<std::chrono::minutes> readHoursAndMinutes(Reader& reader) {
    const auto hours = reader.digits(2);
    if (!hours || *hours > 23 || !reader.take(':')) return std::nullopt;
    const auto minutes = reader.digits(2);
    if (!minutes || *minutes > 59) return std::nullopt;
    return std::chrono::hours{*hours} + std::chrono::minutes{*minutes};
}

std::optional<std::chrono::seconds> readTime(Reader& reader) {
    const auto minutes = readHoursAndMinutes(reader);
    if (!minutes || !reader.take(':')) return std::nullopt;
    const auto seconds = reader.digits(2);
    if (!seconds || *seconds > 59) return std::nullopt;
    return *minutes + std::chrono::seconds{*seconds};
}

std::optional<std::chrono::minutes> readOffset(Reader& reader) {
    if (reader.take('Z')) return std::chrono::minutes{0};
    const bool isBehind = reader.take('-');
    if (!isBehind && !reader.take('+')) return std::nullopt;
    const auto offset = readHoursAndMinutes(reader);
    if (!offset) return std::nullopt;
    return isBehind ? -*offset : *offset;
}

// A TimePoint of nanoseconds ends in the year 2262, the four digits of a text do not.
std::optional<TimePoint> momentFrom(sys_seconds second, std::chrono::nanoseconds fraction) {
    constexpr auto kFirst = std::chrono::ceil<std::chrono::seconds>(TimePoint::min());
    constexpr auto kLast =
        std::chrono::floor<std::chrono::seconds>(TimePoint::max()) - std::chrono::seconds{1};
    if (second < kFirst || second > kLast) return std::nullopt;
    return TimePoint{second} + std::chrono::duration_cast<TimePoint::duration>(fraction);
}

}  // namespace

std::optional<int> wholeDaysBetween(sys_seconds from, sys_seconds to) {
    if (!isCountable(from) || !isCountable(to)) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(icu::TimeZone::createDefault(), icu::Locale::getRoot(), status);
    calendar.setTime(milliseconds(from), status);
    const int days = calendar.fieldDifference(milliseconds(to), UCAL_DATE, status);
    if (U_FAILURE(status)) return std::nullopt;
    return days;
}

bool isSameDay(sys_seconds left, sys_seconds right) {
    if (!isCountable(left) || !isCountable(right)) return false;
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(icu::TimeZone::createDefault(), icu::Locale::getRoot(), status);
    const auto dayOf = [&](sys_seconds moment) {
        calendar.setTime(milliseconds(moment), status);
        return calendar.get(UCAL_JULIAN_DAY, status);
    };
    const auto first = dayOf(left);
    return dayOf(right) == first && U_SUCCESS(status);
}

std::optional<std::string> iso8601(sys_seconds second) {
    constexpr sys_seconds kEarliest = std::chrono::sys_days{std::chrono::year{0} / 1 / 1};
    constexpr sys_seconds kEnd = std::chrono::sys_days{std::chrono::year{10'000} / 1 / 1};
    if (second < kEarliest || second >= kEnd) return std::nullopt;
    const std::chrono::sys_days midnight = std::chrono::floor<std::chrono::days>(second);
    const std::chrono::year_month_day date{midnight};
    const std::chrono::hh_mm_ss time{second - midnight};
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                       time.hours().count(), time.minutes().count(), time.seconds().count());
}

std::string iso8601(TimePoint moment) {
    return iso8601(std::chrono::floor<std::chrono::seconds>(moment)).value();
}

std::optional<std::string> minuteText(sys_seconds moment) {
    const auto text = iso8601(moment);
    if (!text) return std::nullopt;
    return text->substr(0, 10) + " " + text->substr(11, 5) + " UTC";
}

std::optional<TimePoint> timeFromIso8601(std::string_view text) {
    Reader reader(text);
    const auto date = readDate(reader);
    if (!date || !reader.take('T')) return std::nullopt;
    const auto time = readTime(reader);
    if (!time) return std::nullopt;
    std::optional<std::chrono::nanoseconds> fraction{0};
    if (reader.take('.')) fraction = reader.fraction();
    if (!fraction) return std::nullopt;
    const auto offset = readOffset(reader);
    if (!offset || !reader.isAtEnd()) return std::nullopt;
    return momentFrom(*date + *time - *offset, *fraction);
}

}  // namespace brindle
