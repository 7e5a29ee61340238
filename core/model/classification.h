// May it go? The judgement shown with every item.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/model/raw_text.h"

namespace brindle {

enum class Classification {
    safe,        // deleted outright when chosen
    review,      // goes to the Trash when chosen
    protected_,  // shown, never offered, never counted as reclaimable
};

template <>
struct RawTexts<Classification> {
    static constexpr std::array<std::string_view, 3> kTexts = {"safe", "review", "protected"};
};

constexpr std::string_view rawText(Classification classification) {
    return rawTextOf(classification);
}
constexpr std::optional<Classification> classificationFrom(std::string_view text) {
    return fromRawText<Classification>(text);
}

constexpr bool isRemovable(Classification classification) {
    return classification != Classification::protected_;
}

// The lower-case word, localised at every call.
std::string displayName(Classification classification);

}  // namespace brindle
