// What runs by itself, and how it makes itself heard.
#include "core/platform/desktop_notification.h"
#include "core/platform/machine.h"
#include "core/session/session.h"
#include "core/text/core_strings.h"

namespace brindle {

Scheduler Session::scheduler() const {
    return {defaults_,
            {.lock = [this] { return FileLock::tryAcquire(history().directory() + "/schedule.lock"); },
             .scan =
                 [this](const CancellationTest& isCancelled) {
                     ScanOptions options;
                     options.isUnattended = true;
                     options.includeSurvey = false;  // nobody sees it
                     options.isCancelled = isCancelled;
                     return scan(options);
                 },
             .clean = [this](const ScanReport& report, const std::vector<CleanupItem>& items,
                             const CancellationTest& isCancelled,
                             bool onlyWhileOn) -> std::expected<Receipt, ScheduledRefusal> {
                 auto outcome = clean({.items = items,
                                       .report = report,
                                       .isCancelled = isCancelled,
                                       .objection = [this, onlyWhileOn](const CleanupItem& item) {
                                           return unwanted(item, onlyWhileOn);
                                       }});
                 if (!outcome) {
                     const auto& [kind, sentence] = outcome.error();
                     return std::unexpected(ScheduledRefusal{sentence, kind == CleanRefusal::Kind::busy,
                                                             kind == CleanRefusal::Kind::historyUnreadable});
                 }
                 return std::move(outcome->receipt);
             },
             .record = [this](const ScheduledRun& run) { (void)scheduleLog().append(run); }}};
}

std::optional<std::string> Session::unwanted(const CleanupItem& item, bool onlyWhileOn) const {
    const Preferences settings = preferences();
    const bool isOn = !onlyWhileOn || settings.scheduledScansEnabled();
    if (isOn && settings.autoCleanEnabled() && !settings.disabledModules().contains(item.moduleID))
        return std::nullopt;
    return localized("The settings changed meanwhile: it is not to be cleaned by itself any more.");
}

ScheduleLog Session::scheduleLog() const {
    return ScheduleLog(history().directory() + "/scheduled-runs.jsonl");
}

std::optional<LowDiskAlert> Session::lowDiskAlert(const ScanReport& report) const {
    return checkLowDisk(defaults_, report.disk, std::chrono::system_clock::now());
}

bool Session::postNotification(const std::string& title, const std::string& body) const {
    const NotificationCommand command = notificationCommand(title, body);
    const Toolbox tools = toolbox();
    const auto tool = tools.locate(command.tool);
    if (!tool) return false;
    constexpr std::chrono::seconds kPatience{10};
    const auto result = tools.run(*tool, command.arguments, {.timeout = kPatience});
    return result && result->succeeded();
}

ScheduleTimer Session::scheduleTimer(const std::string& program) const {
    // What the shell alone knows, a timer would not.
    std::vector<std::string> environment;
    if (currentUserHome() != home_.path) environment.push_back("HOME=" + home_.path);
    for (const std::string name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
        if (const std::string value = variable(name); !value.empty())
            environment.push_back(name + "=" + value);
    }
    return {{.home = home_.path,
             .configFolder = configFolder(),
             .program = program,
             .arguments = {"schedule", "run", "--if-due"},
             .environment = std::move(environment)},
            toolbox()};
}

}  // namespace brindle
