// The property list of a bundle or of a job that the system starts.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/modules/bundle_information.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    (void)brindle::bundleKindOf(text);
    for (const auto& bundle : brindle::bundlesAround(text)) {
        if (bundle.empty() || !text.starts_with(bundle)) std::abort();
    }
    const auto list = brindle::PropertyList::parse(text);
    if (!list) return 0;
    const auto identifier = brindle::bundleIdentifierIn(*list);
    if (identifier && identifier->empty()) std::abort();
    const auto job = brindle::launchJobIn(*list);
    if (job.program) (void)brindle::bundlesAround(*job.program);
    return 0;
}
