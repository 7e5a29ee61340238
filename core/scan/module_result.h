// What one module found.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/model/unreachable_location.h"

namespace brindle {

struct ModuleResult {
    ModuleID moduleID = ModuleID::system;
    std::vector<CleanupItem> items;  // in the module's own order
    std::vector<UnreachableLocation> unreachable;
    bool isToolchainInstalled = false;  // whether the tool that the module serves is on this machine

    bool operator==(const ModuleResult&) const = default;

    std::uint64_t totalBytes() const;
    std::uint64_t bytes(Classification classification) const;
    std::uint64_t reclaimableBytes() const;  // everything that is not protected
    // The folders of applications that are gone, as this module offers them; empty for every module but `leftovers`.
    std::set<std::string> vouchedLeftoverPaths() const;
};

}  // namespace brindle
