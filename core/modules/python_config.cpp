#include "core/modules/python_config.h"

#include <algorithm>
#include <array>
#include <map>

#include "core/text/ascii.h"

namespace brindle {

PyvenvConfig parsePyvenvConfig(std::string_view text) {
    std::map<std::string, std::string, std::less<>> values;
    for (const std::string_view line : trimmedLines(text)) {
        const auto sign = line.find('=');
        if (sign == std::string_view::npos) continue;
        values.insert_or_assign(lowerCase(trimmed(line.substr(0, sign))),
                                std::string(trimmed(line.substr(sign + 1))));
    }
    PyvenvConfig config;
    constexpr std::array<std::string_view, 5> kInterpreterKeys = {"home", "base-prefix", "base-exec-prefix",
                                                                  "base-executable", "executable"};
    for (const std::string_view key : kInterpreterKeys) {
        const auto found = values.find(key);
        if (found != values.end() && found->second.starts_with('/'))
            config.interpreters.push_back(found->second);
    }
    for (const std::string_view key : {"version", "version_info"}) {
        const auto found = values.find(key);
        if (found == values.end() || found->second.empty()) continue;
        config.version = found->second;
        break;
    }
    return config;
}

std::vector<std::string> parsePythonVersions(std::string_view text) {
    constexpr std::string_view kPrefix = "python-";
    std::vector<std::string> names;
    for (std::string_view line : trimmedLines(text)) {
        line = line.substr(0, line.find('#'));
        for (line = trimmed(line); !line.empty(); line = trimmed(line)) {
            std::string_view name = line.substr(0, line.find_first_of(kWhiteSpace));
            line.remove_prefix(name.size());
            if (name.starts_with(kPrefix)) name.remove_prefix(kPrefix.size());
            if (!name.empty() && name != "system") names.emplace_back(name);
        }
    }
    return names;
}

bool namesPythonVersion(std::string_view name, std::string_view version) {
    const auto begins = [&](std::string_view prefix) {
        return version.starts_with(prefix) &&
               (version.size() == prefix.size() || version[prefix.size()] == '.' ||
                version[prefix.size()] == '-');
    };
    if (begins(name)) return true;
    return name.ends_with('t') && version.ends_with('t') && begins(name.substr(0, name.size() - 1));
}

}  // namespace brindle
