// Turns projects that were left alone into cleanup items: their generated folders, never the project itself.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/model/project.h"

namespace brindle {

inline constexpr int kOfferAfterDays = 30;  // whole days without activity

// One item for each project that qualifies, in the projects' order. `home` is for showing paths.
std::vector<CleanupItem> dormantProjectItems(const std::vector<Project>& projects, const std::string& home,
                                             TimePoint now);

// The generated folders of all the projects: what the safety guard may take for such. Never a project folder.
std::set<std::string> vouchedProjectPaths(const std::vector<Project>& projects);

// The largest one's; absent without artifacts.
std::optional<Regeneration> primaryRegeneration(const std::vector<ProjectArtifact>& artifacts);

// Why no item is offered for the project, one localised sentence; absent when one is.
std::optional<std::string> reasonNotOffered(const Project& project, TimePoint now);

}  // namespace brindle
