// Where applications are looked for, and who else is asked: what the leftovers module is told of the machine.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

// Paths that do not begin with "/" are below the home folder.
struct LeftoverSettings {
    // Folders of applications and of folders of applications. The first one must be there, or nothing is claimed.
    std::vector<std::string> applicationFolders;
    // Folders whose entries are named after the programs that the system starts from elsewhere.
    std::vector<std::string> serviceFolders;
    // Folders of command-line tools: what they keep may look like an application's.
    std::vector<std::string> commandFolders = {};

    // As systemKnowsApplication and runningPrograms. Where one does not answer, nothing is claimed.
    std::function<std::optional<bool>(const std::string& identifier)> databaseKnows =
        [](const std::string&) -> std::optional<bool> { return std::nullopt; };
    std::function<std::optional<std::vector<std::string>>()> runningPrograms =
        []() -> std::optional<std::vector<std::string>> { return std::nullopt; };
    // As FullDiskAccess::isGranted for this home: without it, looking into another application's container would make
    // the system ask the user.
    std::function<bool(const std::string& home)> mayReadContainers = [](const std::string&) { return false; };

    // The places of macOS, and this system's own sources. Where none of the folders outside the
    // home exists, no leftovers are looked for.
    static LeftoverSettings ofThisMachine();
};

}  // namespace brindle
