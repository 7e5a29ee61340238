#include "core/platform/user_folders.h"

#include <algorithm>
#include <array>
#include <optional>

#include "core/platform/machine.h"
#include "core/platform/path_text.h"

namespace brindle {

namespace {

struct DocumentFolder {
    std::string_view variable;
    std::string_view name;
};

constexpr std::array<DocumentFolder, 3> kDocumentFolders = {
    {{"XDG_DOCUMENTS_DIR", "Documents"}, {"XDG_DESKTOP_DIR", "Desktop"}, {"XDG_DOWNLOAD_DIR", "Downloads"}}};

constexpr std::string_view kBlanks = " \t\r";

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

// What stands between double quotes, a backslash taking the next byte as it is; absent where the quotes do not close.
std::optional<std::string> unquoted(std::string_view text) {
    if (!text.starts_with('"')) return std::nullopt;
    std::string value;
    for (std::size_t index = 1; index < text.size(); ++index) {
        if (text[index] == '"') return value;
        if (text[index] == '\\' && ++index == text.size()) return std::nullopt;
        value += text[index];
    }
    return std::nullopt;
}

// Nothing but an absolute path and one in the home is allowed to stand there.
std::optional<std::string> placeNamed(const std::string& value, const std::string& home) {
    constexpr std::string_view kHome = "$HOME";
    if (value.find('\0') != std::string::npos) return std::nullopt;
    if (value.starts_with('/')) return standardisedPath(value);
    if (!value.starts_with(kHome)) return std::nullopt;
    const std::string rest = value.substr(kHome.size());
    if (!rest.empty() && !rest.starts_with('/')) return std::nullopt;
    return standardisedPath(home + rest);
}

// The value of NAME="value", absent when the line says something else.
std::optional<std::string> assignedIn(std::string_view line, std::string_view name) {
    line = withoutBlanks(line);
    if (!line.starts_with(name)) return std::nullopt;
    line = withoutBlanks(line.substr(name.size()));
    if (!line.starts_with('=')) return std::nullopt;
    return unquoted(withoutBlanks(line.substr(1)));
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        lines.push_back(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(text.size(), lines.back().size() + 1));
    }
    return lines;
}

struct Place {
    std::string path;
    bool holdsApplications = false;
};

// Absent where nothing lies.
std::optional<std::string> resolved(const std::string& path) {
    auto real = canonicalPath(path);
    if (real) return *std::move(real);
    if (real.error().kind == Error::Kind::missing) return std::nullopt;
    return path;
}

}  // namespace

std::vector<std::string> documentFoldersIn(std::string_view userDirs, const std::string& home) {
    const std::vector<std::string_view> lines = linesOf(userDirs);
    std::vector<std::string> folders;
    for (const auto& [variable, name] : kDocumentFolders) {
        std::string folder = standardisedPath(home + '/' + std::string(name));
        for (const std::string_view line : lines) {
            const auto value = assignedIn(line, variable);
            const auto place = value ? placeNamed(*value, home) : std::nullopt;
            if (place) folder = *place;
        }
        folders.push_back(std::move(folder));
    }
    return folders;
}

UserFolders userFolders(const std::string& home, const std::vector<std::string>& environment) {
    const std::string realHome = canonicalOr(home);
    std::vector<Place> places;
    const auto add = [&](const std::vector<std::string>& named, bool holdsApplications) {
        for (const std::string& name : named) {
            auto path = resolved(name);
            if (path && !isAtOrBelow(realHome, *path))
                places.push_back({*std::move(path), holdsApplications});
        }
    };
    add(namedApplicationFolders(home), true);
    add(namedDocumentFolders(home, environment), false);

    UserFolders folders;
    for (auto each = places.begin(); each != places.end(); ++each) {
        const bool isTold =
            std::any_of(places.begin(), places.end(),
                        [&](const Place& other) { return isBelow(each->path, other.path); }) ||
            std::any_of(places.begin(), each,
                        [&](const Place& earlier) { return earlier.path == each->path; });
        if (!isTold)
            (each->holdsApplications ? folders.applications : folders.documents).push_back(each->path);
    }
    return folders;
}

}  // namespace brindle
