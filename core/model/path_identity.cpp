#include "core/model/path_identity.h"

#include "core/platform/file_status.h"

namespace brindle {

std::optional<PathIdentity> PathIdentity::read(const std::string& path) {
    const auto status = statusOf(path);
    if (!status) return std::nullopt;
    return PathIdentity{status->device, status->inode, status->mode};
}

}  // namespace brindle
