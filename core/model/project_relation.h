// That two projects look like the same work: information only, it never changes what may be removed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/raw_text.h"

namespace brindle {

// Seen from one project.
struct ProjectRelation {
    // From the surest to the faintest.
    enum class Basis {
        sharedRemote,      // `detail`: the canonical remote
        sameDeclaredName,  // `detail`: the name
        sameFolderName,    // `detail`: the name
        variantOf,         // this one is named like a variant of the other
        hasVariant,        // the other one is
        sharedStem,        // `detail`: the stem
    };

    std::string otherPath;  // also the relation's identity
    std::string otherName;  // the other one's folder name
    Basis basis = Basis::sharedStem;
    std::string detail = {};

    bool operator==(const ProjectRelation&) const = default;

    bool isProven() const { return basis == Basis::sharedRemote; }
    std::string headline() const;  // localised
    std::string evidence() const;  // one sentence, localised
};

// All that relates to one project: the strongest, and how many more there are.
struct RelatedProjects {
    static constexpr std::size_t kMost = 20;
    static constexpr std::size_t kMostLeftOut = 1'000;

    std::vector<ProjectRelation> strongest = {};  // at most kMost, the surest first, of equal rank by path
    std::size_t leftOut = 0;                      // counted up to kMostLeftOut, which means that many or more

    bool operator==(const RelatedProjects&) const = default;
};

template <>
struct RawTexts<ProjectRelation::Basis> {
    static constexpr std::array<std::string_view, 6> kTexts = {
        "sharedRemote", "sameDeclaredName", "sameFolderName", "variantOf", "hasVariant", "sharedStem"};
};

constexpr std::string_view rawText(ProjectRelation::Basis basis) {
    return rawTextOf(basis);
}

}  // namespace brindle
