#include "core/modules/real_folders.h"

#include <algorithm>

#include "core/platform/file_status.h"

namespace brindle {

bool isRealFolder(const ScanContext& context, std::string_view relative) {
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = relative.find('/', end + 1);
        const auto status = statusOf(context.path(relative.substr(0, end)));
        if (!status || !status->isFolder()) return false;
    }
    return true;
}

std::vector<std::string> realFoldersIn(const ScanContext& context, const std::string& folder) {
    std::vector<std::string> folders;
    for (const ChildEntry& child : context.children(folder)) {
        const auto status = statusOf(child.path);
        if (status && status->isFolder()) folders.push_back(child.path);
    }
    return folders;
}

}  // namespace brindle
