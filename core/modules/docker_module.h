// What the container engine holds on this machine. Its files are never touched: everything goes through its client.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/modules/docker_engine.h"
#include "core/modules/docker_usage.h"
#include "core/scan/scan_module.h"
#include "core/tools/toolbox.h"

namespace brindle {

// Items: the disk image of Docker Desktop where there is one, for information, then one for each kind of which the
// engine reports something reclaimable. The image's own bytes leave out what those items count: they lie inside it.
// Only an engine of this machine gets items; of any other, and of one that does not answer, the result says so.
class DockerModule : public ScanModule {
  public:
    explicit DockerModule(Toolbox tools) : tools_(std::move(tools)) {}

    ModuleID id() const override { return ModuleID::docker; }
    // Docker Desktop's data folder or the client: either.
    bool isPresent(const ScanContext& context) const override;
    ModuleResult scan(const ScanContext& context) const override;

    // Docker Desktop's, absent where there is none.
    static std::optional<std::string> dataDirectory(const ScanContext& context);

    // At most kTimeout each, a client before version 23 is asked for its usage twice. The usage is absent when the
    // client is missing or fails, when the engine does not answer, and when the answer cannot be read.
    DockerEngine readEngine(const ScanContext& context) const;
    std::optional<std::vector<DockerUsage>> readUsage(const ScanContext& context) const;
    static constexpr std::chrono::seconds kTimeout{15};

  private:
    struct Answer;
    Answer ask(const ScanContext& context) const;
    std::optional<std::string> output(const ScanContext& context,
                                      const std::vector<std::string>& arguments) const;
    static std::optional<CleanupItem> footprint(const ScanContext& context, const Answer& answer);

    Toolbox tools_;
};

}  // namespace brindle
