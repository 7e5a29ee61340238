// Text by its bytes, whatever language it is in: white space and case are those of ASCII.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

inline constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";

constexpr bool isAsciiLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool isAsciiUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool isAsciiLetter(char c) {
    return isAsciiLower(c) || isAsciiUpper(c);
}
constexpr bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isAsciiLetterOrDigit(char c) {
    return isAsciiLetter(c) || isAsciiDigit(c);
}
bool isAscii(std::string_view text);

// The parts between the separators, empty ones too: at least one. Views into `text`.
std::vector<std::string_view> split(std::string_view text, char separator);

// Without white space at both ends. A view into `text`.
std::string_view trimmed(std::string_view text);

// Every line without white space at its ends; empty ones are left out. Views into `text`.
std::vector<std::string_view> trimmedLines(std::string_view text);

// "A" to "Z" in lower case, all else as it is.
std::string lowerCase(std::string_view text);

}  // namespace brindle
