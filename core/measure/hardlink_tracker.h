// Which hard-linked files this scan has already counted: a file with several names counts once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace brindle {

// One for each scan, shared by all its walks. Every operation is safe from any thread and holds one lock,
// briefly. 16 bytes a file, doubled at three quarters full.
class HardlinkTracker {
  public:
    // True when nobody has claimed this file before.
    bool claim(std::int32_t device, std::uint64_t inode);

    std::size_t count() const;

  private:
    struct Key {
        std::uint64_t inode = 0;
        std::int32_t device = 0;
        bool isTaken = false;
    };

    // An open-addressing set; the shard is chosen by the low bits of the hash, the slot by the high ones.
    struct Shard {
        mutable std::mutex lock;
        std::vector<Key> slots;
        std::size_t taken = 0;

        bool insert(Key key, std::uint64_t hash);
        void grow();
    };

    static constexpr std::size_t kShards = 16;
    std::array<Shard, kShards> shards_;
};

}  // namespace brindle
