// What several tools' outputs have in common. Pure functions on text; lines come without their line break.
#pragma once

#include <optional>
#include <string_view>

namespace brindle {

// ^(npm\s+)?(error|fatal)\b|^npm\s+ERR!
bool isErrorLine(std::string_view line);

// ^(npm\s+)?warn(ing)?\b
bool isWarningLine(std::string_view line);

// The amount on the first line that holds "reclaimed space:": the rest of that line, without white space at
// its ends. Absent when there is no such line. A view into `output`.
std::optional<std::string_view> reclaimedSpace(std::string_view output);

// Whether such an amount is a literal zero: ^0([.]0+)?\s*[A-Za-z]*$
bool isNothingReclaimed(std::string_view amount);

}  // namespace brindle
