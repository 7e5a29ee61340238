// Apple's property lists, XML and binary, read with libplist into plain values.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace brindle {

struct PropertyList {
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;

    // Nothing stands for what has no use here: data, references between archived objects, numbers beyond 64 bits.
    std::variant<std::monostate, bool, std::int64_t, double, std::string, std::chrono::sys_seconds, Array,
                 Dictionary>
        value;

    bool operator==(const PropertyList&) const = default;

    // Of either form. Absent for text that is no property list, is cut off, holds more than kLimit bytes or is nested
    // deeper than kDepthLimit.
    static std::optional<PropertyList> parse(std::string_view bytes);
    static constexpr std::size_t kLimit = 16U << 20U;
    static constexpr int kDepthLimit = 64;

    // The value under this key; null when there is none, or when this is no dictionary.
    const PropertyList* find(std::string_view key) const;
    // Absent also when the value is of another kind.
    std::optional<std::string> text(std::string_view key) const;
    std::optional<std::chrono::sys_seconds> date(std::string_view key) const;
};

// The property list in a file; absent when it cannot be read, too.
std::optional<PropertyList> readPropertyList(const std::string& path);

}  // namespace brindle
