// What a path says by its letters alone: no file system is asked, no link is known. Paths are bytes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// The names between the "/", empty ones left out. They point into `path`.
std::vector<std::string_view> pathComponents(std::string_view path);

// The shortest spelling: no doubled or trailing "/", no "."; in an absolute path each ".." takes the name before it
// away. "/" and "" stay.
std::string standardisedPath(std::string_view path);

// Both as standardisedPath spells them. Everything absolute lies below "/"; nothing lies below "".
bool isBelow(std::string_view path, std::string_view folder);
bool isAtOrBelow(std::string_view path, std::string_view folder);

// What stands before the last "/" ("/" and "." where nothing does), and what stands behind it.
std::string folderOf(std::string_view path);
std::string_view lastComponent(std::string_view path);

// What stands behind the last "." of the last component; empty where there is no "." but perhaps as its first letter.
std::string_view extensionOf(std::string_view path);

// With the home folder written "~"; a path outside it is whole.
std::string abbreviatedPath(std::string_view path, std::string_view home);

}  // namespace brindle
