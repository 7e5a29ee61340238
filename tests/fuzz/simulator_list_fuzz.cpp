#include "core/modules/simulator_list.h"

#include <set>

#include "core/modules/xcode_derived_data.h"
#include "core/modules/xcode_device_support.h"
#include "tests/fuzz/target.h"

namespace {

bool isPlainWord(std::string_view word) {
    constexpr std::string_view kAllowed = "-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    return !word.empty() && word.find_first_not_of(kAllowed) == std::string_view::npos;
}

}  // namespace

// What is made part of a path or of a command line is a plain word, each once; no size is beyond what a disk holds.
void check(std::string_view text) {
    std::set<std::string> seen;
    for (const auto& device :
         brindle::parseSimulatorDevices(text).value_or(std::vector<brindle::SimulatorDevice>())) {
        if (device.udid.empty()) continue;
        require(device.udid.size() == 36 && isPlainWord(device.udid) && seen.insert(device.udid).second);
    }
    for (const auto& image :
         brindle::parseSimulatorRuntimes(text).value_or(std::vector<brindle::SimulatorRuntime>())) {
        require(isPlainWord(image.identifier) && seen.insert(image.identifier).second);
        require(image.bytes.value_or(1) > 0 && image.bytes.value_or(1) <= brindle::kLargestRuntime);
        require(image.path.empty() || image.path.starts_with('/'));
    }
    const auto version = brindle::DeviceSupportVersion::parse(text);
    require(!version || (!version->numbers.empty() && !version->versionText.empty()));
    const auto project = brindle::projectOfDerivedData(text);
    require(!project || project->size() + 29 == text.size());
}
