#include "core/platform/user_folders.h"

namespace brindle {

std::vector<std::string> namedApplicationFolders(const std::string& home) {
    return {"/Applications", home + "/Applications"};
}

// The file system has the English names, whatever the language in which they are shown.
std::vector<std::string> namedDocumentFolders(const std::string& home,
                                              const std::vector<std::string>& /*environment*/) {
    return documentFoldersIn("", home);
}

}  // namespace brindle
