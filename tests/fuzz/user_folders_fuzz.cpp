// The text of a user-dirs.dirs.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/platform/path_text.h"
#include "core/platform/user_folders.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto folders = brindle::documentFoldersIn(text, "/h");
    if (folders.size() != 3) std::abort();
    for (const std::string& folder : folders) {
        if (!folder.starts_with('/') || folder != brindle::standardisedPath(folder)) std::abort();
        if (folder.find('\0') != std::string::npos) std::abort();
    }
    return 0;
}
