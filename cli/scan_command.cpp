// brindle scan
#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

#include "cli/command.h"
#include "cli/progress.h"
#include "cli/report_view.h"
#include "core/model/model_json.h"
#include "core/scan/report_json.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

// Leaves the totals alone: they are those of the whole scan.
void removeHidden(Json& report, const ScanReport& scanned, const ItemFilter& filter) {
    std::set<std::string> hidden;
    for (const CleanupItem& item : scanned.allItems()) {
        if (!filter.shows(item.classification, item.bytes())) hidden.insert(jsonText(item.id));
    }
    for (Json& module : report["modules"]) {
        Json kept = Json::array();
        for (Json& item : module["items"]) {
            if (!hidden.contains(item["id"].get<std::string>())) kept.push_back(std::move(item));
        }
        module["items"] = std::move(kept);
    }
}

std::string jsonResult(const CommandContext& context, const ShownScan& scan, bool isInterrupted) {
    Json json = reportJson(scan.report, context.session.home(), isInterrupted);
    removeHidden(json, scan.report, context.options.filter);
    if (isInterrupted) {
        json["unfinishedModules"] = Json::array();
        for (const ModuleID module : scan.unfinished) json["unfinishedModules"].push_back(rawText(module));
    }
    return json.dump(2) + "\n";
}

std::string textResult(const CommandContext& context, const ShownScan& scan, bool isInterrupted) {
    const ScanContext clock = context.session.context({});
    return reportText({.report = scan.report,
                       .filter = context.options.filter,
                       .home = context.session.home(),
                       .age = [clock](auto date) { return clock.relativeAge(date); },
                       .isInterrupted = isInterrupted,
                       .unfinished = scan.unfinished,
                       .isOneModule = context.options.only.has_value(),
                       .look = context.look});
}

void showTimings(Streams& streams, const std::vector<StageTiming>& timings) {
    std::string text;
    for (const StageTiming& each : timings) {
        text +=
            localized("%@: %@ ms", each.stage, ByteFormat::count(std::lround(each.seconds * 1000))) + "\n";
    }
    streams.writeMessage(text);
}

}  // namespace

TaskProgress::TaskProgress(const CommandContext& context, std::string task)
    : progress_(context.streams, {.isCancelled = context.surroundings.isInterrupted,
                                  .glyphs = {.isUnicode = speaksUtf8(context.surroundings.environment)},
                                  .isWanted = !isDumbTerminal(context.surroundings.environment),
                                  .task = std::move(task)}) {}

void warnOfLowSpace(const CommandContext& context, const ScanReport& report) {
    if (!context.streams.messageTerminal()) return;
    if (const auto alert = context.session.lowDiskAlert(report))
        complain(context.streams, alert->title + ". " + alert->body);
}

namespace {

ShownScan scanned(const CommandContext& context, ScanOptions options) {
    const auto& environment = context.surroundings.environment;
    options.isCancelled = context.surroundings.isInterrupted;
    std::vector<ModuleID> running = context.session.modulesToRun(options);
    Progress progress(context.streams, {.moduleCount = running.size(),
                                        .isCancelled = options.isCancelled,
                                        .glyphs = {.isUnicode = speaksUtf8(environment)},
                                        .isWanted = !isDumbTerminal(environment)});
    options.onModuleFinished = [&](const ModuleResult& result) {
        progress.moduleFinished(result);
        // Several modules may share one identity: each takes its own entry away.
        const auto entry = std::ranges::find(running, result.moduleID);
        if (entry != running.end() && !options.isCancelled()) running.erase(entry);
    };
    ShownScan scan{context.session.scan(options), {}};
    std::ranges::sort(running);
    std::ranges::unique_copy(running, std::back_inserter(scan.unfinished));
    return scan;
}

}  // namespace

ShownScan scanShowingProgress(const CommandContext& context, ScanOptions options) {
    ShownScan scan = scanned(context, std::move(options));
    warnOfLowSpace(context, scan.report);
    return scan;
}

Outcome runScan(const CommandContext& context) {
    ScanOptions options;
    options.includeProjects = context.options.includesProjects;
    if (context.options.only) options.only = {*context.options.only};
    if (context.session.modulesToRun(options).empty()) {
        complain(context.streams,
                 localized("no module looks for anything: \"brindle modules\" lists those that there "
                           "are, and whether they are disabled"));
    }
    std::vector<StageTiming> timings;
    options.onTimings = [&](const std::vector<StageTiming>& all) { timings = all; };
    const ShownScan scan = scanShowingProgress(context, options);
    const ExitCode code = unlessInterrupted(context);
    const bool isInterrupted = code == ExitCode::interrupted;
    if (context.options.showsTimings) showTimings(context.streams, timings);
    return {code, context.options.isJson ? jsonResult(context, scan, isInterrupted)
                                         : textResult(context, scan, isInterrupted)};
}

}  // namespace brindle
