#include "core/platform/shared_blocks.h"

#include <sys/attr.h>
#include <unistd.h>

namespace brindle {

// Clones of one file carry one number, as long as none of them is written to.
std::optional<StoragePlaces> sharedStorageOf(const std::string& path) {
    // The layout of getattrlist(2): its own length before what was asked for, in the order of the bits.
    struct __attribute__((packed, aligned(4))) {
        std::uint32_t length = 0;
        std::uint64_t clone = 0;
        std::uint32_t references = 0;
    } answer;
    struct attrlist wanted = {};
    wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    wanted.forkattr = ATTR_CMNEXT_CLONEID | ATTR_CMNEXT_CLONE_REFCNT;
    const unsigned options = FSOPT_NOFOLLOW | FSOPT_ATTR_CMN_EXTENDED;
    if (getattrlist(path.c_str(), &wanted, &answer, sizeof(answer), options) != 0) return std::nullopt;
    if (answer.clone == 0 || answer.references < 2) return std::nullopt;
    return StoragePlaces{answer.clone};
}

}  // namespace brindle
