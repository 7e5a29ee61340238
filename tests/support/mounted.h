// Mounts for one test: made in a mount namespace of a thread of its own, so that nothing is left behind, whatever happens.
#pragma once

#include <string>

#ifdef __linux__
#include <sched.h>
#include <sys/mount.h>

#include <thread>
#endif

namespace brindle::test {

inline constexpr const char* kNeedsMounts = "this process may not mount anything";

// Runs `body` while `source` is bound to `place` (both are there), or a new volume lies there when `source` is empty.
// False, and nothing was run, where that is not allowed: the test skips loudly.
template <typename Body>
bool isRunWithMount(const std::string& source, const std::string& place, Body body) {
#ifdef __linux__
    bool isMounted = false;
    std::thread([&] {
        const unsigned long flags = source.empty() ? 0 : MS_BIND;
        isMounted = unshare(CLONE_NEWNS) == 0 && mount("", "/", "", MS_REC | MS_PRIVATE, nullptr) == 0 &&
                    mount(source.c_str(), place.c_str(), "tmpfs", flags, nullptr) == 0;
        if (isMounted) body();
    }).join();
    return isMounted;
#else
    return false;
#endif
}

}  // namespace brindle::test
