// What the system's own scheduler reads to start this program once in a while: the texts of both kinds, and the one that
// this system takes.
//
// systemd: systemd.service(5), systemd.timer(5), quoting after systemd.syntax(7). launchd: launchd.plist(5).
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/platform/error.h"

namespace brindle {

struct TimerOrder {
    std::string home;
    std::string configFolder;  // where systemd looks for a user's units: XDG_CONFIG_HOME or ~/.config
    std::string program;       // absolute
    std::vector<std::string> arguments;  // nothing that would need quoting
    std::vector<std::string> environment =
        {};  // "NAME=value" that the program needs to find what is the user's; systemd's
};

struct TimerFile {
    std::string path;
    std::string content;
};

// Starts the program every hour, and after an hour that was slept through, at the lowest priority: whether there is
// something to do is the program's own question. An error for a program whose path is not UTF-8 or holds control
// characters, which neither kind can name, or for systemd quotes or backslashes.
std::expected<std::string, Error> systemdService(const TimerOrder& order);
std::string systemdTimer();
std::expected<std::string, Error> launchAgent(const TimerOrder& order);

// The program that such a text starts; absent for any other text.
std::optional<std::string> programOfSystemdService(std::string_view text);
std::optional<std::string> programOfLaunchAgent(std::string_view text);

// A tool of the system's, and its arguments.
using TimerCommand = std::vector<std::string>;

// How this system does it. The file that names the program comes first.
struct SystemTimer {
    std::vector<TimerFile> files;
    std::vector<TimerCommand> startCommands;       // after the files are there
    std::vector<TimerCommand> stopCommands;        // before they go
    std::vector<TimerCommand> afterCommands = {};  // once they have gone
};
std::expected<SystemTimer, Error> systemTimer(const TimerOrder& order);
// Of an installed timer that is started, all that lies on the disk; the file that names the program comes first.
std::vector<std::string> systemTimerPaths(const std::string& home, const std::string& configFolder);
std::optional<std::string> programOfTimer(std::string_view text);  // of this system's kind

}  // namespace brindle
