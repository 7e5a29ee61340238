// What the safety guard knows by heart. Locations are relative to the home folder. Modules read the tables to offer only
// what the guard lets pass.
#pragma once

#include <array>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// Where developers' tools keep what they can make again: tried in this order.
inline constexpr std::array<std::string_view, 29> kAllowedRoots = {
    ".pub-cache/hosted",
    ".terraform.d/plugin-cache",
    ".nvm/.cache/bin",
    ".asdf/downloads",
    ".local/share/mise/downloads",
    ".claude/plugins/cache",
    ".codeium/ws-browser",
    "Library/Caches",
    "Library/Developer",
    "Library/Logs",
    "Library/pnpm",
    "Library/Application Support/Code/CachedData",
    "Library/Application Support/Code/Cache",
    "Library/Application Support/Cursor/CachedData",
    "Library/Application Support/Cursor/Cache",
    "Library/Containers/com.docker.docker",
    ".npm",
    ".cache",
    ".bun",
    ".gradle",
    ".android",
    "Library/Android/sdk/system-images",
    ".pnpm-store",
    ".cocoapods",
    ".cargo/registry",
    "go/pkg/mod",
    ".virtualenvs",
    ".pyenv/versions",
    ".local/share/pnpm",
};

// Names that no removal may pass through, whoever vouches for it.
inline constexpr std::array<std::string_view, 6> kNeverRemovable = {".git", ".ssh",  ".gnupg",
                                                                    ".aws", ".kube", "Keychains"};

// Names that no cache's path may hold: checked in this order.
inline constexpr std::array<std::string_view, 13> kForbiddenComponents = {
    ".git",      ".ssh",    ".gnupg",    ".aws",     ".kube",  ".config", "Keychains",
    "Documents", "Desktop", "Downloads", "Pictures", "Movies", "Music"};

// The only folders in which a folder can be an uninstalled application's.
inline constexpr std::array<std::string_view, 7> kApplicationDataFolders = {"Library/Application Support",
                                                                            "Library/Containers",
                                                                            "Library/Caches",
                                                                            "Library/HTTPStorages",
                                                                            "Library/WebKit",
                                                                            "Library/Saved Application State",
                                                                            "Library/Logs"};

// Where the sources of downloaded packages rightly hold ".git" folders and ".env" files; "*" is any one name.
inline constexpr std::array<std::string_view, 2> kVendoredPackages = {
    "Library/Developer/Xcode/DerivedData/*/SourcePackages/checkouts/*", ".cargo/registry/src/*/*"};

// Commands that start another: the guard judges what they start.
inline constexpr std::array<std::string_view, 2> kLaunchers = {"env", "xcrun"};

// From where a command removes data.
struct DataLocation {
    std::string_view command;
    std::string_view location;
};
inline constexpr std::array<DataLocation, 11> kDataLocations = {
    {{"brew", "Library/Caches/Homebrew"},
     {"docker", "Library/Containers/com.docker.docker"},
     {"docker", ".docker"},
     {"npm", ".npm"},
     {"pnpm", "Library/pnpm"},
     {"pnpm", ".pnpm-store"},
     {"pnpm", ".local/share/pnpm"},
     {"uv", ".cache/uv"},
     {"go", "go/pkg/mod"},
     {"pod", "Library/Caches/CocoaPods"},
     {"simctl", "Library/Developer/CoreSimulator"}}};

// Absolute, in the home folder: those of the table, and on systems that keep caches elsewhere (kUserCachesFolder) the same
// place there.
std::vector<std::string> dataLocationsOf(std::string_view command, const std::string& home);

// Each command with its approved argument lists; nothing else is ever run.
using ArgumentList = std::vector<std::string>;
const std::map<std::string, std::set<ArgumentList>, std::less<>>& allowedCommands();

}  // namespace brindle
