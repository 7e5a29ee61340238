// Whether this system hands out pseudo-terminals; a bare container may not. Tests that need one skip loudly:
//   if (!hasPseudoTerminals()) GTEST_SKIP() << kNeedsPseudoTerminals;
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

namespace brindle::test {

inline constexpr const char* kNeedsPseudoTerminals =
    "this system has no pseudo-terminals (/dev/pts is not mounted)";

inline bool hasPseudoTerminals() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    const bool isUsable = terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0 &&
                          access(ptsname(terminal), R_OK | W_OK) == 0;
    if (terminal >= 0) close(terminal);
    return isUsable;
}

}  // namespace brindle::test
