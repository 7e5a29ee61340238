// Which hard-linked files this scan has already counted: a file with several names counts once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

// One for each scan, shared by all its walks. Every operation is safe from any thread and holds one lock,
// briefly. 16 bytes a file, doubled at three quarters full.
class HardlinkTracker {
  public:
    // On whose behalf a file is claimed.
    using Claimant = std::uint32_t;
    static constexpr Claimant kUnnamed = 0;

    // True when nobody has claimed this file before.
    bool claim(std::int32_t device, std::uint64_t inode, Claimant by = kUnnamed);

    // The same for the same place, never kUnnamed.
    Claimant claimantFor(const std::string& place);

    // Absent for a file that nobody has claimed.
    std::optional<Claimant> claimantOf(std::int32_t device, std::uint64_t inode) const;

    std::size_t count() const;

  private:
    struct Key {
        std::uint64_t inode = 0;
        std::int32_t device = 0;
        std::uint32_t taken = 0;  // the claimant and 1; 0: nobody
    };

    // An open-addressing set; the shard is chosen by the low bits of the hash, the slot by the high ones.
    struct Shard {
        mutable std::mutex lock;
        std::vector<Key> slots;
        std::size_t taken = 0;

        bool insert(Key key, std::uint64_t hash);
        std::optional<Claimant> find(const Key& key, std::uint64_t hash) const;
        void grow();
    };

    static constexpr std::size_t kShards = 16;
    std::array<Shard, kShards> shards_;
    std::mutex placesLock_;
    std::map<std::string, Claimant> places_;
};

}  // namespace brindle
