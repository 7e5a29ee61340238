#include "core/modules/default_modules.h"

#include "core/modules/catalogue.h"
#include "core/modules/python_runtimes_module.h"

namespace brindle {

namespace {

std::shared_ptr<const ScanModule> catalogue(ModuleID id, std::vector<CacheSpec> specs,
                                            std::vector<ProtectedSpec> protectedSpecs = {}) {
    return std::make_shared<CatalogueModule>(id, std::move(specs), std::move(protectedSpecs));
}

}  // namespace

ModuleList defaultModules(const ModuleSettings& settings) {
    (void)settings;
    return {
        catalogue(ModuleID::python, pythonSpecs()),
        catalogue(ModuleID::android, androidSafeSpecs()),
        catalogue(ModuleID::ide, editorSpecs()),
        catalogue(ModuleID::rust, rustSpecs()),
        catalogue(ModuleID::go, goSpecs()),
        std::make_shared<PythonRuntimesModule>(),
        catalogue(ModuleID::system, systemNoiseSpecs()),
        catalogue(ModuleID::tools, developerToolsSpecs()),
        catalogue(ModuleID::ai, aiToolsSpecs(), aiToolsProtectedSpecs()),
    };
}

}  // namespace brindle
