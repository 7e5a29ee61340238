// Where no duplicates are looked for, and which files are none whatever they hold.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

// Names of folders that are never entered: what tools keep, what they generate, what is private.
bool isExcludedFolder(std::string_view name);

// Whether a folder is called as some system's or application's Trash is, or built like one: what lies there is on its way
// out.
bool isTrashFolder(std::string_view path);

// By the ending of its name, in any case.
bool isSourceFile(std::string_view name);

// Whether an entry in the folder marks it as a project. False for a folder that cannot be read.
bool isProjectFolder(const std::string& folder);

// Whether the folder or one above it, below the home, is a project. The home itself may be under version control; what lies
// in it is not a project for that.
bool isInProject(const std::string& folder, const std::string& home);

// Whether a component between the home and the path, the path's last one included, is the name of an excluded folder.
// Both absolute, links resolved; a path that is not in the home has none.
bool hasExcludedAncestor(std::string_view path, std::string_view home);

}  // namespace brindle
