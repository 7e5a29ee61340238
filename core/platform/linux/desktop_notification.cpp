#include "core/platform/desktop_notification.h"

namespace brindle {

namespace {

// The body may be markup to the service.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char each : text) {
        if (each == '&') {
            result += "&amp;";
        } else if (each == '<') {
            result += "&lt;";
        } else {
            result += each;
        }
    }
    return result;
}

}  // namespace

NotificationCommand notificationCommand(const std::string& title, const std::string& body) {
    return {"notify-send", {"--app-name=Brindle", "--", title, escaped(body)}};
}

}  // namespace brindle
