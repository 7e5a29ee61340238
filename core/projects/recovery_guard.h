// The last line before Brindle runs something in a project of the user's.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/model/safety_verdict.h"

namespace brindle {

struct RecoveryCommand {
    std::string executable;
    std::vector<std::string> arguments;

    bool operator==(const RecoveryCommand&) const = default;

    // To copy into a shell; absent when some part cannot be shown as it is.
    std::optional<std::string> display() const;
};

// Whether this exact command may be run for this project: creating a private repository of the folder's name, or
// pushing what is committed to the remote "origin", argument for argument, of a folder in the home folder. Judges by the
// texts alone; `projectFolder` is to have its links resolved.
SafetyVerdict recoveryVerdict(const RecoveryCommand& command, const std::string& projectFolder,
                              const std::string& home);

}  // namespace brindle
