#include "core/scan/module_result.h"

#include "core/model/byte_sum.h"

namespace brindle {

std::uint64_t ModuleResult::totalBytes() const {
    std::uint64_t sum = 0;
    for (const CleanupItem& item : items) sum = addBytes(sum, item.bytes());
    return sum;
}

std::uint64_t ModuleResult::bytes(Classification classification) const {
    std::uint64_t sum = 0;
    for (const CleanupItem& item : items) {
        if (item.classification == classification) sum = addBytes(sum, item.bytes());
    }
    return sum;
}

std::uint64_t ModuleResult::reclaimableBytes() const {
    return addBytes(bytes(Classification::safe), bytes(Classification::review));
}

std::set<std::string> ModuleResult::vouchedLeftoverPaths() const {
    std::set<std::string> paths;
    if (moduleID != ModuleID::leftovers) return paths;
    for (const CleanupItem& item : items) {
        if (!isRemovable(item.classification)) continue;
        paths.insert(item.removal.affectedPaths().begin(), item.removal.affectedPaths().end());
    }
    return paths;
}

}  // namespace brindle
