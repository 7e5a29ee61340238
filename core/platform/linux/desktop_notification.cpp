#include "core/platform/desktop_notification.h"

#include "core/text/escape.h"

namespace brindle {

// The body may be markup to the service.
NotificationCommand notificationCommand(const std::string& title, const std::string& body) {
    return {"notify-send", {"--app-name=Brindle", "--", title, escaped(body, kXmlEscapes)}};
}

}  // namespace brindle
