// Cleans one folder of a home as a face does it, from the lock to the history, without the scan that would offer it.
// Prints the bytes that the receipt says were freed.
#include <fmt/format.h>

#include <cstdlib>

#include "core/session/session.h"

int main(int count, char** words) {
    using namespace brindle;
    if (count != 3) return EXIT_FAILURE;
    CleanupItemFields fields;
    fields.id = "bench.tree";
    fields.title = "Tree";
    fields.classification = Classification::safe;
    fields.removal = {DeletePaths{{words[2]}}};
    const Session session({words[1], false, {}});
    const ScanReport nothing{};
    const auto outcome = session.clean({.items = {CleanupItem(fields)}, .report = nothing});
    if (!outcome || !outcome->isRecorded) return EXIT_FAILURE;
    const ReceiptEntry& entry = outcome->receipt.entries.at(0);
    fmt::print("{}\n", entry.bytes);
    return entry.method == RemovalMethod::deleted && !entry.isPartialFailure() ? EXIT_SUCCESS : EXIT_FAILURE;
}
