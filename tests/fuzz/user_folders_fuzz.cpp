// The text of a user-dirs.dirs.
#include "core/platform/path_text.h"
#include "core/platform/user_folders.h"
#include "tests/fuzz/target.h"

void check(std::string_view text) {
    const auto folders = brindle::documentFoldersIn(text, "/h");
    require(folders.size() == 3);
    for (const std::string& folder : folders) {
        require(folder.starts_with('/') && folder == brindle::standardisedPath(folder));
        require(folder.find('\0') == std::string::npos);
    }
}
