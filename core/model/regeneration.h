// How removed data comes back.
#pragma once

#include <string>
#include <string_view>

#include "core/model/raw_text.h"

namespace brindle {

struct Regeneration {
    enum class Kind {
        command,    // a command line the user runs: "cargo build"
        action,     // something the user does: "Relaunch VS Code"
        automatic,  // something that happens by itself: "Written again on the next crash"
    };

    Kind kind = Kind::automatic;
    std::string storedText;  // English source; a command is the same in every language

    bool operator==(const Regeneration&) const = default;

    // Localised, except for a command.
    std::string text() const;
};

template <>
struct RawTexts<Regeneration::Kind> {
    static constexpr std::array<std::string_view, 3> kTexts = {"command", "action", "automatic"};
};

}  // namespace brindle
