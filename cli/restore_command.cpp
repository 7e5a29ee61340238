// brindle restore
#include <algorithm>

#include "cli/answer.h"
#include "cli/command.h"
#include "cli/item_lookup.h"
#include "cli/page_rows.h"
#include "cli/receipt_lookup.h"
#include "cli/unreachable_view.h"
#include "core/model/model_json.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

using End = PutBackResult::End;
using Restored = std::expected<PutBackOutcome, PutBackRefusal>;

// What is to be done, and how it is shown.
struct RestoreTask {
    const CommandContext& context;
    PutBackOrder order;
    std::string identity;  // of the receipt, in commands
};

Restored putBack(const RestoreTask& task, bool isDryRun) {
    PutBackOrder order = task.order;
    order.isDryRun = isDryRun;
    return task.context.session.putBack(order);
}

ExitCode codeOf(PutBackRefusal::Kind kind) {
    switch (kind) {
        case PutBackRefusal::Kind::historyUnreadable:
            return ExitCode::kHistoryUnreadable;
        case PutBackRefusal::Kind::busy:
            return ExitCode::kBusy;
        case PutBackRefusal::Kind::unknown:
            return ExitCode::notFound;
        case PutBackRefusal::Kind::severalThings:
            return ExitCode::usage;
        case PutBackRefusal::Kind::notRecordable:
            return ExitCode::failed;
    }
    return ExitCode::failed;
}

ExitCode codeOf(const PutBackOutcome& outcome) {
    if (outcome.unrecorded) return ExitCode::failed;
    if (outcome.isInterrupted) return ExitCode::interrupted;
    if (outcome.results.empty()) return ExitCode::kNothingToDo;
    return std::ranges::all_of(outcome.results, &PutBackResult::isBack) ? ExitCode::success
                                                                        : ExitCode::kSomeFailed;
}

std::string lineOf(const PutBackResult& result, bool isDryRun, const RestoreTask& task) {
    const Look& look = task.context.look;
    const std::string place = shownPath(result.place, task.context.session.home());
    if (result.end != End::done) return look.palette.warning(paragraphText(result.sentence, 2, look));
    return paragraphText(isDryRun ? localized("%@ would be put back", place) : localized("%@ is back", place),
                         2, look);
}

// The thing by its number while it is the only one, otherwise by where it was.
std::string otherNameText(const PutBackOutcome& outcome, const RestoreTask& task) {
    const auto inTheWay = std::ranges::find(outcome.results, End::occupied, &PutBackResult::end);
    if (inTheWay == outcome.results.end()) return "";
    const auto isOfEntry = [&](const PutBackResult& each) { return each.entry == inTheWay->entry; };
    std::string what = std::to_string(inTheWay->entry + 1);
    if (std::ranges::count_if(outcome.results, isOfEntry) > 1)
        what = shellWord(inTheWay->from).value_or(what);
    return paragraphText(localized("To put it back under another name:"), 0, task.context.look) +
           commandText("brindle restore " + task.identity + " " + what + " --as PATH");
}

std::string textOf(const PutBackOutcome& outcome, bool isDryRun, const RestoreTask& task) {
    const Look& look = task.context.look;
    if (outcome.results.empty() && !outcome.isInterrupted)
        return paragraphText(localized("Nothing of it lies in the Trash."), 0, look);
    std::string text;
    for (const PutBackResult& result : outcome.results) text += lineOf(result, isDryRun, task);
    return text + otherNameText(outcome, task);
}

std::string_view rawText(End end) {
    switch (end) {
        case End::done:
            return "putBack";
        case End::wasBack:
            return "wasBack";
        case End::occupied:
            return "occupied";
        case End::gone:
            return "gone";
        case End::replaced:
            return "replaced";
        case End::failed:
            return "failed";
    }
    return "";
}

