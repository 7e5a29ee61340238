// brindle schedule
#include "cli/command.h"
#include "cli/page_rows.h"
#include "cli/schedule_page.h"
#include "core/model/receipt_json.h"
#include "core/platform/priority.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

Outcome show(const CommandContext& context) {
    const Session& session = context.session;
    const Preferences settings = session.preferences();
    const TimePoint now = std::chrono::system_clock::now();
    const Scheduler scheduler = session.scheduler();
    const std::string& program = context.surroundings.program;
    const ScheduleView view{.isOn = settings.scheduledScansEnabled(),
                            .cadence = settings.cadence(),
                            .cleans = settings.autoCleanEnabled(),
                            .lastRun = settings.lastScheduledRun(),
                            .nextRun = scheduler.nextRun(now),
                            .isOverdue = scheduler.isOverdue(now),
                            .timer = session.scheduleTimer(program).state(),
                            .program = program,
                            .runs = session.scheduleLog().runs()};
    return {ExitCode::success,
            context.options.isJson ? scheduleJson(view) : scheduleText(view, context.look)};
}

Outcome turn(const CommandContext& context, bool isOn) {
    Preferences settings = context.session.preferences();
    // What cannot be trusted is no ground for scans that nobody watches.
    if (const auto readable = settings.readable(); !readable)
        return refusal(context, ExitCode::failed, readable.error().describe());
    if (context.options.cadence) {
        if (auto set = settings.setCadence(*context.options.cadence); !set)
            return refusal(context, ExitCode::failed, set.error().describe());
    }
    if (auto set = settings.setScheduledScansEnabled(isOn); !set)
        return refusal(context, ExitCode::failed, set.error().describe());
    return show(context);
}

// --- run ---

Outcome notDue(const CommandContext& context) {
    if (context.options.isJson)
        return {ExitCode::success, "{\n  \"schemaVersion\": 1,\n  \"ran\": false\n}\n"};
    // For a timer that asks every hour there is nothing to note.
    if (!context.streams.resultTerminal()) return {};
    return {ExitCode::success,
            paragraphText(localized("It is not time for a scheduled scan."), 0, context.look)};
}

void tellOfLowSpace(const CommandContext& context, const ScanReport& report) {
    if (context.streams.messageTerminal()) return warnOfLowSpace(context, report);
    const auto alert = context.session.lowDiskAlert(report);
    // Where nothing can show it, it goes where the messages go: for a timer that is its journal.
    if (alert && !context.session.postNotification(alert->title, alert->body))
        complain(context.streams, alert->title + ". " + alert->body);
}

void tellOfFind(const CommandContext& context, const Scheduler::Outcome& outcome) {
    const std::uint64_t bytes = outcome.bytesLeft();
    if (outcome.wasCancelled || context.streams.messageTerminal() ||
        bytes < context.session.preferences().notifyThreshold())
        return;
    (void)context.session.postNotification(localized("%@ could be cleaned", ByteFormat::shortText(bytes)),
                                           localized("Open Brindle to review storage."));
}

std::string cleanedText(const Receipt& receipt) {
    const auto cleaned = std::ranges::count_if(receipt.entries, &ReceiptEntry::isFreeing);
    std::string text =
        localized("Cleaned automatically from %@: %@ freed.", CoreStrings::plural("count.items", cleaned),
                  ByteFormat::shortText(receipt.reclaimedBytes()));
    const auto left = static_cast<std::int64_t>(receipt.entries.size()) - cleaned;
    if (left > 0)
        text += " " + localized("%@ refused or failed: see \"brindle history\".", ByteFormat::count(left));
    return text;
}

std::string outcomeText(const Scheduler::Outcome& outcome, const Look& look) {
    std::string text = localized("%@ could be cleaned.", ByteFormat::shortText(outcome.bytesLeft()));
    if (outcome.receipt) text = cleanedText(*outcome.receipt) + " " + text;
    if (outcome.refusal) text += " " + localized("Nothing was cleaned: %@", outcome.refusal->sentence);
    return paragraphText(text, 0, look);
}

std::string outcomeJson(const Scheduler::Outcome& outcome) {
    return Json{{"schemaVersion", 1},
                {"ran", outcome.hasScanned},
                {"wasCancelled", outcome.wasCancelled},
                {"reclaimableBytes", outcome.bytesLeft()},
                {"cleanup", outcome.receipt ? Json(toSortedJson(*outcome.receipt)) : Json(nullptr)},
                {"refusal", outcome.refusal ? Json(jsonText(outcome.refusal->sentence)) : Json(nullptr)}}
               .dump(2) +
           "\n";
}

