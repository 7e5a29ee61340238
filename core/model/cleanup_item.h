// One pile of bytes: what it is, how big, whether it may go, and how.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "core/model/classification.h"
#include "core/model/directory_measurement.h"
#include "core/model/explanation.h"
#include "core/model/module_id.h"
#include "core/model/path_identity.h"
#include "core/model/removal_strategy.h"

namespace brindle {

// What a module says of an item. Texts are English sources.
struct CleanupItemFields {
    std::string
        id;  // the module's raw text, ".", a key of the module's own: unique in a scan, stable over scans
    ModuleID moduleID = ModuleID::system;
    std::string title;
    std::string detail;  // one line, usually the abbreviated path
    DirectoryMeasurement measurement;
    Classification classification = Classification::protected_;
    Explanation explanation;
    RemovalStrategy removal;
    std::optional<std::string> projectPath;  // root of the project it belongs to
    std::optional<std::string> clears;       // what removing it also clears
};

// A value: never changed once built, free to pass between threads.
struct CleanupItem {
    // Reads the identity of every removal path (one lstat each); a path that cannot be read is left out.
    explicit CleanupItem(CleanupItemFields fields);

    std::string id;
    ModuleID moduleID;
    std::string storedTitle;
    std::string storedDetail;
    DirectoryMeasurement measurement;
    Classification classification;
    Explanation explanation;
    RemovalStrategy removal;
    std::optional<std::string> projectPath;
    std::map<std::string, PathIdentity> pathIdentities;
    std::optional<std::string> clears;

    bool operator==(const CleanupItem&) const = default;

    // What is shown, summed, chosen and freed: allocated bytes, never logical ones.
    std::uint64_t bytes() const { return measurement.allocatedBytes; }
    std::string title() const;   // localised
    std::string detail() const;  // localised
};

}  // namespace brindle
