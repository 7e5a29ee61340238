// What the command line said, understood and checked.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/model/classification.h"
#include "core/model/module_id.h"

namespace brindle {

// Which of the found items are shown. Totals are never filtered.
struct ItemFilter {
    std::set<Classification> classifications;  // empty: all
    std::uint64_t leastBytes = 0;

    bool isActive() const { return !classifications.empty() || leastBytes > 0; }
    bool shows(Classification classification, std::uint64_t bytes) const {
        return bytes >= leastBytes && (classifications.empty() || classifications.contains(classification));
    }
};

enum class Command { help, scan, explain, modules, settings, doctor, completion, man, version };

struct Options {
    Command command = Command::help;
    std::string helpTopic;  // a command's name; empty for the program itself

    // Everywhere.
    std::optional<std::string> home;
    std::optional<std::string> language;
    bool isJson = false;
    bool isColourForbidden = false;

    // scan
    bool includesProjects = true;
    bool showsTimings = false;
    std::optional<ModuleID> only;
    ItemFilter filter;

    std::string subject;  // explain: an item or a path

    // settings
    std::string settingName;  // empty: all of them
    std::vector<std::string> settingTexts;
    bool resetsSetting = false;

    std::string shell;  // completion
};

}  // namespace brindle
