#include "core/model/receipt.h"

#include <algorithm>

#include "core/model/byte_sum.h"

namespace brindle {

bool ReceiptEntry::isFreeing() const {
    switch (method) {
        case RemovalMethod::deleted:
        case RemovalMethod::trashed:
        case RemovalMethod::command:
            return true;
        case RemovalMethod::refused:
        case RemovalMethod::failed:
            return false;
    }
    return false;
}

bool ReceiptEntry::isPartialFailure() const {
    return isFreeing() && pathFailures && !pathFailures->empty();
}

bool ReceiptEntry::isAllGone() const {
    return isFreeing() && !isPartialFailure();
}

std::uint64_t Receipt::bytesFreed() const {
    std::uint64_t sum = 0;
    for (const ReceiptEntry& entry : entries) {
        if (entry.isFreeing()) sum = addBytes(sum, entry.bytes);
    }
    return sum;
}

std::uint64_t Receipt::trashedBytes() const {
    std::uint64_t sum = 0;
    for (const ReceiptEntry& entry : entries) {
        if (entry.method == RemovalMethod::trashed) sum = addBytes(sum, entry.bytes);
    }
    return sum;
}

std::uint64_t Receipt::reclaimedBytes() const {
    return bytesFreed() - trashedBytes();
}

std::vector<ReceiptEntry> Receipt::recoverable(
    const std::function<bool(const std::string& path)>& isThere) const {
    std::vector<ReceiptEntry> found;
    for (const ReceiptEntry& entry : entries) {
        if (entry.trashedPaths && std::ranges::any_of(*entry.trashedPaths, isThere)) found.push_back(entry);
    }
    return found;
}

}  // namespace brindle
