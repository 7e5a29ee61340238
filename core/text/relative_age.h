// How long ago, as a person says it.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "core/text/calendar.h"

namespace brindle {

// "today", "yesterday", "3 days ago", "last month", "over a year ago"; "unknown" without a date. Localised at every
// call, by whole calendar days.
std::string relativeAge(std::optional<std::chrono::sys_seconds> date, TimePoint now);

}  // namespace brindle
