// The catalogue: every well-known cache folder with its texts, one list for each module, in the order of its
// items.
#pragma once

#include "core/modules/catalogue_module.h"

namespace brindle {

std::vector<CacheSpec> aiToolsSpecs();
std::vector<ProtectedSpec> aiToolsProtectedSpecs();
std::vector<CacheSpec> editorSpecs();
std::vector<CacheSpec> systemNoiseSpecs();
std::vector<CacheSpec> androidSafeSpecs();
std::vector<CacheSpec> developerToolsSpecs();
std::vector<CacheSpec> rustSpecs();
std::vector<CacheSpec> pythonSpecs();
std::vector<CacheSpec> goSpecs();

}  // namespace brindle
