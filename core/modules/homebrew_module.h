// What Homebrew has downloaded, and the dependencies that it needs no more. Only Homebrew itself removes either.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/scan/scan_module.h"
#include "core/tools/toolbox.h"

namespace brindle {

// Present where `brew` is found. Items: the downloads, then the unused dependencies, each when it occupies something.
// The runner sees to it that no question to Homebrew updates or removes anything.
class HomebrewModule : public ScanModule {
  public:
    explicit HomebrewModule(Toolbox tools) : tools_(std::move(tools)) {}

    ModuleID id() const override { return ModuleID::homebrew; }
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;

    // What `brew cleanup` leaves in the folder of downloads: no part of the item's size.
    static constexpr std::array<std::string_view, 2> keptByCleanup() { return {"api", "bootsnap"}; }

  private:
    static std::optional<CleanupItem> downloads(const ScanContext& context);
    void addUnusedDependencies(const ScanContext& context, ModuleResult& result) const;
    // The standard output of a successful run; its reader says whether it means anything.
    std::optional<std::string> output(const ScanContext& context, const std::vector<std::string>& arguments,
                                      std::chrono::seconds timeout) const;

    Toolbox tools_;
};

}  // namespace brindle
