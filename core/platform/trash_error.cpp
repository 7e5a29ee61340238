#include <fmt/format.h>

#include "core/platform/trash.h"
#include "core/text/printable.h"

namespace brindle {

std::string TrashError::describe() const {
    const std::string shown = printable(path);
    switch (kind) {
        case Kind::noTrash:
            return fmt::format("no Trash on its volume can take {}: {}", shown, cause.describe());
        case Kind::missing:
            return fmt::format("nothing lies at {} any more", shown);
        case Kind::replaced:
            if (liesAt.empty()) return fmt::format("another object lies at {} now; it was left there", shown);
            return fmt::format("another object had taken the place of {}; it lies at {} now", shown,
                               printable(liesAt));
        case Kind::occupied:
            return fmt::format("something else lies at {} already", shown);
        case Kind::failed:
            return cause.describe();
    }
    return {};
}

}  // namespace brindle
