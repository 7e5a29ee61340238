// What the user is told of an item. Texts are kept as their English source and localised when they are read,
// so that a change of language needs no new scan; comparing and persisting use the source.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/regeneration.h"

namespace brindle {

// What happens next to an item that is shown only so that the user sees where the space is.
inline constexpr std::string_view kNothingIsRemoved = "Nothing is removed by Brindle.";

struct Fact {
    std::string storedLabel;
    std::string storedValue;

    bool operator==(const Fact&) const = default;

    std::string label() const;
    std::string value() const;
};

struct Explanation {
    std::string storedWhatItIs;
    std::string storedWhatHappensNext;  // what rebuilds it, what is lost
    std::optional<std::string> storedWhySuggested;
    std::optional<Regeneration> regeneratedBy;
    std::vector<Fact> facts;  // shown in this order

    bool operator==(const Explanation&) const = default;

    std::string whatItIs() const;
    std::string whatHappensNext() const;
    std::optional<std::string> whySuggested() const;
};

}  // namespace brindle
