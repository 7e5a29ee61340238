#include "core/platform/timer_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "core/text/escape.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::string_view kExecStart = "ExecStart=\"";
constexpr std::string_view kFirstArgument = "<key>ProgramArguments</key>\n    <array>\n        <string>";

// In a quoted word of a unit; "$" is only looked at behind the program.
constexpr Escape kUnitEscapes[] = {{'%', "%%"}};

// Up to where `end` begins.
std::optional<std::string> unescapedUpTo(std::string_view text, std::string_view end,
                                         std::span<const Escape> escapes) {
    std::string result;
    while (!text.empty() && !text.starts_with(end)) {
        const auto found =
            std::ranges::find_if(escapes, [&](const Escape& each) { return text.starts_with(each.text); });
        const bool isEscape = found != escapes.end();
        result += isEscape ? found->character : text.front();
        text.remove_prefix(isEscape ? found->text.size() : 1);
    }
    if (text.empty()) return std::nullopt;
    return result;
}

std::expected<void, Error> canBeNamed(const std::string& program) {
    if (isValidUtf8(program) && printable(program) == program) return {};
    return std::unexpected(
        malformedError("name in a timer", program, "it is not UTF-8 or holds control characters"));
}

}  // namespace

std::expected<std::string, Error> systemdService(const TimerOrder& order) {
    std::string environment;
    for (const std::string& each : order.environment)
        environment += "Environment=\"" + escaped(each, kUnitEscapes) + "\"\n";
    std::vector<std::string> named = order.environment;
    named.push_back(order.program);
    for (const std::string& text : named) {
        if (auto can = canBeNamed(text); !can) return std::unexpected(can.error());
        if (text.find_first_of("\"'\\") == std::string::npos) continue;
        return std::unexpected(
            malformedError("name in a timer", text, "systemd takes no quote and no backslash there"));
    }
    return fmt::format(
        "[Unit]\n"
        "Description=Brindle: look for storage that can be freed, when it is time\n"
        "\n"
        "[Service]\n"
        "Type=oneshot\n"
        "{}{}{}\" {}\n"
        "SuccessExitStatus=5 8 130\n"
        "Nice=19\n"
        "IOSchedulingClass=idle\n"
        "CPUSchedulingPolicy=batch\n",
        environment, kExecStart, escaped(order.program, kUnitEscapes), fmt::join(order.arguments, " "));
}

std::string systemdTimer() {
    return "[Unit]\n"
           "Description=Brindle: ask every hour whether it is time to look\n"
           "\n"
           "[Timer]\n"
           "OnCalendar=hourly\n"
           "RandomizedDelaySec=10min\n"
           "Persistent=true\n"
           "\n"
           "[Install]\n"
           "WantedBy=timers.target\n";
}

std::expected<std::string, Error> launchAgent(const TimerOrder& order) {
    if (auto named = canBeNamed(order.program); !named) return std::unexpected(named.error());
    std::string arguments;
    for (const std::string& each : order.arguments)
        arguments += fmt::format("        <string>{}</string>\n", escaped(each, kXmlEscapes));
    return fmt::format(
        R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <key>Label</key>
    <string>dev.brindle.scheduled-scan</string>
    {}{}</string>
{}    </array>
    <key>StartInterval</key>
    <integer>3600</integer>
    <key>ProcessType</key>
    <string>Background</string>
    <key>LowPriorityIO</key>
    <true/>
    <key>Nice</key>
    <integer>19</integer>
</dict>
</plist>
)",
        kFirstArgument, escaped(order.program, kXmlEscapes), arguments);
}

std::optional<std::string> programOfSystemdService(std::string_view text) {
    const std::size_t start = text.find(kExecStart);
    if (start == std::string_view::npos) return std::nullopt;
    return unescapedUpTo(text.substr(start + kExecStart.size()), "\"", kUnitEscapes);
}

std::optional<std::string> programOfLaunchAgent(std::string_view text) {
    const std::size_t start = text.find(kFirstArgument);
    if (start == std::string_view::npos) return std::nullopt;
    return unescapedUpTo(text.substr(start + kFirstArgument.size()), "<", kXmlEscapes);
}

}  // namespace brindle
