// Text by its bytes, whatever language it is in: white space and case are those of ASCII.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

inline constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

// Without white space at both ends. A view into `text`.
std::string_view trimmed(std::string_view text);

// Every line without white space at its ends; empty ones are left out. Views into `text`.
std::vector<std::string_view> trimmedLines(std::string_view text);

// "A" to "Z" in lower case, all else as it is.
std::string lowerCase(std::string_view text);

}  // namespace brindle
