// One kind of leftover storage and how it is found.
#pragma once

#include <memory>
#include <vector>

#include "core/scan/module_result.h"
#include "core/scan/scan_context.h"

namespace brindle {

// Holds its configuration only and keeps no state between scans; both operations may run on any thread.
class ScanModule {
  public:
    virtual ~ScanModule() = default;

    // The identity under which it reports; several modules may share one.
    virtual ModuleID id() const = 0;

    // Whether the tool that it serves is on this machine.
    virtual bool isPresent(const ScanContext& context) const = 0;

    // Blocking; polls context.isCancelled. Waiting for a tool happens here, never on a walk's worker.
    virtual ModuleResult scan(const ScanContext& context) const {
        (void)context;
        return {.moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = false};
    }
};

using ModuleList = std::vector<std::shared_ptr<const ScanModule>>;

}  // namespace brindle
