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

    // Nothing stands for what has no use here (data, references between archived objects) and for what libplist does
    // not tell truly: dates before 1933 or after 2068; and in a list with an integer above 2^63 - 1 that one and the
    // negative ones.
    std::variant<std::monostate, bool, std::int64_t, double, std::string, std::chrono::sys_seconds, Array,
                 Dictionary>
        value;

    bool operator==(const PropertyList&) const = default;

    // Of either form; for any bytes whatsoever, in seconds and some hundred megabytes at the most. Absent for what is no
    // property list or is cut off, for more than kLimit bytes, for arrays and dictionaries more than kDepthLimit deep,
    // for more than kValueLimit values (keys count, and a shared one each time it is referred to) or kExpandedLimit
    // bytes in them, and for what property_list_check.h names.
    static std::optional<PropertyList> parse(std::string_view bytes);
    static constexpr std::size_t kLimit = 16U << 20U;
    static constexpr int kDepthLimit = 64;
    static constexpr std::uint64_t kValueLimit = 250'000;
    static constexpr std::uint64_t kExpandedLimit = 2 * kLimit;

    // The value under this key; null when there is none, or when this is no dictionary.
    const PropertyList* find(std::string_view key) const;
    // Absent also when the value is of another kind.
    std::optional<std::string> text(std::string_view key) const;
    std::optional<std::chrono::sys_seconds> date(std::string_view key) const;
};

// The property list in a file; absent when it cannot be read, too.
std::optional<PropertyList> readPropertyList(const std::string& path);

}  // namespace brindle
