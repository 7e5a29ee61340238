// What every module does to make an item of a folder that it measured.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/scan/scan_context.h"

namespace brindle {

// Absent when nothing lies there, when it occupies nothing or is an empty folder, and when the scan was cancelled: a
// walk that was broken off knows only part of the truth.
std::optional<DirectoryMeasurement> measureOccupied(const ScanContext& context, const std::string& path);

// Where a cache may lie in this home, the likeliest first. Tools that keep one in Library/Caches on one system keep it
// in .cache on the other: where this system's caches lie elsewhere, both are looked at.
std::vector<std::string> foldersInHome(const ScanContext& context, const std::string& relativePath);

// "Last modified" and "Files".
std::vector<Fact> ageAndFileCount(const ScanContext& context, const DirectoryMeasurement& measurement);

// What an item is made of, and what most of them have in common: the identity "MODULE.KEY", protected until the
// module says otherwise, nothing to remove. The rest is the module's to fill in.
struct ItemHead {
    ModuleID module = ModuleID::system;
    std::string key;
    std::string title;
    std::string detail;
};
CleanupItemFields itemFields(const ItemHead& head, const DirectoryMeasurement& measurement);

// Makes an item that was filled in one that is only shown: the localised reason follows what it is, and a fact says
// how the user can remove it, where there is such a command line. What it removes stays as it is, to show where it lies.
void protect(CleanupItemFields& fields, const std::string& reason,
             const std::optional<std::string>& commandLine);

}  // namespace brindle