std::string jsonOf(const PutBackOutcome& outcome, bool isDryRun) {
    Json results = Json::array();
    for (const PutBackResult& result : outcome.results) {
        results.push_back(
            {{"entry", result.entry + 1},
             {"itemID", jsonText(outcome.receipt.entries[result.entry].itemID)},
             {"trashed", jsonText(result.trashed)},
             {"place", result.place.empty() ? Json(nullptr) : Json(jsonText(result.place))},
             {"outcome", rawText(result.end)},
             {"reason", result.sentence.empty() ? Json(nullptr) : Json(jsonText(result.sentence))}});
    }
    return Json{{"schemaVersion", 1},
                {"id", outcome.receipt.id.text()},
                {"isDryRun", isDryRun},
                {"isPartial", outcome.isInterrupted || outcome.unrecorded.has_value()},
                {"results", std::move(results)}}
               .dump(2) +
           "\n";
}

Outcome told(const RestoreTask& task, const Restored& restored, bool isDryRun) {
    const CommandContext& context = task.context;
    if (!restored) return refusal(context, codeOf(restored.error().kind), restored.error().sentence);
    if (restored->unrecorded) {
        complain(context.streams, localized("what is back could not be noted in the history: %@",
                                            restored->unrecorded->describe()));
    }
    if (restored->isInterrupted) complain(context.streams, localized("interrupted; the rest was left alone"));
    return {codeOf(*restored),
            context.options.isJson ? jsonOf(*restored, isDryRun) : textOf(*restored, isDryRun, task)};
}

// What would happen is found out by a rehearsal, so nothing is asked about that cannot be done.
Outcome restoreAfterAsking(const RestoreTask& task) {
    const Restored rehearsed = putBack(task, true);
    if (!rehearsed || rehearsed->isInterrupted) return told(task, rehearsed, true);
    const bool isAnyPossible = std::ranges::any_of(rehearsed->results, &PutBackResult::isBack);
    if (!isAnyPossible) return told(task, rehearsed, true);
    const CommandContext& context = task.context;
    context.streams.writeMessage(localized("This will be put back:") + "\n" + textOf(*rehearsed, true, task));
    const auto answer = context.streams.ask(localized("Put it back?") + " [y/N] ");
    if (context.surroundings.isInterrupted())
        return refusal(context, ExitCode::interrupted, localized("Nothing was put back."));
    if (!answer) {
        return refusal(context, ExitCode::failed,
                       localized("nothing was put back: there is no terminal on which to ask first; --yes "
                                 "puts back without asking"));
    }
    if (!isYes(*answer)) return {ExitCode::success, localized("Nothing was put back.") + "\n"};
    return told(task, putBack(task, false), false);
}

}  // namespace

Outcome runRestore(const CommandContext& context) {
    const RestoreOptions& asked = context.options.restore;
    const auto receipts = readableHistory(context);
    if (!receipts) return receipts.error();
    const auto index = receiptNamed(context.options.subject, *receipts);
    if (!index) return refusal(context, ExitCode::notFound, index.error());
    const Receipt& receipt = (*receipts)[*index];
    const auto pathOf = [&context](const std::string& typed) {
        return absolutePath(typed, context.surroundings.workingFolder, context.session.home());
    };
    const auto choices = choicesNamed(asked.entries, receipt, pathOf);
    if (!choices) return refusal(context, ExitCode::notFound, choices.error());
    RestoreTask task{.context = context,
                     .order = {.receipt = receipt.id,
                               .choices = *choices,
                               .isCancelled = context.surroundings.isInterrupted},
                     .identity = shortIdentity(receipt, *receipts)};
    if (asked.place) {
        task.order.place = pathOf(*asked.place);
        if (!task.order.place)
            return refusal(context, ExitCode::failed, localized("the current folder is gone"));
    }
    if (asked.isRehearsal) return told(task, putBack(task, true), true);
    return asked.isAgreed ? told(task, putBack(task, false), false) : restoreAfterAsking(task);
}

}  // namespace brindle
