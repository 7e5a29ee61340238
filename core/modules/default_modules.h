// Every module that a scan runs, in order: the one list to extend.
#pragma once

#include "core/scan/scan_module.h"

namespace brindle {

// Built once, on first use, and shared; safe from any thread.
const ModuleList& defaultModules();

}  // namespace brindle
