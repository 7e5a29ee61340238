// A message beside the user's windows.
#pragma once

#include <string>
#include <vector>

namespace brindle {

struct NotificationCommand {
    std::string tool;  // a system's own, found by its name
    std::vector<std::string> arguments;
};

// What shows it. The tool fails where the session has no notification service; texts are handed over as arguments and
// never read as commands or markup of their own.
NotificationCommand notificationCommand(const std::string& title, const std::string& body);

}  // namespace brindle
