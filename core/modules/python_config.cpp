#include "core/modules/python_config.h"

#include <algorithm>
#include <array>
#include <map>

namespace brindle {

namespace {

constexpr std::string_view kBlank = " \t\r\f\v";

std::string_view trimmed(std::string_view text) {
    const auto start = text.find_first_not_of(kBlank);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kBlank) - start + 1);
}

std::vector<std::string_view> lines(std::string_view text) {
    std::vector<std::string_view> found;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        found.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return lower;
}

}  // namespace

PyvenvConfig parsePyvenvConfig(std::string_view text) {
    std::map<std::string, std::string, std::less<>> values;
    for (const std::string_view line : lines(text)) {
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
    for (std::string_view line : lines(text)) {
        line = line.substr(0, line.find('#'));
        for (line = trimmed(line); !line.empty(); line = trimmed(line)) {
            std::string_view name = line.substr(0, line.find_first_of(kBlank));
            line.remove_prefix(name.size());
            if (name.starts_with(kPrefix)) name.remove_prefix(kPrefix.size());
            if (!name.empty() && name != "system") names.emplace_back(name);
        }
    }
    return names;
}

bool namesPythonVersion(std::string_view name, std::string_view version) {
    if (!version.starts_with(name)) return false;
    return version.size() == name.size() || version[name.size()] == '.';
}

}  // namespace brindle
