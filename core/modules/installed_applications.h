// Every application that some source knows to be there.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/unreachable_location.h"
#include "core/modules/bundle_identifier.h"
#include "core/modules/leftover_settings.h"
#include "core/scan/scan_context.h"

namespace brindle {

inline constexpr std::string_view kSystemSilent =
    "The system did not answer, so what cannot be told without it is not shown as left behind. Scan again.";

struct InstalledApplications {
    IdentifierSet identifiers;
    std::vector<std::string> namesOnly;  // of applications whose identifier could not be read, without ".app"
    std::set<std::string> commands;      // command-line tools, by comparableName
    std::vector<std::string> programs;   // that run now or that the system starts: paths
    // What could not be read, with what follows from it.
    std::vector<UnreachableLocation> unreachable;
    // False when something that may hold any application could not be read: then nothing is known to be absent.
    bool isComplete = true;

    // Without a question to the system's record.
    bool mayOwn(const std::string& identifier) const;
    // A program lies in this folder.
    bool startsFrom(const std::string& folder) const;
};

// Whether one of the application folders exists.
bool anyApplicationFolder(const LeftoverSettings& settings);

// Reads the application folders with the bundles in them and in those, the services' and the commands' folders, and the
// bundles of the running programs. Incomplete when the scan was cancelled, and when not one application was found. Blocks; a few thousand small files on a full machine.
InstalledApplications installedApplications(const LeftoverSettings& settings, const ScanContext& context);

// Whether the system's record has the identifier or an application that it may be a part of; absent when it does not
// answer.
std::optional<bool> recordHasOwner(const LeftoverSettings& settings, const std::string& identifier);

}  // namespace brindle
