#include "core/modules/default_modules.h"

#include "core/modules/catalogue.h"

namespace brindle {

namespace {

std::shared_ptr<const ScanModule> catalogue(ModuleID id, std::vector<CacheSpec> specs,
                                            std::vector<ProtectedSpec> protectedSpecs = {}) {
    return std::make_shared<CatalogueModule>(id, std::move(specs), std::move(protectedSpecs));
}

}  // namespace

const ModuleList& defaultModules() {
    static const ModuleList kModules = {
        catalogue(ModuleID::python, pythonSpecs()),
        catalogue(ModuleID::android, androidSafeSpecs()),
        catalogue(ModuleID::ide, editorSpecs()),
        catalogue(ModuleID::rust, rustSpecs()),
        catalogue(ModuleID::go, goSpecs()),
        catalogue(ModuleID::system, systemNoiseSpecs()),
        catalogue(ModuleID::tools, developerToolsSpecs()),
        catalogue(ModuleID::ai, aiToolsSpecs(), aiToolsProtectedSpecs()),
    };
    return kModules;
}

}  // namespace brindle
