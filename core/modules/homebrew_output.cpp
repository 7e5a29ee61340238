#include "core/modules/homebrew_output.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "core/text/ascii.h"

namespace brindle {

namespace {

// ^[a-zA-Z0-9][a-zA-Z0-9+_.@-]*$
bool isNamePart(std::string_view text) {
    const auto mayFollow = [](char c) {
        return isAsciiLetterOrDigit(c) || std::string_view("+_.@-").find(c) != std::string_view::npos;
    };
    return !text.empty() && isAsciiLetterOrDigit(text.front()) && std::ranges::all_of(text, mayFollow);
}

bool isFormulaName(std::string_view line) {
    for (int part = 0; part < 3; ++part) {
        const std::size_t slash = line.find('/');
        if (!isNamePart(line.substr(0, slash))) return false;
        if (slash == std::string_view::npos) return true;
        line.remove_prefix(slash + 1);
    }
    return false;
}

constexpr std::string_view kHeading = "Would autoremove ";

bool isHeading(std::string_view line) {
    constexpr std::array<std::string_view, 3> kHeadings = {kHeading, "Formulae that could be removed",
                                                           "Formulae that will be removed"};
    return std::ranges::any_of(
        kHeadings, [&](std::string_view heading) { return line.find(heading) != std::string_view::npos; });
}

// The number of formulae that the heading announces, where it does.
std::optional<std::size_t> countIn(std::string_view heading) {
    const std::size_t found = heading.find(kHeading);
    if (found == std::string_view::npos) return std::nullopt;
    const std::string_view rest = heading.substr(found + kHeading.size());
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), count);
    if (error == std::errc::result_out_of_range) return SIZE_MAX;
    return error == std::errc{} ? std::optional(count) : std::nullopt;
}

bool hasDuplicates(const std::vector<std::string>& names) {
    return std::set<std::string_view>(names.begin(), names.end()).size() != names.size();
}

}  // namespace

std::optional<std::vector<std::string>> parseAutoremove(std::string_view output) {
    std::optional<std::string_view> heading;
    std::vector<std::string> names;
    for (const std::string_view line : trimmedLines(output)) {
        if (isHeading(line)) {
            if (heading) return std::nullopt;
            heading = line;
        } else if (isFormulaName(line)) {
            names.emplace_back(line);
        }
    }
    if (!heading && !names.empty()) return std::nullopt;
    if (heading && countIn(*heading).value_or(names.size()) != names.size()) return std::nullopt;
    if (hasDuplicates(names)) return std::nullopt;
    return names;
}

std::optional<std::string> parseCellar(std::string_view output) {
    const auto lines = trimmedLines(output);
    if (lines.size() != 1) return std::nullopt;
    const std::string_view path = lines.front();
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' '; };
    if (!path.starts_with('/') || !path.ends_with("/Cellar") || std::ranges::any_of(path, isControl) ||
        path.find("/../") != std::string_view::npos) {
        return std::nullopt;
    }
    return std::string(path);
}

std::string cellarFolderName(std::string_view formula) {
    return std::string(formula.substr(formula.rfind('/') + 1));  // no slash: npos + 1 is 0
}

}  // namespace brindle
