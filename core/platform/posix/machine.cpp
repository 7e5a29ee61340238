#include "core/platform/machine.h"

#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>

extern char** environ;

namespace brindle {

std::expected<std::string, Error> currentUserHome() {
    constexpr std::size_t kLargestEntry = 1 << 20;
    for (std::string buffer(1024, '\0'); buffer.size() <= kLargestEntry; buffer.resize(buffer.size() * 4)) {
        passwd entry = {};
        passwd* found = nullptr;
        const int code = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
        if (code == ERANGE || code == EINTR) continue;
        if (found != nullptr && found->pw_dir != nullptr && *found->pw_dir == '/') return found->pw_dir;
        return std::unexpected(errorFrom(code == 0 ? ENOENT : code, "find the home of this user", ""));
    }
    return std::unexpected(errorFrom(ERANGE, "find the home of this user", ""));
}

std::vector<std::string> currentEnvironment() {
    std::vector<std::string> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
}

std::uint64_t descriptorLimit() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return static_cast<std::uint64_t>(sysconf(_SC_OPEN_MAX));
    return limit.rlim_cur == RLIM_INFINITY ? std::numeric_limits<std::uint64_t>::max() : limit.rlim_cur;
}

std::expected<std::string, Error> canonicalPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), std::free);
    if (!resolved) return std::unexpected(errorFrom(errno, "resolve", path));
    return std::string(resolved.get());
}

std::string canonicalOr(const std::string& path) {
    return canonicalPath(path).value_or(path);
}

bool isSuperuser() {
    return geteuid() == 0;
}

}  // namespace brindle
