// Byte counts, durations and ratios as the short texts shown everywhere: "12.3 GB", "4.0s", "37%".
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {

// Process-wide; every function may be called from any thread, and a reader sees the locale as it was before a
// change or after it. Numbers are written as the override locale does, without one as the system locale does;
// a locale is a name such as "de_DE" or "pt-PT". The environment is never asked: whoever starts the program
// hands the locale in.
class ByteFormat {
  public:
    ByteFormat() = delete;

    struct Halves {
        std::string value;
        std::string unit;

        bool operator==(const Halves&) const = default;
    };

    // Decimal units: "999" "B", "1.0" "KB", ... "PB" at most. The unit is chosen before the value is rounded
    // to one decimal, so 999,950 bytes are "1000.0" "KB". No grouping.
    static Halves split(std::uint64_t bytes);
    static std::string value(std::uint64_t bytes);
    static std::string unit(std::uint64_t bytes);

    // Value, one space, unit: "1.2 MB".
    static std::string shortText(std::uint64_t bytes);

    // A whole number grouped as the locale has it: "12,345".
    static std::string count(std::int64_t n);

    // One decimal and "s": "4.0s".
    static std::string seconds(double duration);

    // The nearest whole percentage: "33%"; "0%" of a total of zero.
    static std::string percent(std::uint64_t part, std::uint64_t total);

    static std::optional<std::string> overrideLocale();
    static void setOverrideLocale(std::optional<std::string> locale);

    // "en_US" until it is set; "", "C" and "POSIX" mean "en_US" too, since they would write no grouping.
    static void setSystemLocale(const std::string& locale);
};

}  // namespace brindle
