// How often a scheduled scan runs.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "core/model/raw_text.h"

namespace brindle {

enum class Cadence { daily, weekly, monthly };

template <>
struct RawTexts<Cadence> {
    static constexpr std::array<std::string_view, 3> kTexts = {"daily", "weekly", "monthly"};
};

constexpr std::string_view rawText(Cadence cadence) {
    return rawTextOf(cadence);
}
constexpr std::optional<Cadence> cadenceFrom(std::string_view text) {
    return fromRawText<Cadence>(text);
}

// From one run to the next; a month is 30 days.
std::chrono::seconds interval(Cadence cadence);

// How much earlier or later than that a run may come: half the interval.
std::chrono::seconds tolerance(Cadence cadence);

// "Every week", localised at every call.
std::string displayName(Cadence cadence);

}  // namespace brindle
