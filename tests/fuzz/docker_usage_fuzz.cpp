// Whatever the client prints, a row is of a known kind, comes once, and its size is one that sums can hold.
#include <set>

#include "core/modules/docker_usage.h"
#include "tests/fuzz/target.h"

void check(std::string_view bytes) {
    const std::string text(bytes);
    (void)brindle::DockerUsage::parseBytes(text);
    (void)brindle::isFormatEchoed(text);
    const auto rows = brindle::parseDockerUsage(text);
    std::set<std::string> kinds;
    for (const auto& row : rows.value_or(std::vector<brindle::DockerUsage>{})) {
        const bool isKnown = brindle::DockerUsage::cleanupSpec(row.type).has_value();
        require(isKnown && kinds.insert(row.type).second && row.reclaimableBytes < UINT64_MAX / 4);
    }
}
