#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/tools/tool_output.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view output(reinterpret_cast<const char*>(data), size);
    if (brindle::isErrorLine(output) && brindle::isWarningLine(output)) std::abort();
    brindle::isNothingReclaimed(output);
    const auto amount = brindle::reclaimedSpace(output);
    if (!amount) return 0;
    if (output.find(*amount) == std::string_view::npos || amount->contains('\n')) std::abort();
    if (!amount->empty() && (amount->front() == ' ' || amount->back() == ' ')) std::abort();
    if (brindle::isNothingReclaimed(*amount) && !amount->starts_with('0')) std::abort();
    return 0;
}
