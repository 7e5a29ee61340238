#include "core/tools/tool_output.h"
#include "tests/fuzz/target.h"

void check(std::string_view output) {
    require(!brindle::isErrorLine(output) || !brindle::isWarningLine(output));
    brindle::isNothingReclaimed(output);
    const auto amount = brindle::reclaimedSpace(output);
    if (!amount) return;
    require(output.contains(*amount) && !amount->contains('\n'));
    require(amount->empty() || (amount->front() != ' ' && amount->back() != ' '));
    require(!brindle::isNothingReclaimed(*amount) || amount->starts_with('0'));
}
