// Every module that a scan runs, in order: the one list to extend.
#pragma once

#include "core/modules/leftover_settings.h"
#include "core/scan/scan_module.h"
#include "core/tools/toolbox.h"

namespace brindle {

// What the modules are told of the machine; a default one knows no tool.
struct ModuleSettings {
    Toolbox tools;
    LeftoverSettings leftovers = {};  // one without application folders finds nothing
};

// Builds the list: tools are located now, once, and none is run.
ModuleList defaultModules(const ModuleSettings& settings);

}  // namespace brindle
