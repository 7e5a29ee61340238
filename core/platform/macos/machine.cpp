#include "core/platform/machine.h"

#include <mach-o/dyld.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <thread>

namespace brindle {

std::expected<std::string, Error> executablePath() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) {
        return std::unexpected(errorFrom(ENAMETOOLONG, "find the running program", ""));
    }
    return canonicalPath(path.c_str());
}

unsigned processorCount() {
    return std::max(1U, std::thread::hardware_concurrency());
}

}  // namespace brindle
