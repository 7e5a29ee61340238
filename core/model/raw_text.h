// One table per enumeration: its raw texts, in the order of its cases. Parsing, printing and JSON all use it.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace brindle {

// Specialised beside each enumeration: `static constexpr std::array<std::string_view, N> kTexts`, where the
// text of a case stands at the index of its value. Raw texts are persisted and never change; they are
// case-sensitive.
template <typename Enum>
struct RawTexts;

template <typename Enum>
constexpr std::string_view rawTextOf(Enum value) {
    return RawTexts<Enum>::kTexts.at(static_cast<std::size_t>(value));
}

template <typename Enum>
constexpr std::optional<Enum> fromRawText(std::string_view text) {
    const auto& texts = RawTexts<Enum>::kTexts;
    for (std::size_t index = 0; index < texts.size(); ++index) {
        if (texts[index] == text) return static_cast<Enum>(index);
    }
    return std::nullopt;
}

// Every case, in order.
template <typename Enum>
constexpr auto allCases() {
    std::array<Enum, RawTexts<Enum>::kTexts.size()> cases{};
    for (std::size_t index = 0; index < cases.size(); ++index) cases[index] = static_cast<Enum>(index);
    return cases;
}

}  // namespace brindle
