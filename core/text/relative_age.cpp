#include "core/text/relative_age.h"

#include "core/text/core_strings.h"

namespace brindle {

std::string relativeAge(std::optional<std::chrono::sys_seconds> date, TimePoint now) {
    const auto age =
        date ? wholeDaysBetween(*date, std::chrono::floor<std::chrono::seconds>(now)) : std::nullopt;
    if (!age) return CoreStrings::localized("unknown");
    if (*age < 1) return CoreStrings::localized("today");
    if (*age == 1) return CoreStrings::localized("yesterday");
    if (*age < 30) return CoreStrings::plural("count.daysAgo", *age);
    if (*age < 60) return CoreStrings::localized("last month");
    if (*age < 365) return CoreStrings::plural("count.monthsAgo", *age / 30);
    return CoreStrings::localized("over a year ago");
}

}  // namespace brindle
