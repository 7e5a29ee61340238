// brindle clean
#include <optional>
#include <utility>

#include "cli/answer.h"
#include "cli/clean_page.h"
#include "cli/clean_selection.h"
#include "cli/command.h"
#include "cli/item_lookup.h"
#include "cli/page_rows.h"
#include "cli/unreachable_view.h"
#include "core/platform/volume.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

// What is to go, settled; `leftAlone` was asked for, too.
struct Task {
    const ScanReport& report;
    std::vector<CleanupItem> items;
    std::vector<ItemLeftAlone> leftAlone;
};

// What is said before the result goes where the questions go.
Look messageLook(const CommandContext& context) {
    constexpr unsigned kLeastWidth = 24;
    const auto terminal = context.streams.messageTerminal();
    const auto& environment = context.surroundings.environment;
    const bool isPlain = context.options.isColourForbidden;
    return {.width = std::max(terminal.value_or(80), kLeastWidth),
            .palette = Palette(wantsColour(environment, isPlain, terminal.has_value())),
            .glyphs = context.look.glyphs};
}

void say(const CommandContext& context, const std::string& text) {
    if (!context.options.isJson) context.streams.writeMessage(text);
}

std::optional<std::string> planPath(const CommandContext& context) {
    const auto& file = context.options.clean.planFile;
    if (!file) return std::nullopt;
    const auto path = absolutePath(*file, context.surroundings.workingFolder, context.session.home());
    return path.value_or(*file);
}

// --- before anything is looked for ---

std::optional<Outcome> obstacle(const CommandContext& context) {
    const CleanWish& wish = context.options.clean;
    if (const auto readable = context.session.preferences().readable(); !readable) {
        complain(context.streams, readable.error().describe());
        return refusal(context, ExitCode::failed,
                       localized("what you protected is not known, so nothing is removed"));
    }
    if (!context.session.history().loadChecked()) {
        return refusal(context, ExitCode::kHistoryUnreadable,
                       localized("History cannot be read; cleanup has not started."));
    }
    const auto plan = planPath(context);
    if (!plan || !wish.isRehearsal) return std::nullopt;
    if (const auto free = mayHoldPlan(*plan); !free)
        return refusal(context, ExitCode::failed, free.error().describe());
    return std::nullopt;
}

Outcome sayWhatToGive(const CommandContext& context) {
    return refusal(
        context, ExitCode::usage,
        localized("say what to clean: names of items, --safe, --module, --older-than or --min-size; "
                  "\"brindle scan\" lists the items"));
}

// --- choosing ---

ScanReport scanned(const CommandContext& context, std::set<ModuleID> modules) {
    ScanOptions options;
    options.includeDisabled = !context.options.clean.subjects.empty();
    options.only = std::move(modules);
    options.includeSurvey = false;
    return scanShowingProgress(context, options).report;
}

// Absent when nobody can answer. Nothing picked is an empty list.
std::optional<std::vector<CleanupItem>> pick(const CommandContext& context, const ScanReport& report) {
    constexpr int kMostTries = 3;
    const std::vector<CleanupItem> items = itemsToPickFrom(report);
    if (items.empty()) return std::vector<CleanupItem>();
    const ScanContext clock = context.session.context({});
    say(context,
        choiceText(items, [clock](auto date) { return clock.relativeAge(date); }, messageLook(context)));
    for (int tries = 0; tries < kMostTries; ++tries) {
        const auto answer =
            context.streams.ask(localized("Which? Numbers and ranges such as 1 3-5, or: all safe") + " ");
        if (!answer) return std::nullopt;
        if (auto chosen = picked(*answer, items)) return chosen;
        say(context, localized("%@ was not understood.", printable(*answer)) + "\n");
    }
    return std::vector<CleanupItem>();
}

// --- carrying out ---

std::expected<CleanOutcome, CleanRefusal> cleaned(const CommandContext& context, const Task& task) {
    TaskProgress progress(context, localized("cleaning"));
    const std::string total = ByteFormat::count(static_cast<std::int64_t>(task.items.size()));
    std::int64_t begun = 0;
    std::uint64_t freed = 0;
    const std::string dot(context.look.glyphs.dot());
    return context.session.clean(
        {.items = task.items,
         .report = task.report,
         .isDryRun = context.options.clean.isRehearsal,
         .isCancelled = context.surroundings.isInterrupted,
         .onItem =
             [&](const CleanupItem& item) {
                 progress.change(localized("%@ of %@", ByteFormat::count(++begun), total) + dot +
                                 printable(item.title()) + dot +
                                 localized("%@ freed", ByteFormat::shortText(freed)));
             },
         .onProgress = [&](const CleanProgress& done) { freed = done.bytesFreedSoFar; }});
}

