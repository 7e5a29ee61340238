// brindle modules
#include <algorithm>
#include <vector>

#include "cli/command.h"
#include "cli/text_table.h"
#include "core/model/model_json.h"
#include "core/platform/file_status.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

struct ModuleState {
    ModuleID id;
    bool isPresent = false;
    bool isEnabled = true;
};

// Projects are looked for by the scan itself; there is something for it where a folder to search is there.
bool isAnyRootThere(const Session& session) {
    return std::ranges::any_of(session.preferences().projectRoots(), [&](const std::string& root) {
        return exists(root.starts_with('/') ? root : session.home() + "/" + root);
    });
}

// Several modules may share one identity: it is there when one of them is.
std::vector<ModuleState> states(const Session& session) {
    const ScanContext context = session.context({});
    const auto disabled = session.preferences().disabledModules();
    std::vector<ModuleState> result;
    for (const ModuleID id : allCases<ModuleID>()) {
        if (id == ModuleID::projects) {
            result.push_back({id, isAnyRootThere(session), !disabled.contains(id)});
            continue;
        }
        const bool isKnown =
            std::ranges::any_of(session.modules(), [&](const auto& module) { return module->id() == id; });
        if (!isKnown) continue;
        const bool isPresent = std::ranges::any_of(session.modules(), [&](const auto& module) {
            return module->id() == id && module->isPresent(context);
        });
        result.push_back({id, isPresent, !disabled.contains(id)});
    }
    return result;
}

std::string jsonResult(const std::vector<ModuleState>& modules) {
    Json list = Json::array();
    for (const ModuleState& module : modules) {
        list.push_back({{"id", rawText(module.id)},
                        {"displayName", sourceName(module.id)},
                        {"isPresent", module.isPresent},
                        {"isEnabled", module.isEnabled}});
    }
    return Json{{"schemaVersion", 1}, {"modules", list}}.dump(2) + "\n";
}

std::string textResult(const std::vector<ModuleState>& modules, const Look& look) {
    TextTable table({localized("Module"), localized("Name"), localized("Here"), localized("Scanned")});
    for (const ModuleState& module : modules) {
        table.add({std::string(rawText(module.id)), displayName(module.id),
                   module.isPresent ? localized("yes") : localized("no"),
                   module.isEnabled ? localized("yes") : localized("no, disabled")});
    }
    return table.text(look);
}

}  // namespace

Outcome runModules(const CommandContext& context) {
    const std::vector<ModuleState> modules = states(context.session);
    return {ExitCode::success,
            context.options.isJson ? jsonResult(modules) : textResult(modules, context.look)};
}

}  // namespace brindle
