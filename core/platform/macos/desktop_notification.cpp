#include "core/platform/desktop_notification.h"

namespace brindle {

NotificationCommand notificationCommand(const std::string& title, const std::string& body) {
    return {
        "osascript",
        {"-e", "on run texts", "-e", "display notification (item 2 of texts) with title (item 1 of texts)",
         "-e", "end run", title, body}};
}

}  // namespace brindle
