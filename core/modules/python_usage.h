// Who uses which interpreter: what pyenv's settings, projects and environments name.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/scan/scan_context.h"

namespace brindle {

struct PythonUsage {
    // An environment that is nobody's item here, or the folder of one that is.
    struct Environment {
        std::string path;
        std::vector<std::string> interpreters;  // links resolved where they lead somewhere
    };
    std::vector<Environment> environments;
    // A name of a version, and who names it: a file, as it is shown to the user.
    std::vector<std::pair<std::string, std::string>> namedVersions;
    // Files and folders that are there and could not be read, as shown to the user: what they name is unknown, so
    // nothing can be called unused.
    std::vector<std::string> unreadable;

    // Reads pyenv's global version, .python-version in the projects, in the home folder and between them, and
    // pyvenv.cfg of every environment directly inside those projects and inside the folders where tools keep
    // them.
    static PythonUsage read(const ScanContext& context, const ProjectPlaces& projects);

    // Who uses the interpreter or environment in this folder (a real one, no link): file and folder names as shown to
    // the user, sorted, each once; never the folder itself.
    std::vector<std::string> usersOf(const ScanContext& context, const std::string& folder) const;
};

}  // namespace brindle
