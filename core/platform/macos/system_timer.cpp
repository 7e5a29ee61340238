#include <unistd.h>

#include "core/platform/timer_files.h"

namespace brindle {

std::vector<std::string> systemTimerPaths(const std::string& home, const std::string& /*configFolder*/) {
    return {home + "/Library/LaunchAgents/dev.brindle.scheduled-scan.plist"};
}

std::expected<SystemTimer, Error> systemTimer(const TimerOrder& order) {
    auto agent = launchAgent(order);
    if (!agent) return std::unexpected(agent.error());
    const std::string path = systemTimerPaths(order.home, order.configFolder).front();
    const std::string domain = "gui/" + std::to_string(::getuid());
    return SystemTimer{.files = {{path, *std::move(agent)}},
                       .startCommands = {{"launchctl", "bootstrap", domain, path}},
                       .stopCommands = {{"launchctl", "bootout", domain + "/dev.brindle.scheduled-scan"}}};
}

std::optional<std::string> programOfTimer(std::string_view text) {
    return programOfLaunchAgent(text);
}

}  // namespace brindle
