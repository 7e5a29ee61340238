// The JavaScript package managers: npm's cache, pnpm's store, Yarn's cache, Bun's cache.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "core/platform/volume.h"
#include "core/scan/scan_module.h"
#include "core/tools/toolbox.h"

namespace brindle {

// At most four items, in that order. npm's and pnpm's go by the tool's own command, and are protected where the toolbox
// does not find what the command needs; Yarn's and Bun's go as folders. No tool is run.
class NodeModule : public ScanModule {
  public:
    struct Settings {
        Toolbox tools = {};
        std::function<bool(const std::string& path)> canCloneFiles = brindle::canCloneFiles;
    };

    explicit NodeModule(Settings settings) : settings_(std::move(settings)) {}

    ModuleID id() const override { return ModuleID::node; }
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;

    // The first of the places of pnpm's store that exists, links followed.
    std::optional<std::string> storePath(const ScanContext& context) const;

  private:
    std::optional<CleanupItem> npmCache(const ScanContext& context) const;
    std::optional<CleanupItem> pnpmStore(const ScanContext& context) const;
    std::optional<CleanupItem> yarnCache(const ScanContext& context) const;
    std::optional<CleanupItem> bunCache(const ScanContext& context) const;

    Settings settings_;
};

}  // namespace brindle
