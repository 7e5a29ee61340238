#include "cli/schedule_page.h"

#include <algorithm>

#include "cli/page_rows.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

std::string momentText(TimePoint moment) {
    return minuteText(std::chrono::floor<std::chrono::seconds>(moment)).value_or("");
}

Json momentJson(const std::optional<TimePoint>& moment) {
    return moment ? Json(iso8601(*moment)) : Json(nullptr);
}

std::string timerText(const ScheduleView& view) {
    if (!view.timer.isInstalled) {
        return view.isOn ? localized(
                               "none: scheduled scans run only while the application does, or when you say "
                               "\"brindle schedule install\"")
                         : localized("none");
    }
    const std::string problem = timerProblem(view.timer, view.program);
    return problem.empty() ? localized("installed: asks every hour whether it is time") : problem;
}

}  // namespace

std::string timerProblem(const ScheduleTimer::State& timer, const std::string& program) {
    if (!timer.isInstalled) return "";
    if (!timer.program)
        return localized(
            "The timer's file does not say what it starts: \"brindle schedule install\" writes it anew.");
    const std::string shown = printable(*timer.program);
    if (!timer.isProgramThere)
        return localized(
            "The timer starts %@, which is not there any more: \"brindle schedule install\" has it start "
            "this program.",
            shown);
    if (*timer.program != program) {
        return localized(
            "The timer starts another program, %@: \"brindle schedule install\" has it start this one.",
            shown);
    }
    if (timer.isEnabled) return "";
    return localized(
        "The timer's files are there, but the system did not take notice: \"brindle schedule install\" tries "
        "again.");
}

std::string runSentence(const ScheduledRun& run) {
    std::string text;
    if (run.wasCancelled) text = localized("stopped before it was done");
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
    if (run.receipt) add(localized("%@ cleaned by itself", ByteFormat::shortText(run.cleanedBytes)));
    if (!run.refusal || run.reclaimableBytes > 0)
        add(localized("%@ could be cleaned", ByteFormat::shortText(run.reclaimableBytes)));
    if (run.refusal) add(printable(*run.refusal));
    return text;
}

std::string scheduledRunsText(const std::vector<ScheduledRun>& runs, const Look& look) {
    constexpr std::size_t kMost = 10;
    constexpr unsigned kIndent = 2;
    if (runs.empty()) return "";
    std::string text = "\n" + look.palette.heading(localized("Scheduled scans")) + "\n";
    for (std::size_t index = 0; index < std::min(runs.size(), kMost); ++index)
        text += paragraphText(momentText(runs[index].at) + ": " + runSentence(runs[index]), kIndent, look);
    return text;
}

std::string scheduleText(const ScheduleView& view, const Look& look) {
    Rows rows{{localized("Scheduled scans"), {view.isOn ? displayName(view.cadence) : localized("off")}}};
    rows.push_back(
        {localized("Cleans by itself"),
         {view.cleans ? localized("what is safe and belongs to no project") : localized("nothing")}});
    rows.push_back({localized("Last run"), {view.lastRun ? momentText(*view.lastRun) : localized("never")}});
    if (view.nextRun)
        rows.push_back(
            {localized("Next run"), {view.isOverdue ? localized("due now") : momentText(*view.nextRun)}});
    rows.push_back({localized("Timer"), {timerText(view)}});
    return rowsText(rows, look) + scheduledRunsText(view.runs, look);
}

Json runsJson(const std::vector<ScheduledRun>& runs) {
    Json list = Json::array();
    for (const ScheduledRun& run : runs) {
        list.push_back({{"at", iso8601(run.at)},
                        {"reclaimableBytes", run.reclaimableBytes},
                        {"cleanup", run.receipt ? Json(run.receipt->text()) : Json(nullptr)},
                        {"cleanedBytes", run.cleanedBytes},
                        {"wasCancelled", run.wasCancelled},
                        {"refusal", run.refusal ? Json(jsonText(*run.refusal)) : Json(nullptr)}});
    }
    return list;
}

std::string scheduleJson(const ScheduleView& view) {
    const ScheduleTimer::State& timer = view.timer;
    return Json{{"schemaVersion", 1},
                {"isOn", view.isOn},
                {"cadence", rawText(view.cadence)},
                {"cleans", view.cleans},
                {"lastRun", momentJson(view.lastRun)},
                {"nextRun", momentJson(view.nextRun)},
                {"isOverdue", view.isOverdue},
                {"timer",
                 {{"isInstalled", timer.isInstalled},
                  {"isEnabled", timer.isEnabled},
                  {"program", timer.program ? Json(jsonText(*timer.program)) : Json(nullptr)},
                  {"isProgramThere", timer.isProgramThere}}},
                {"runs", runsJson(view.runs)}}
               .dump(2) +
           "\n";
}

}  // namespace brindle
