// Asks before anything of a project is put elsewhere, and tells what came of it.
#pragma once

#include <expected>
#include <functional>
#include <string>

#include "cli/command.h"
#include "core/model/project.h"
#include "core/projects/project_recovery.h"

namespace brindle {

struct RecoveryTask {
    const Project& project;
    std::optional<ProjectRecovery> step;
    // Runs the step; called once, and only after a yes.
    std::function<std::expected<std::string, RecoveryFailure>()> run;
    std::function<bool()> isInterrupted;
    // The step that comes next as the project is at this moment, looked at anew; asked after a yes. Null: it is not.
    std::function<std::optional<ProjectRecovery>()> stepNow = {};
};

// Shows the exact commands, asks, runs. A no is a success; without somebody to ask nothing is started.
Outcome recoverAfterAsking(const RecoveryTask& task, Streams& streams, const Look& look);

}  // namespace brindle
