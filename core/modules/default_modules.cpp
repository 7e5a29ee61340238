#include "core/modules/default_modules.h"

#include "core/modules/android_module.h"
#include "core/modules/catalogue.h"
#include "core/modules/cocoapods_module.h"
#include "core/modules/docker_module.h"
#include "core/modules/homebrew_module.h"
#include "core/modules/leftovers_module.h"
#include "core/modules/node_module.h"
#include "core/modules/python_runtimes_module.h"
#include "core/modules/xcode_module.h"

namespace brindle {

ModuleList defaultModules(const ModuleSettings& settings) {
    const Toolbox& tools = settings.tools;
    const auto catalogue = [](ModuleID id, std::vector<CacheSpec> specs) {
        return std::make_shared<CatalogueModule>(id, std::move(specs));
    };
    return {
        std::make_shared<XcodeModule>(XcodeSettings{.tools = tools}),
        std::make_shared<CocoaPodsModule>(tools),
        std::make_shared<DockerModule>(tools),
        std::make_shared<NodeModule>(NodeModule::Settings{.tools = tools}),
        catalogue(ModuleID::python, pythonSpecs()),
        std::make_shared<AndroidModule>(),
        std::make_shared<HomebrewModule>(tools),
        catalogue(ModuleID::ide, editorSpecs()),
        catalogue(ModuleID::rust, rustSpecs()),
        catalogue(ModuleID::go, goSpecs()),
        std::make_shared<PythonRuntimesModule>(),
        catalogue(ModuleID::system, systemNoiseSpecs()),
        std::make_shared<LeftoversModule>(settings.leftovers),
        catalogue(ModuleID::tools, developerToolsSpecs()),
        std::make_shared<CatalogueModule>(ModuleID::ai, aiToolsSpecs(), aiToolsProtectedSpecs()),
    };
}

}  // namespace brindle
