// Names of files as a terminal may show them: bytes that are no valid UTF-8, control characters, and the
// marks that reverse the direction of writing come out as \xHH (one escape a byte); everything else is
// unchanged.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

std::string printable(std::string_view bytes);

bool isValidUtf8(std::string_view bytes);

}  // namespace brindle
