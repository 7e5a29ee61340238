#include "core/platform/open_files.h"

namespace brindle {

void OpenFiles::add(const FileStatus& status) {
    if (status.isRegular()) files_.emplace(status.inode, status.device);
}

}  // namespace brindle
