// Where applications are installed and where a user keeps documents, as this system names the places.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

struct UserFolders {
    std::vector<std::string> applications;
    std::vector<std::string> documents;  // Documents, Desktop and Downloads

    bool operator==(const UserFolders&) const = default;
};

// What there is of them, absolute, links resolved, each once and none in another one; a folder that is named for both
// is one of applications. The home folder and what contains it are left out: whoever names them wants no such folder.
// A place that cannot be reached is told as it is named, since nobody knows what lies there.
//
// Applications are those that come beside the system itself. Elsewhere than on macOS: /opt, /usr/local, /var/lib/flatpak,
// and in the home Applications and .local/share/flatpak. What the package manager put into /usr cannot be told from the
// system, and snaps lie in a folder that is closed to users. On macOS: /Applications and Applications in the home.
//
// Documents are named by $XDG_CONFIG_HOME/user-dirs.dirs (~/.config by default), or by their English names where
// nothing names them and on macOS. `environment` holds "NAME=value".
UserFolders userFolders(const std::string& home, const std::vector<std::string>& environment);

// Documents, Desktop and Downloads, in this order, from the text of a user-dirs.dirs: absolute, as they are named. The
// last line that names one counts, and one that cannot be understood names none; without any it has its English name.
std::vector<std::string> documentFoldersIn(std::string_view userDirs, const std::string& home);

// What each system's body answers: as they are named, also where nothing lies there.
std::vector<std::string> namedApplicationFolders(const std::string& home);
std::vector<std::string> namedDocumentFolders(const std::string& home,
                                              const std::vector<std::string>& environment);

}  // namespace brindle
