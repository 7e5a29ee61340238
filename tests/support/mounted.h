// Mounts for one test: made in a mount namespace of a thread of its own, so that nothing is left behind, whatever happens.
#pragma once

#include <string>
#include <utility>

#ifdef __linux__
#include <sched.h>
#include <sys/mount.h>

#include <thread>
#endif

namespace brindle::test {

inline constexpr const char* kNeedsMounts = "this process may not mount anything";

#ifdef __linux__
// `source` is bound to `place` (both are there), or a new volume lies there when `source` is empty: for this thread and
// those that it starts, until the object goes.
class Mount {
  public:
    Mount(const std::string& source, std::string place) : place_(std::move(place)) {
        const unsigned long flags = source.empty() ? 0 : MS_BIND;
        isMounted_ = unshare(CLONE_NEWNS) == 0 && mount("", "/", "", MS_REC | MS_PRIVATE, nullptr) == 0 &&
                     mount(source.c_str(), place_.c_str(), "tmpfs", flags, nullptr) == 0;
    }
    ~Mount() {
        if (isMounted_) umount2(place_.c_str(), MNT_DETACH);
    }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;
    bool isMounted() const { return isMounted_; }

  private:
    std::string place_;
    bool isMounted_ = false;
};
#endif

// Runs `body` with such a mount. False, and nothing was run, where that is not allowed: the test skips loudly.
template <typename Body>
bool isRunWithMount(const std::string& source, const std::string& place, Body body) {
    bool isMounted = false;
#ifdef __linux__
    std::thread([&] {
        const Mount mount(source, place);
        isMounted = mount.isMounted();
        if (isMounted) body();
    }).join();
#endif
    return isMounted;
}

}  // namespace brindle::test
