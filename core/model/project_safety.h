// How sure it is that a project's generated folders come back, and on what evidence.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/model/git_state.h"
#include "core/model/raw_text.h"

namespace brindle {

// One piece of evidence. The sentence is in the interface language of the moment it was found; it is also the signal's
// identity.
struct SafetySignal {
    enum class Weight { reassuring, caution, blocking };

    Weight weight = Weight::blocking;
    std::string storedText;

    bool operator==(const SafetySignal&) const = default;
};

struct ProjectSafety {
    // In this order: what is further down is less sure. Compares with <.
    enum class Confidence {
        certain,   // rebuilt by a known command, and everything else is on a remote
        likely,    // rebuilt, but not everything beside it is backed up
        unproven,  // nothing shows that it can be rebuilt, or that the rest exists elsewhere
        risky,     // a blocking signal: nothing is offered
    };

    Confidence confidence = Confidence::risky;
    std::vector<SafetySignal> signals;  // in the order in which they were found
    GitState git;

    bool operator==(const ProjectSafety&) const = default;

    std::vector<SafetySignal> reassuring() const;
    std::vector<SafetySignal> concerns() const;  // cautions and what blocks
    std::string headline() const;                // localised
};

template <>
struct RawTexts<SafetySignal::Weight> {
    static constexpr std::array<std::string_view, 3> kTexts = {"reassuring", "caution", "blocking"};
};

template <>
struct RawTexts<ProjectSafety::Confidence> {
    static constexpr std::array<std::string_view, 4> kTexts = {"certain", "likely", "unproven", "risky"};
};

constexpr std::string_view rawText(SafetySignal::Weight weight) {
    return rawTextOf(weight);
}
constexpr std::string_view rawText(ProjectSafety::Confidence confidence) {
    return rawTextOf(confidence);
}
std::string headline(ProjectSafety::Confidence confidence);  // localised

}  // namespace brindle
