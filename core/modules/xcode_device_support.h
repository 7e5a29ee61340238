// Symbols that Xcode copied from devices: one folder a system version in "iOS DeviceSupport" and its siblings.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/scan/scan_context.h"

namespace brindle {

// Of a folder's name, in the forms that Xcode has used: "16.0", "17.4 (21E219)", "15.0 (19A346) arm64e",
// "iPhone12,1 17.4 (21E219)".
struct DeviceSupportVersion {
    std::string model;                   // empty where the name has none
    std::vector<std::uint32_t> numbers;  // at least one, without zeros at the end: 16.0 is 16
    std::string versionText;
    std::string build;  // empty where the name has none

    bool operator==(const DeviceSupportVersion&) const = default;

    // Absent for a name of any other form.
    static std::optional<DeviceSupportVersion> parse(std::string_view folderName);
};

// One review item a version folder; what is the newest of its platform says so.
std::vector<CleanupItem> deviceSupportItems(const ScanContext& context);

}  // namespace brindle
