#include "core/model/receipt_json.h"
#include "tests/fuzz/target.h"

// What is read can be summed, and reads the same when it is written and read again.
void check(std::string_view text) {
    auto receipts = brindle::receiptsFromText(text);
    if (!receipts) return;
    for (auto& receipt : *receipts) {
        require(receipt.bytesFreed() >= receipt.trashedBytes());
        receipt.performedAt = std::chrono::floor<std::chrono::seconds>(receipt.performedAt);
    }
    require(brindle::receiptsFromText(brindle::receiptsText(*receipts)) == *receipts);
}
