#include "core/modules/leftover_exclusions.h"

#include <algorithm>
#include <array>
#include <span>

#include "core/modules/bundle_identifier.h"

namespace brindle {

namespace {

using Names = std::span<const std::string_view>;

// Shown by Brindle's other modules, or owned by tools that are no bundles.
constexpr std::array<std::string_view, 19> kToolsAndModules = {
    "com.docker",
    "org.swift",
    "org.python",
    "com.vercel.cli",
    "com.google.gcloud",
    "com.google.chrome.for",
    "org.chromium.chromium",
    "org.mozilla.nightly",
    "com.amazonaws",
    "com.heroku",
    "com.hashicorp",
    "com.github.copilot",
    "org.nodejs",
    "org.golang",
    "org.rust-lang",
    "com.github.electron",
    "com.electron",
    "io.datasette",
    "org.zellij-contributors",
};

// Files that may not be anywhere else until they are uploaded, and backups.
constexpr std::array<std::string_view, 20> kCloudStorage = {
    "com.google.drivefs",
    "com.google.drive",
    "com.dropbox",
    "com.getdropbox",
    "com.box",
    "com.microsoft.onedrive",
    "com.microsoft.onedrivestandaloneupdater",
    "com.microsoft.sharepoint",
    "com.nextcloud",
    "com.owncloud",
    "com.pcloud",
    "mega.mac",
    "com.synology",
    "com.insynchq",
    "com.amazon.clouddrive",
    "com.backblaze",
    "com.seafile",
    "com.tresorit",
    "ch.protonmail",
    "com.haystacksoftware",
};

// Passwords, keys and wallets.
constexpr std::array<std::string_view, 17> kSecrets = {
    "com.1password",   "com.agilebits",   "com.bitwarden", "com.lastpass",       "com.dashlane",
    "org.keepassxc",   "me.proton",       "com.callpod",   "com.keepersecurity", "in.sinew",
    "com.siber",       "com.nordpass",    "com.yubico",    "com.authy",          "com.ledger",
    "com.markmcguill", "com.outercorner",
};

// Virtual machines, which their programs run without a window and find again by themselves.
constexpr std::array<std::string_view, 6> kVirtualMachines = {
    "com.utmapp", "com.canonical.multipass", "dev.kdrag0n", "io.podman", "com.parallels", "com.vmware",
};

// Folders of a library that many applications carry.
constexpr std::array<std::string_view, 14> kSharedLibraries = {
    "org.sparkle-project", "com.crashlytics",     "com.plausiblelabs", "com.firebase",
    "com.google.firebase", "net.hockeyapp",       "com.mixpanel",      "io.sentry",
    "com.bugsnag",         "com.segment",         "com.amplitude",     "io.branch",
    "com.facebook.sdk",    "com.github.squirrel",
};

// Drivers, audio plug-ins and updaters, whose programs lie outside the application folders.
constexpr std::array<std::string_view, 21> kOutsideApplicationFolders = {
    "com.adobe",
    "com.microsoft.autoupdate",
    "com.microsoft.edgeupdater",
    "com.google.keystone",
    "com.google.googleupdater",
    "com.google.softwareupdate",
    "com.logi",
    "com.logitech",
    "com.wacom",
    "com.native-instruments",
    "com.waves",
    "com.wavesaudio",
    "com.steinberg",
    "com.paceap",
    "com.izotope",
    "com.avid",
    "com.epson",
    "com.hp",
    "com.canon",
    "com.brother",
    "com.ableton",
};

constexpr std::array<Names, 6> kNever = {kToolsAndModules, kCloudStorage,    kSecrets,
                                         kVirtualMachines, kSharedLibraries, kOutsideApplicationFolders};

bool isPartOf(std::string_view identifier, std::string_view owner) {
    return identifier.starts_with(owner) &&
           (identifier.size() == owner.size() || identifier.at(owner.size()) == '.');
}

}  // namespace

bool isNeverLeftover(std::string_view identifier) {
    const std::string folded = foldedIdentifier(identifier);
    return std::ranges::any_of(kNever, [&](Names names) {
        return std::ranges::any_of(names, [&](std::string_view name) { return isPartOf(folded, name); });
    });
}

}  // namespace brindle
