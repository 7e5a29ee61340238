// The first line is the path that is asked for, the rest the table.
#include <algorithm>

#include "core/platform/volume.h"
#include "tests/fuzz/target.h"

void check(std::string_view input) {
    const std::string_view path = input.substr(0, input.find('\n'));
    const std::string_view table = input.substr(std::min(path.size() + 1, input.size()));
    const auto mountPoint = brindle::mountPointHolding(path, table);
    require(!mountPoint || (!mountPoint->empty() && path.starts_with(*mountPoint)));
}
