// The next step that would put a project's work somewhere else than on this disk.
#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/model/project.h"
#include "core/projects/recovery_guard.h"
#include "core/tools/toolbox.h"

namespace brindle {

// With what a repository can be published.
enum class Forge {
    gitHubCLI,  // gh is installed
    plainGit,   // only git
};

Forge detectForge(const Toolbox& tools);

// The nearest folder above this one that holds a repository.
std::optional<std::string> enclosingRepository(const std::string& folder);

struct RecoveryFailure {
    enum class Kind {
        refused,      // `text`: the guard's reason; nothing was started
        couldNotRun,  // `text`: the program's name
        failed,       // `text`: what the tool said; may be empty
        notOurs,      // a step that Brindle only shows
    };
    Kind kind = Kind::notOurs;
    std::string text = {};

    bool operator==(const RecoveryFailure&) const = default;
    std::string description() const;  // localised
};

struct ProjectRecovery {
    enum class Step { publish, initialise, commit, push };

    Step step = Step::push;
    std::string name;         // the project folder's own
    std::string path;         // the project folder
    bool hasOrigin = false;   // push: a remote "origin" is there already, so only the push itself is left
    bool leavesWork = false;  // push: stashes, tags or worktrees hold something that it does not take along
    std::vector<std::string> addresses = {};  // push: of that remote, without credentials

    bool operator==(const ProjectRecovery&) const = default;

    std::string explanation() const;  // localised
    std::vector<RecoveryCommand> commands() const;
    // Whether Brindle may run it, once the user has said yes: publishing, and pushing to an origin that is there.
    bool isRunnable() const;

    // Absent when the work is on a remote already, when Git's answer is incomplete, and when no step of ours helps: for
    // work in repositories inside the project, or for a folder that lies inside a repository.
    static std::optional<ProjectRecovery> next(const Project& project, Forge forge);

    // Runs the commands in order, each after the guard has allowed it; stops at the first failure. The tools' output.
    // Blocks, perhaps for minutes.
    std::expected<std::string, RecoveryFailure> run(const Toolbox& tools, const std::string& home,
                                                    const std::function<bool()>& isCancelled) const;
};

template <>
struct RawTexts<ProjectRecovery::Step> {
    static constexpr std::array<std::string_view, 4> kTexts = {"publish", "initialise", "commit", "push"};
};

}  // namespace brindle
