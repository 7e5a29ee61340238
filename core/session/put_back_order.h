// What is to come back from the Trash.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/model/uuid.h"
#include "core/removal/put_back.h"

namespace brindle {

struct PutBackOrder {
    Uuid receipt;                          // of the history
    std::vector<PutBackChoice> choices{};  // empty: all of the receipt
    std::optional<std::string> place{};    // absolute: for the one thing that is to come back
    bool isDryRun = false;
    CancellationTest isCancelled = [] { return false; };
};

// Why nothing was begun.
struct PutBackRefusal {
    enum class Kind {
        historyUnreadable,
        busy,           // a cleanup is running
        unknown,        // the history has no such receipt, or the receipt no such entry
        severalThings,  // one place for more than one thing
        notRecordable,  // the history could not be written: a full disk, a read-only folder
    };
    Kind kind = Kind::notRecordable;
    std::string sentence;  // localised
};

}  // namespace brindle
