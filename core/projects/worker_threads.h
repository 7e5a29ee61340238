// The same work on several threads. For bodies in core/projects only.
#pragma once

#include <algorithm>
#include <cstddef>
#include <system_error>
#include <thread>
#include <vector>

namespace brindle {

// More wait for Git than there are processors.
inline constexpr std::size_t kMostWorkers = 8;

// Runs `work` on as many threads as there are pieces, at the most kMostWorkers, this one among them; returns when all have
// ended. When no further thread is to be had there are fewer, and they do more.
template <typename Work>
void runOnWorkers(std::size_t pieces, const Work& work) {
    std::vector<std::jthread> threads;
    const std::size_t wanted = std::min(pieces, kMostWorkers);
    const auto isStarted = [&] {
        try {
            threads.emplace_back(work);
            return true;
        } catch (const std::system_error&) {
            return false;
        }
    };
    while (threads.size() + 1 < wanted && isStarted()) continue;
    work();
}

}  // namespace brindle
