// Opening where other parts of the program may hold every descriptor for a moment.
#pragma once

#include <cerrno>
#include <chrono>
#include <thread>

namespace brindle {

// `open` returns 0 or an errno; so does this, after three seconds at most.
template <typename Open>
int openPatiently(Open open) {
    constexpr int kTries = 600;
    constexpr auto kPause = std::chrono::milliseconds(5);
    for (int tries = 0;; ++tries) {
        const int failure = open();
        if ((failure != EMFILE && failure != ENFILE) || tries == kTries) return failure;
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace brindle
