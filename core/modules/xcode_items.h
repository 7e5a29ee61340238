// What the parts of the Xcode module have in common: folders that are no links, and rows that are only shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/modules/measured_item.h"

namespace brindle {

inline constexpr std::string_view kXcodeFolder = "Library/Developer/Xcode";
inline constexpr std::string_view kRemoveItYourself = "Remove it yourself with";

struct NamedFolder {
    std::string name;
    std::string path;

    bool operator==(const NamedFolder&) const = default;
};

// The folders directly inside a real one, sorted by name, hidden ones and links left out.
std::vector<NamedFolder> ownFolders(const ScanContext& context, std::string_view relative);

struct ProtectedRow {
    ItemHead head;
    DirectoryMeasurement measurement;
    std::string reason;
    std::vector<Fact> facts;
    std::vector<std::string> paths;
};
CleanupItem protectedItem(const ScanContext& context, ProtectedRow row);

// A folder that a tool keeps and removes by a command of its own. Absent as measureOccupied.
struct ToolsFolder {
    std::string key;
    std::string title;
    std::string relativePath;
    std::string reason;
    std::string command;
};
std::optional<CleanupItem> toolsFolderItem(const ScanContext& context, const ToolsFolder& folder);

}  // namespace brindle
