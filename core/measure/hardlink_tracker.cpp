#include "core/measure/hardlink_tracker.h"

namespace brindle {

namespace {

// The finalizer of MurmurHash3: inode numbers of one folder differ in a few low bits only.
std::uint64_t mixed(std::uint64_t value) {
    value ^= value >> 33;
    value *= 0xff51afd7ed558ccdULL;
    value ^= value >> 33;
    value *= 0xc4ceb9fe1a85ec53ULL;
    value ^= value >> 33;
    return value;
}

std::uint64_t hashOf(std::int32_t device, std::uint64_t inode) {
    return mixed(inode ^ (static_cast<std::uint64_t>(static_cast<std::uint32_t>(device)) << 32));
}

constexpr std::size_t kFirstSlots = 64;

}  // namespace

bool HardlinkTracker::claim(std::int32_t device, std::uint64_t inode, Claimant by) {
    const std::uint64_t hash = hashOf(device, inode);
    Shard& shard = shards_[hash % kShards];
    const std::lock_guard guard(shard.lock);
    return shard.insert({inode, device, by + 1}, hash);
}

HardlinkTracker::Claimant HardlinkTracker::claimantFor(const std::string& place) {
    const std::lock_guard guard(placesLock_);
    return places_.try_emplace(place, static_cast<Claimant>(places_.size() + 1)).first->second;
}

std::optional<HardlinkTracker::Claimant> HardlinkTracker::claimantOf(std::int32_t device,
                                                                     std::uint64_t inode) const {
    const std::uint64_t hash = hashOf(device, inode);
    const Shard& shard = shards_[hash % kShards];
    const std::lock_guard guard(shard.lock);
    return shard.find({inode, device, 0}, hash);
}

std::size_t HardlinkTracker::count() const {
    std::size_t sum = 0;
    for (const Shard& shard : shards_) {
        const std::lock_guard guard(shard.lock);
        sum += shard.taken;
    }
    return sum;
}

bool HardlinkTracker::Shard::insert(Key key, std::uint64_t hash) {
    if (slots.empty() || taken * 4 >= slots.size() * 3) grow();
    const std::size_t mask = slots.size() - 1;
    for (std::size_t slot = (hash >> 4) & mask;; slot = (slot + 1) & mask) {
        Key& there = slots[slot];
        if (there.taken != 0 && there.inode == key.inode && there.device == key.device) return false;
        if (there.taken != 0) continue;
        there = key;
        ++taken;
        return true;
    }
}

std::optional<HardlinkTracker::Claimant> HardlinkTracker::Shard::find(const Key& key,
                                                                      std::uint64_t hash) const {
    if (slots.empty()) return std::nullopt;
    const std::size_t mask = slots.size() - 1;
    for (std::size_t slot = (hash >> 4) & mask; slots[slot].taken != 0; slot = (slot + 1) & mask) {
        const Key& there = slots[slot];
        if (there.inode == key.inode && there.device == key.device) return there.taken - 1;
    }
    return std::nullopt;
}

void HardlinkTracker::Shard::grow() {
    const std::vector<Key> old = std::move(slots);
    slots.assign(old.empty() ? kFirstSlots : old.size() * 2, Key{});
    taken = 0;
    for (const Key& key : old) {
        if (key.taken != 0) insert(key, hashOf(key.device, key.inode));
    }
}

}  // namespace brindle
