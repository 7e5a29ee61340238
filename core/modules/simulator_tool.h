// Asking simctl, and what to tell the user when it gives no answer.
#pragma once

#include <expected>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/model/unreachable_location.h"
#include "core/tools/toolbox.h"

namespace brindle {

// What a run means: the tool's output, or what to do about there being none.
struct SimctlFailure {
    std::string asked;   // "xcrun simctl list -j"
    std::string remedy;  // a sentence or two for the user, English source
    // The tool ran and refused, and did not say why in words that are known: perhaps an older one that does not know
    // what it was asked.
    bool isRefusal = false;

    bool operator==(const SimctlFailure&) const = default;

    UnreachableLocation location() const;
};

// Pure: from how `xcrun simctl ...` ended.
std::expected<std::string, SimctlFailure> simctlOutput(
    const std::string& asked, const std::expected<ProcessResult, ProcessError>& outcome);

class SimulatorTool {
  public:
    SimulatorTool(const Toolbox& tools, CancellationTest isCancelled)
        : tools_(tools), isCancelled_(std::move(isCancelled)) {}

    // Blocks, for half a minute at most. Where no developer tools are chosen, xcrun would open a dialog that offers
    // to install them: `xcode-select -p` is asked first, and xcrun is not run.
    std::expected<std::string, SimctlFailure> ask(const std::vector<std::string>& arguments) const;

  private:
    const Toolbox& tools_;
    CancellationTest isCancelled_;
};

// For an answer that came and is not understood.
SimctlFailure notUnderstood(const std::string& asked);

}  // namespace brindle