ExitCode exitCodeOf(const Scheduler::Outcome& outcome) {
    if (outcome.wasBusy) return ExitCode::kBusy;
    if (outcome.wasCancelled) return ExitCode::interrupted;
    if (outcome.refusal)
        return outcome.refusal->isHistoryUnreadable ? ExitCode::kHistoryUnreadable : ExitCode::failed;
    const bool isWhole =
        !outcome.receipt || std::ranges::all_of(outcome.receipt->entries, &ReceiptEntry::isAllGone);
    return isWhole ? ExitCode::success : ExitCode::kSomeFailed;
}

Outcome runNow(const CommandContext& context) {
    if (const auto readable = context.session.preferences().readable(); !readable)
        return refusal(context, ExitCode::failed, readable.error().describe());
    Scheduler scheduler = context.session.scheduler();
    const auto& isInterrupted = context.surroundings.isInterrupted;
    std::optional<Scheduler::Outcome> ran;
    if (context.options.onlyIfDue) {
        lowerPriority();
        ran = scheduler.runIfDue(isInterrupted);
        if (!ran) return notDue(context);
    } else {
        ran = scheduler.run(std::chrono::system_clock::now(), isInterrupted);
    }
    Scheduler::Outcome& outcome = *ran;
    if (!outcome.hasScanned) complain(context.streams, outcome.refusal->sentence);
    if (!outcome.wasCancelled && outcome.hasScanned) {
        if (outcome.receipt) outcome.report.disk = DiskInfo::current(context.session.home());
        tellOfLowSpace(context, outcome.report);
        tellOfFind(context, outcome);
    }
    const ExitCode code = exitCodeOf(outcome);
    if (context.options.isJson) return {code, outcomeJson(outcome)};
    return {code, outcome.hasScanned ? outcomeText(outcome, context.look) : ""};
}

// --- install, uninstall ---

Outcome timerOutcome(const CommandContext& context, const std::expected<ScheduleTimer::Done, Error>& done,
                     const std::string& heading) {
    if (!done) return refusal(context, ExitCode::failed, done.error().describe());
    std::string text = paragraphText(heading, 0, context.look);
    for (const std::string& path : done->files) text += "  " + printable(path) + "\n";
    if (done->complaint) complain(context.streams, *done->complaint);
    return {done->complaint ? ExitCode::failed : ExitCode::success, text};
}

Outcome install(const CommandContext& context) {
    const std::string& program = context.surroundings.program;
    if (program.empty())
        return refusal(context, ExitCode::failed,
                       localized("The system does not say where this program lies."));
    const ScheduleTimer timer = context.session.scheduleTimer(program);
    const auto files = timer.files();
    if (!files) return refusal(context, ExitCode::failed, files.error().describe());
    Outcome outcome =
        timerOutcome(context, timer.install(),
                     localized("A timer of yours now asks every hour whether it is time to scan:"));
    for (const TimerFile& file : *files)
        outcome.result += "\n" + context.look.palette.heading(printable(file.path)) + "\n" + file.content;
    if (!context.session.preferences().scheduledScansEnabled())
        complain(context.streams,
                 localized("scheduled scans are off: \"brindle schedule on\" switches them on"));
    if (outcome.code != ExitCode::success)
        complain(
            context.streams,
            localized("the files are written, but the timer does not run: start it by hand, or try again"));
    return outcome;
}

Outcome uninstall(const CommandContext& context) {
    const ScheduleTimer timer = context.session.scheduleTimer(context.surroundings.program);
    const bool wasEnabled = timer.state().isEnabled;
    const auto done = timer.uninstall();
    if (done && done->files.empty()) {
        complain(context.streams, localized("no timer is installed"));
        return {ExitCode::kNothingToDo, ""};
    }
    if (done && done->isStopped) return timerOutcome(context, done, localized("The timer is gone:"));
    return timerOutcome(context, done,
                        wasEnabled ? localized("The timer's files are gone; it may run until you log out:")
                                   : localized("The timer's files are gone:"));
}

}  // namespace

Outcome runSchedule(const CommandContext& context) {
    switch (context.options.scheduleAction) {
        case ScheduleAction::status:
            return show(context);
        case ScheduleAction::on:
            return turn(context, true);
        case ScheduleAction::off:
            return turn(context, false);
        case ScheduleAction::run:
            return runNow(context);
        case ScheduleAction::install:
            return install(context);
        case ScheduleAction::uninstall:
            return uninstall(context);
    }
    return {ExitCode::failed, ""};
}

}  // namespace brindle
