// Which projects look like the same work. Pure functions; a resemblance never changes an item.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/project.h"
#include "core/model/project_relation.h"

namespace brindle {

// Project path -> the projects that look like the same work, each with its strongest basis; a project without relations
// has no entry. A resemblance is seen from both sides. Cost and memory grow with the number of projects, however many
// look alike: of the remotes of one, kMostComparedRemotes are compared.
std::map<std::string, RelatedProjects> relatedProjects(const std::vector<Project>& projects);

// The same for one alone, which may be among the others.
RelatedProjects relationsOf(const Project& project, const std::vector<Project>& others);

inline constexpr std::size_t kMostComparedRemotes = 32;

// "github.com/owner/name" for every spelling of one address: scheme, user, port-less host, scp-like form, trailing "/"
// and ".git" make no difference. Empty for an address that names no repository.
std::string canonicalRemote(std::string_view url);

// Lower case, tokens joined by "-".
std::string normalisedName(std::string_view name);
bool isDistinctive(std::string_view name);    // long and uncommon enough to relate projects by
bool isVariantToken(std::string_view token);  // "copy", "2", "v2"
std::string strippingVariantSuffixes(std::string_view name);  // "lantern-copy-2" -> "lantern"

}  // namespace brindle
