// The first line is the path that is asked for, the rest the table.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/platform/volume.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view path = input.substr(0, input.find('\n'));
    const std::string_view table = input.substr(std::min(path.size() + 1, input.size()));
    const auto mountPoint = brindle::mountPointHolding(path, table);
    if (mountPoint && (mountPoint->empty() || !path.starts_with(*mountPoint))) std::abort();
    return 0;
}
