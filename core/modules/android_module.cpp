#include "core/modules/android_module.h"

#include <iterator>

#include "core/modules/android_device_items.h"
#include "core/modules/android_system_images.h"
#include "core/modules/catalogue.h"

namespace brindle {

AndroidModule::AndroidModule() : CatalogueModule(ModuleID::android, androidSafeSpecs()) {}

bool AndroidModule::isPresent(const ScanContext& context) const {
    return CatalogueModule::isPresent(context) || context.exists(context.path(".android/avd")) ||
           hasSystemImages(context);
}

ModuleResult AndroidModule::scan(const ScanContext& context) const {
    ModuleResult result = CatalogueModule::scan(context);
    const VirtualDevices found = findVirtualDevices(context);
    for (auto items : {virtualDeviceItems(context, found), systemImageItems(context, found)})
        std::ranges::move(items, std::back_inserter(result.items));
    result.isToolchainInstalled = isPresent(context);
    return result;
}

}  // namespace brindle
