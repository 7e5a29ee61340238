// CocoaPods: the cache of downloaded pods, and what lies in ~/.cocoapods/repos: the index of the public pods, and
// the repositories of podspecs. Reports under the identity of Xcode.
#pragma once

#include <utility>

#include "core/scan/scan_module.h"
#include "core/tools/toolbox.h"

namespace brindle {

class CocoaPodsModule : public ScanModule {
  public:
    explicit CocoaPodsModule(Toolbox tools) : tools_(std::move(tools)) {}

    ModuleID id() const override { return ModuleID::xcode; }
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;

  private:
    Toolbox tools_;
};

}  // namespace brindle
