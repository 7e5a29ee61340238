#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "core/model/receipt_json.h"

// What is read can be summed, and reads the same when it is written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto receipts = brindle::receiptsFromText({reinterpret_cast<const char*>(data), size});
    if (!receipts) return 0;
    for (auto& receipt : *receipts) {
        if (receipt.bytesFreed() < receipt.trashedBytes()) std::abort();
        receipt.performedAt = std::chrono::floor<std::chrono::seconds>(receipt.performedAt);
    }
    if (brindle::receiptsFromText(brindle::receiptsText(*receipts)) != *receipts) std::abort();
    return 0;
}
