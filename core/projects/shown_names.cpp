#include "core/projects/shown_names.h"

#include <string_view>

#include "core/text/printable.h"

namespace brindle {

std::string shownNames(const std::vector<std::string>& names) {
    std::string shown;
    for (std::string_view between; const std::string& name : names) {
        shown.append(between).append(printable(name));
        between = ", ";
    }
    return shown;
}

}  // namespace brindle
