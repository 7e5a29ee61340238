// Whether this system hands out pseudo-terminals; a bare container may not. Tests that need one skip loudly:
//   if (!hasPseudoTerminals()) GTEST_SKIP() << kNeedsPseudoTerminals;
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

namespace brindle::test {

inline constexpr const char* kNeedsPseudoTerminals =
    "this system has no pseudo-terminals (/dev/pts is not mounted)";

struct PseudoTerminal {
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    int slave = -1;
    PseudoTerminal() {
        if (grantpt(master) == 0 && unlockpt(master) == 0) slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    }
    ~PseudoTerminal() {
        close(master);
        close(slave);
    }
};

inline bool hasPseudoTerminals() {
    return PseudoTerminal().slave >= 0;
}

}  // namespace brindle::test
