// A place that could not be measured, why, and what to do about it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/model/raw_text.h"

namespace brindle {

struct UnreachableLocation {
    enum class Reason {
        permissionDenied,
        toolchainNotRunning,
        missing,
        differentVolume,  // this and the next are limits of our own, not failures
        searchDepth,
    };

    std::string path;
    Reason reason = Reason::permissionDenied;
    std::string storedRemedy;  // English source

    bool operator==(const UnreachableLocation&) const = default;

    std::string remedy() const;

    // With the reason's own remedy.
    static UnreachableLocation withDefaultRemedy(std::string path, Reason reason);
    // A tool that did not answer: `asked` is what it was asked, `remedy` English source.
    static UnreachableLocation notRunning(std::string_view asked, std::string_view remedy);
};

template <>
struct RawTexts<UnreachableLocation::Reason> {
    static constexpr std::array<std::string_view, 5> kTexts = {"permissionDenied", "toolchainNotRunning",
                                                               "missing", "differentVolume", "searchDepth"};
};

constexpr std::string_view rawText(UnreachableLocation::Reason reason) {
    return rawTextOf(reason);
}

// Why a walk could not read what lies there: what has vanished meanwhile is missing, and nobody need look for permissions.
UnreachableLocation::Reason reasonUnreadable(const std::string& path);

bool isDeliberate(UnreachableLocation::Reason reason);
std::string label(UnreachableLocation::Reason reason);          // localised
std::string defaultRemedy(UnreachableLocation::Reason reason);  // localised

}  // namespace brindle
