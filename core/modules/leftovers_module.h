// Folders that uninstalled applications left behind.
#pragma once

#include "core/modules/leftover_settings.h"
#include "core/scan/scan_module.h"

namespace brindle {

// One item an application, with all its folders, the largest first; everything is for the user to look at. What is
// doubtful is left out: an identifier that any source knows or that an application of unknown identity may have, a
// folder younger than 30 days or not readable to its end, and whatever Brindle never takes for left behind. Items come
// by identifier. Present where one of the application folders outside the home is.
class LeftoversModule : public ScanModule {
  public:
    explicit LeftoversModule(LeftoverSettings settings);

    ModuleID id() const override { return ModuleID::leftovers; }
    bool isPresent(const ScanContext& context) const override;
    // Calls the settings' sources on the calling thread.
    ModuleResult scan(const ScanContext& context) const override;

  private:
    LeftoverSettings settings_;
};

}  // namespace brindle
