#include "core/platform/path_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace brindle {

std::vector<std::string_view> pathComponents(std::string_view path) {
    std::vector<std::string_view> components;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        if (!name.empty()) components.push_back(name);
        path.remove_prefix(std::min(name.size() + 1, path.size()));
    }
    return components;
}

std::string standardisedPath(std::string_view path) {
    const bool isAbsolute = path.starts_with('/');
    std::vector<std::string_view> kept;
    for (const std::string_view name : pathComponents(path)) {
        if (name == ".") continue;
        if (name != ".." || !isAbsolute) {
            kept.push_back(name);
        } else if (!kept.empty()) {
            kept.pop_back();
        }
    }
    return fmt::format("{}{}", isAbsolute ? "/" : "", fmt::join(kept, "/"));
}

bool isBelow(std::string_view path, std::string_view folder) {
    if (folder.empty() || path.size() <= folder.size() || !path.starts_with(folder)) return false;
    return folder.ends_with('/') || path[folder.size()] == '/';
}

bool isAtOrBelow(std::string_view path, std::string_view folder) {
    return path == folder || isBelow(path, folder);
}

std::string folderOf(std::string_view path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string_view::npos) return ".";
    return std::string(path.substr(0, slash == 0 ? 1 : slash));
}

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.find_last_of('/') + 1);
}

std::string_view extensionOf(std::string_view path) {
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

std::string abbreviatedPath(std::string_view path, std::string_view home) {
    if (!isAtOrBelow(path, home)) return std::string(path);
    return fmt::format("~{}{}", path != home && home.ends_with('/') ? "/" : "", path.substr(home.size()));
}

}  // namespace brindle
