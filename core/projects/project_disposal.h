// What removing a whole project folder would cost. Brindle never removes one; this is for the user to judge.
#pragma once

#include <optional>
#include <string>

#include "core/model/project.h"

namespace brindle {

struct ProjectDisposal {
    enum class Verdict {
        elsewhere,   // everything is committed and on a remote: removing the folder costs a clone
        onlyHere,    // some of the work exists only here
        notTracked,  // no repository
        unknown,     // Git's answer is incomplete
    };

    Verdict verdict = Verdict::unknown;
    std::string headline;     // localised
    std::string consequence;  // one or two sentences, localised

    bool operator==(const ProjectDisposal&) const = default;
    bool isElsewhere() const { return verdict == Verdict::elsewhere; }

    // From the project's Git state alone; a project that nobody judged is unknown.
    static ProjectDisposal assess(const Project& project);
};

template <>
struct RawTexts<ProjectDisposal::Verdict> {
    static constexpr std::array<std::string_view, 4> kTexts = {"elsewhere", "onlyHere", "notTracked",
                                                               "unknown"};
};

}  // namespace brindle
