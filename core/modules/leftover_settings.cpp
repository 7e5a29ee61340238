#include "core/modules/leftover_settings.h"

#include "core/platform/applications.h"
#include "core/settings/full_disk_access.h"

namespace brindle {

LeftoverSettings LeftoverSettings::ofThisMachine() {
    return {
        // Folders below these are entered too, so Setapp's and other sub-folders need no line of their own.
        .applicationFolders = {"/Applications", "Applications", "/System/Applications",
                               "/System/Library/CoreServices",
                               "Library/Application Support/JetBrains/Toolbox/apps",
                               "Library/Application Support/Setapp", "/Library/Input Methods",
                               "Library/Input Methods", "/Library/PreferencePanes", "Library/PreferencePanes",
                               "/Library/Screen Savers", "Library/Screen Savers", "/Library/Audio/Plug-Ins",
                               "Library/Audio/Plug-Ins", "/Library/CoreMediaIO/Plug-Ins",
                               "/Library/QuickLook", "Library/QuickLook", "/Library/Services",
                               "Library/Services"},
        .serviceFolders = {"/Library/LaunchAgents", "/Library/LaunchDaemons", "Library/LaunchAgents",
                           "/Library/PrivilegedHelperTools"},
        .commandFolders = {"/opt/homebrew/bin", "/usr/local/bin", "/opt/local/bin", ".local/bin",
                           ".cargo/bin", ".bun/bin", ".deno/bin", "go/bin"},
        .databaseKnows = systemKnowsApplication,
        .runningPrograms = brindle::runningPrograms,
        .mayReadContainers = [](const std::string& home) { return FullDiskAccess(home).isGranted(); },
    };
}

}  // namespace brindle
