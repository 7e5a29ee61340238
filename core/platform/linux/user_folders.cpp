#include "core/platform/user_folders.h"

#include "core/platform/files.h"

namespace brindle {

namespace {

constexpr std::uint64_t kMostConfigurationBytes = 64 << 10;

std::string configurationFolder(const std::string& home, const std::vector<std::string>& environment) {
    constexpr std::string_view kVariable = "XDG_CONFIG_HOME=";
    for (const std::string& entry : environment) {
        // A relative path is to be ignored.
        if (entry.starts_with(kVariable) && entry.substr(kVariable.size()).starts_with('/'))
            return entry.substr(kVariable.size());
    }
    return home + "/.config";
}

}  // namespace

std::vector<std::string> namedApplicationFolders(const std::string& home) {
    return {"/opt", "/usr/local", "/var/lib/flatpak", home + "/Applications", home + "/.local/share/flatpak"};
}

std::vector<std::string> namedDocumentFolders(const std::string& home,
                                              const std::vector<std::string>& environment) {
    const auto text =
        readFile(configurationFolder(home, environment) + "/user-dirs.dirs", kMostConfigurationBytes);
    return documentFoldersIn(text.value_or(""), home);
}

}  // namespace brindle
