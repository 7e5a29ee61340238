// What Xcode and its simulators leave behind.
#pragma once

#include "core/scan/scan_module.h"
#include "core/tools/toolbox.h"

namespace brindle {

struct XcodeSettings {
    Toolbox tools;
    // Where the simulators of all users have their runtimes; nothing in it is measured, since images are mounted there.
    std::string systemSimulators = "/Library/Developer/CoreSimulator";
};

// Folders are found by their place; simulators by asking simctl, which is run only where simulators have been before:
// its first run would create some.
class XcodeModule : public ScanModule {
  public:
    explicit XcodeModule(XcodeSettings settings) : settings_(std::move(settings)) {}

    ModuleID id() const override { return ModuleID::xcode; }
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;

  private:
    void addSimulatorsAndRuntimes(const ScanContext& context, ModuleResult& result) const;

    XcodeSettings settings_;
};

}  // namespace brindle
