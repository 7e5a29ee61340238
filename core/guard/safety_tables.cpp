#include "core/guard/safety_tables.h"

#include <fmt/format.h>

#include "core/platform/known_folders.h"
#include "core/platform/path_text.h"

namespace brindle {

const std::map<std::string, std::set<ArgumentList>, std::less<>>& allowedCommands() {
    static const std::map<std::string, std::set<ArgumentList>, std::less<>> kCommands = {
        {"docker",
         {{"builder", "prune", "-af"},
          {"image", "prune", "-a", "-f"},
          {"container", "prune", "-f"},
          {"volume", "prune", "-f"}}},
        {"brew", {{"cleanup", "--prune=all"}, {"autoremove"}}},
        {"npm", {{"cache", "clean", "--force"}}},
        {"pnpm", {{"store", "prune"}}},
        {"uv", {{"cache", "clean"}}},
        {"go", {{"clean", "-modcache"}}},
        {"pod", {{"cache", "clean", "--all"}}},
        {"simctl", {{"delete", "unavailable"}}},
    };
    return kCommands;
}

std::vector<std::string> dataLocationsOf(std::string_view command, const std::string& home) {
    constexpr std::string_view kCaches = "Library/Caches";
    std::vector<std::string> places;
    for (const auto& [owner, location] : kDataLocations) {
        if (owner != command) continue;
        places.push_back(fmt::format("{}/{}", home, location));
        if (!isBelow(location, kCaches) || kUserCachesFolder == kCaches) continue;
        places.push_back(fmt::format("{}/{}{}", home, kUserCachesFolder, location.substr(kCaches.size())));
    }
    return places;
}

}  // namespace brindle
