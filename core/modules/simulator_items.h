// The simulators of this home: which of them work, how much they hold, and how they go.
#pragma once

#include <string>
#include <vector>

#include "core/modules/simulator_tool.h"
#include "core/scan/module_result.h"
#include "core/scan/scan_context.h"

namespace brindle {

// The same list, asked for with these words.
std::vector<std::string> deviceListArguments();
std::vector<std::string> runtimeListArguments();

// Devices whose runtime is gone as one item that simctl removes, the others as one protected row, folders that simctl
// does not list as another. `answer` is simctl's to deviceListArguments(): without one that is understood all is one
// protected row, and the reason is added to result.unreachable. Adds nothing where no folder of devices holds
// anything. Only folders directly in Library/Developer/CoreSimulator/Devices are measured, whatever path the list
// gives.
void addSimulators(const ScanContext& context, const std::expected<std::string, SimctlFailure>& answer,
                   ModuleResult& result);

// Runtime images as protected rows: they lie outside the home. `answer` is simctl's to runtimeListArguments(); one
// that refuses is older than the question, and nothing is said of it.
void addRuntimes(const ScanContext& context, const std::expected<std::string, SimctlFailure>& answer,
                 ModuleResult& result);

}  // namespace brindle
