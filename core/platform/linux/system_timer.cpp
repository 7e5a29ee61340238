#include "core/platform/timer_files.h"

namespace brindle {

std::vector<std::string> systemTimerPaths(const std::string& /*home*/, const std::string& configFolder) {
    const std::string folder = configFolder + "/systemd/user/";
    // The last one is a link, made and taken away by systemctl.
    return {folder + "brindle.service", folder + "brindle.timer",
            folder + "timers.target.wants/brindle.timer"};
}

std::expected<SystemTimer, Error> systemTimer(const TimerOrder& order) {
    auto service = systemdService(order);
    if (!service) return std::unexpected(service.error());
    const std::vector<std::string> paths = systemTimerPaths(order.home, order.configFolder);
    const TimerCommand reload{"systemctl", "--user", "daemon-reload"};
    return SystemTimer{.files = {{paths[0], *std::move(service)}, {paths[1], systemdTimer()}},
                       .startCommands = {reload, {"systemctl", "--user", "enable", "--now", "brindle.timer"}},
                       .stopCommands = {{"systemctl", "--user", "disable", "--now", "brindle.timer"}},
                       .afterCommands = {reload}};
}

std::optional<std::string> programOfTimer(std::string_view text) {
    return programOfSystemdService(text);
}

}  // namespace brindle
