// A module that does no more than look at a fixed list of folders.
#pragma once

#include <vector>

#include "core/modules/cache_spec.h"
#include "core/scan/scan_module.h"

namespace brindle {

// Items come in the order of `specs`, then `protectedSpecs`. The tool counts as present when at least one of
// the folders exists.
class CatalogueModule : public ScanModule {
  public:
    CatalogueModule(ModuleID id, std::vector<CacheSpec> specs,
                    std::vector<ProtectedSpec> protectedSpecs = {});

    ModuleID id() const override { return id_; }
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;

    const std::vector<CacheSpec>& specs() const { return specs_; }
    const std::vector<ProtectedSpec>& protectedSpecs() const { return protectedSpecs_; }

  private:
    ModuleID id_;
    std::vector<CacheSpec> specs_;
    std::vector<ProtectedSpec> protectedSpecs_;
};

}  // namespace brindle
