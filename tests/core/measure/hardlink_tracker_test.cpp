#include "core/measure/hardlink_tracker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace brindle {
namespace {

TEST(HardlinkTracker, GivesEachFileToOneClaimerOfMany) {
    constexpr std::uint64_t kFiles = 20'000;
    HardlinkTracker tracker;
    std::atomic<std::size_t> granted = 0;
    std::vector<std::jthread> claimers;
    for (int claimer = 0; claimer < 4; ++claimer) {
        claimers.emplace_back([&] {
            for (std::uint64_t inode = 0; inode < kFiles; ++inode) {
                granted += tracker.claim(1, inode) ? 1 : 0;
                granted += tracker.claim(-1, inode) ? 1 : 0;
            }
        });
    }
    claimers.clear();
    EXPECT_EQ(granted, 2 * kFiles);
    EXPECT_EQ(tracker.count(), 2 * kFiles);
}

}  // namespace
}  // namespace brindle
