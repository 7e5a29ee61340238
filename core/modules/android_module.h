// Android: the catalogue's caches, then virtual devices, then system images. Only the standard places below the home
// folder are looked at: ~/.android/avd and the two of the SDK.
#pragma once

#include "core/modules/catalogue_module.h"

namespace brindle {

class AndroidModule : public CatalogueModule {
  public:
    AndroidModule();

    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;
};

}  // namespace brindle
