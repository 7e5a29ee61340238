// The settings files of the Android tools: NAME.ini, the record of a virtual device, and the config.ini in its folder.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

// Lines "key = value"; empty lines, and those that begin with "#" or ";", say nothing. A key consists of letters,
// digits, ".", "_" and "-"; its case counts; of one that comes twice the last counts. Line ends of every system.
struct AndroidIni {
    static constexpr std::size_t kLimit = 1U << 20U;

    std::map<std::string, std::string, std::less<>> values;  // UTF-8, without white space at the ends

    bool operator==(const AndroidIni&) const = default;

    // The file is UTF-8, or what its own "avd.ini.encoding" says: ISO-8859-1 and windows-1252 are known; any other is
    // no hindrance as long as every byte is ASCII. Absent for more than kLimit bytes, for UTF-16, for bytes that are
    // no text in the file's encoding, and for a file with a line that is none of the above: half understood is
    // unknown.
    static std::optional<AndroidIni> parse(std::string_view bytes);

    // Absent also when nothing stands behind the "=".
    std::optional<std::string> value(std::string_view key) const;
};

}  // namespace brindle