// Of a rehearsal that was not cut short.
std::optional<Outcome> putDown(const CommandContext& context, const Task& task) {
    const auto path = planPath(context);
    if (!path) return std::nullopt;
    const CleanupPlan plan = planFor(task.items, context.session.home(), context.session.context({}).now);
    if (const auto written = writePlan(*path, plan); !written)
        return refusal(context, ExitCode::failed, written.error().describe());
    say(context, localized("The plan is in %@.", printable(*path)) + "\n");
    return std::nullopt;
}

Outcome carryOut(const CommandContext& context, const Task& task, const std::string& shown) {
    const auto outcome = cleaned(context, task);
    if (!outcome) return refusal(context, exitCodeFor(outcome.error().kind), outcome.error().sentence);
    const CleanResult result{.outcome = *outcome,
                             .items = task.items,
                             .leftAlone = task.leftAlone,
                             .mayShareBlocks = canCloneFiles(context.session.home())};
    const ExitCode code = exitCodeOf(context, *outcome, isAllDone(result));
    std::string text =
        context.options.isJson ? outcomeJson(result) : shown + outcomeText(result, context.look);
    if (!context.options.clean.isRehearsal || outcome->isInterrupted) return {code, text};
    if (const auto failed = putDown(context, task)) return {failed->code, text};
    return {code, text};
}

Outcome nothingChosen(const CommandContext& context, const Task& task) {
    if (task.leftAlone.empty())
        return refusal(context, ExitCode::kNothingToDo, localized("there is nothing to clean"));
    say(context, leftAloneText(task.leftAlone, messageLook(context)));
    complain(context.streams, localized("nothing was removed"));
    return {ExitCode::kSomeFailed, context.options.isJson ? nothingDoneJson(task.leftAlone) : ""};
}

Outcome clean(const CommandContext& context, const Task& task) {
    if (context.surroundings.isInterrupted()) return interruptedRemoval(context);
    if (task.items.empty()) return nothingChosen(context, task);
    // A rehearsal is all result: nothing has to be seen before it.
    if (context.options.clean.isRehearsal)
        return carryOut(context, task, intentText(task.items, context.look) + "\n");
    const Look look = messageLook(context);
    say(context, leftAloneText(task.leftAlone, look) + intentText(task.items, look));
    if (!context.options.clean.isConfirmed) {
        const auto count = static_cast<std::int64_t>(task.items.size());
        if (auto outcome = declinedRemoval(context, CoreStrings::plural("count.cleanItems", count)))
            return *std::move(outcome);
    }
    return carryOut(context, task, "");
}

// --- the three ways to say what is meant ---

Outcome cleanAsPlanned(const CommandContext& context) {
    const auto plan = readPlan(*planPath(context));
    if (!plan) return refusal(context, ExitCode::failed, plan.error().describe());
    if (plan->home != context.session.home()) {
        return refusal(context, ExitCode::failed,
                       localized("the plan was made for %@, not for this home", printable(plan->home)));
    }
    std::set<ModuleID> modules;
    for (const CleanupPlanItem& item : plan->items) {
        if (const auto module = moduleNamedBy(item.id)) modules.insert(*module);
    }
    const ScanReport report = modules.empty() ? ScanReport() : scanned(context, modules);
    PlannedCleanup planned = asPlanned(*plan, report);
    return clean(context, {report, std::move(planned.items), std::move(planned.leftAlone)});
}

Outcome cleanPicked(const CommandContext& context) {
    if (context.options.isJson || !context.streams.messageTerminal()) return sayWhatToGive(context);
    const ScanReport report = scanned(context, {});
    if (context.surroundings.isInterrupted()) return interruptedRemoval(context);
    auto items = pick(context, report);
    if (context.surroundings.isInterrupted()) return interruptedRemoval(context);
    if (!items) return sayWhatToGive(context);
    if (items->empty() && !itemsToPickFrom(report).empty())
        return refusal(context, ExitCode::kNothingToDo, localized("nothing was chosen"));
    return clean(context, {report, *std::move(items), {}});
}

Outcome cleanChosen(const CommandContext& context) {
    const ScanReport report = scanned(context, modulesFor(context.options));
    if (context.surroundings.isInterrupted()) return interruptedRemoval(context);
    auto selection = selectItems({.report = report,
                                  .wish = context.options.clean,
                                  .home = context.session.home(),
                                  .workingFolder = context.surroundings.workingFolder,
                                  .now = context.session.context({}).now});
    if (!selection) return refusal(context, selection.error().code, selection.error().sentence);
    say(context, passedOverText(*selection, messageLook(context)));
    return clean(context, {report, std::move(selection->chosen), std::move(selection->leftAlone)});
}

}  // namespace

Outcome runClean(const CommandContext& context) {
    if (auto outcome = obstacle(context)) return *std::move(outcome);
    if (context.options.clean.isPlanCarriedOut()) return cleanAsPlanned(context);
    return context.options.choosesItems() ? cleanChosen(context) : cleanPicked(context);
}

}  // namespace brindle
