// Python interpreters that pyenv built, and environments in the shared folder for them.
#pragma once

#include "core/scan/scan_module.h"

namespace brindle {

// Interpreters are the folders directly in .pyenv/versions, environments those in .virtualenvs that are one: links are
// aliases and no items. What something names is protected and says by whom. Projects are those of the context and
// those that environments say they belong to.
class PythonRuntimesModule : public ScanModule {
  public:
    ModuleID id() const override { return ModuleID::python; }
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;
};

}  // namespace brindle
