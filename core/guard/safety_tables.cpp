#include "core/guard/safety_tables.h"

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

}  // namespace brindle
