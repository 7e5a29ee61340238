// Moments, and counting between them the way a person's calendar does (ICU, the system's time zone).
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

// UTC. File times stay std::chrono::sys_seconds until they are shown: a file may claim the year 3000.
using TimePoint = std::chrono::system_clock::time_point;

// Whole calendar days from one moment to a later one in the user's time zone: 0 until the same time of the
// next day, also over a change of daylight saving. Negative when `to` lies before `from`. Absent when the
// calendar cannot count (moments outside the years that ICU handles).
std::optional<int> wholeDaysBetween(std::chrono::sys_seconds from, std::chrono::sys_seconds to);

// Whether both fall on one calendar day in the user's time zone. False when the calendar cannot count.
bool isSameDay(std::chrono::sys_seconds left, std::chrono::sys_seconds right);

// "2026-11-21T07:19:27Z": ISO 8601 in UTC, whole seconds (rounded down). Absent outside the years 0 to
// 9999, which only a broken file time can name.
std::string iso8601(TimePoint moment);
std::optional<std::string> iso8601(std::chrono::sys_seconds moment);

// "2026-11-21 07:19 UTC": for people, where a relative age is too coarse. Absent as iso8601.
std::optional<std::string> minuteText(std::chrono::sys_seconds moment);

// The inverse of iso8601; also accepts fractions of a second and an offset such as +01:00. Absent for anything else.
std::optional<TimePoint> timeFromIso8601(std::string_view text);

}  // namespace brindle
