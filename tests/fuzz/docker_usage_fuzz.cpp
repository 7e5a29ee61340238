// Whatever the client prints, a row is of a known kind, comes once, and its size is one that sums can hold.
#include <cstdint>
#include <cstdlib>
#include <set>

#include "core/modules/docker_usage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    (void)brindle::DockerUsage::parseBytes(text);
    (void)brindle::isFormatEchoed(text);
    const auto rows = brindle::parseDockerUsage(text);
    std::set<std::string> kinds;
    for (const auto& row : rows.value_or(std::vector<brindle::DockerUsage>{})) {
        const bool isKnown = brindle::DockerUsage::cleanupSpec(row.type).has_value();
        if (!isKnown || !kinds.insert(row.type).second || row.reclaimableBytes >= UINT64_MAX / 4)
            std::abort();
    }
    return 0;
}
