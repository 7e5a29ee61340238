// Bytes as text that survives in JSON: base64 with padding (RFC 4648, the standard alphabet).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindle {

std::string base64(std::string_view bytes);

// Absent unless the text is exactly what base64() would write.
std::optional<std::string> bytesFromBase64(std::string_view text);

}  // namespace brindle
