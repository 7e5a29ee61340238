#include "core/projects/lockfile_search.h"

#include "core/platform/file_status.h"
#include "core/platform/path_text.h"
#include "core/projects/project_tables.h"

namespace brindle {

std::optional<Regeneration> LockfileSearch::regeneration(std::string_view artifactName,
                                                         const std::string& artifactPath) {
    const ArtifactRule* rule = artifactRuleFor(artifactName);
    if (rule == nullptr || installersFor(rule->name).empty()) return std::nullopt;
    std::string folder = folderOf(artifactPath);
    while (isAtOrBelow(folder, projectFolder_)) {
        const std::string_view command = commandIn(folder, rule->name);
        if (!command.empty()) return Regeneration{Regeneration::Kind::command, std::string(command)};
        folder = folderOf(folder);
    }
    return std::nullopt;
}

std::string_view LockfileSearch::commandIn(const std::string& folder, std::string_view artifactName) {
    const auto [entry, isNew] = known_.try_emplace({folder, artifactName});
    if (!isNew) return entry->second;
    for (const Installer& installer : installersFor(artifactName)) {
        if (!exists(folder + "/" + std::string(installer.lockfile))) continue;
        entry->second = installer.command;
        break;
    }
    return entry->second;
}

}  // namespace brindle
