// brindle duplicates
#include <algorithm>
#include <optional>
#include <set>
#include <tuple>

#include "cli/answer.h"
#include "cli/clean_page.h"
#include "cli/command.h"
#include "cli/duplicates_page.h"
#include "cli/item_lookup.h"
#include "cli/page_rows.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

bool isSpoken(const CommandContext& context) {
    return !context.options.isJson && context.streams.messageTerminal();
}

std::string resultOf(const CommandContext& context, const FoundDuplicates& found) {
    return context.options.isJson ? duplicatesJson(found)
                                  : duplicatesText(found, context.session.home(), context.look);
}

std::expected<FoundDuplicates, std::string> searched(const CommandContext& context, const std::string& root) {
    if (isSpoken(context)) {
        context.streams.writeMessage(paragraphText(
            localized(
                "Choose a folder on your home volume. Repositories, source, package stores, hard links and "
                "recently modified or open files are excluded. Only .ipa, .apk, .aab and .whl exports "
                "outside "
                "protected locations can be moved to Trash. Other matches are inspection-only; one identical "
                "copy must remain."),
            0, context.look));
    }
    const TaskProgress progress(context,
                                localized("Files stay in place while Brindle compares their contents."));
    return context.session.findDuplicates({.root = root,
                                           .leastBytes = context.options.duplicates.leastBytes,
                                           .isCancelled = context.surroundings.isInterrupted});
}

// --- which copy stays ---

using Wish = std::optional<std::string>;  // a path; absent: by age

bool isOlder(const DuplicateFile& left, const DuplicateFile& right) {
    return std::tie(left.modified, left.modifiedNanoseconds, left.path) <
           std::tie(right.modified, right.modifiedNanoseconds, right.path);
}

// Those that stay whatever may go; none where the wish names no copy of this content.
std::vector<const DuplicateFile*> keptOf(const FoundDuplicates& found, const DuplicateGroup& group,
                                         const std::string& keep, const Wish& place) {
    std::vector<const DuplicateFile*> lasting;
    for (const DuplicateFile& file : group.files) {
        if (!found.fleeting.contains(file.path) && (!place || isAtOrBelow(file.path, *place)))
            lasting.push_back(&file);
    }
    if (place || lasting.empty()) return lasting;
    const auto [oldest, newest] = std::ranges::minmax_element(
        lasting, [](const auto* left, const auto* right) { return isOlder(*left, *right); });
    return {keep == "oldest" ? *oldest : *newest};
}

std::vector<DuplicateChoice> choicesFrom(const FoundDuplicates& found, const std::string& keep,
                                         const Wish& place) {
    std::vector<DuplicateChoice> choices;
    for (const DuplicateGroup& group : found.report.groups) {
        const auto kept = keptOf(found, group, keep, place);
        if (kept.empty()) continue;
        DuplicateChoice choice{.kept = kept.front()->path, .moved = {}};
        for (const DuplicateFile& file : group.files) {
            const bool isWanted = place && isAtOrBelow(file.path, *place);
            if (found.mayGo(file) && !isWanted && std::ranges::find(kept, &file) == kept.end())
                choice.moved.push_back(file.path);
        }
        if (choice.moved.empty()) continue;
        choice.bytes = group.bytesFreedWithout({choice.moved.begin(), choice.moved.end()});
        choices.push_back(std::move(choice));
    }
    return choices;
}

// --- moving ---

Outcome carryOut(const CommandContext& context, const FoundDuplicates& found,
                 const std::vector<DuplicateChoice>& choices) {
    std::set<std::string> selection;
    std::set<std::string> preferred;
    for (const DuplicateChoice& choice : choices) {
        selection.insert(choice.moved.begin(), choice.moved.end());
        preferred.insert(choice.kept);
    }
    TaskProgress progress(context, localized("cleaning"));
    const auto outcome = context.session.trashDuplicates(
        {.report = found.report,
         .selection = std::move(selection),
         .preferred = std::move(preferred),
         .isCancelled = context.surroundings.isInterrupted,
         .onItem = [&](const CleanupItem& item) { progress.change(printable(item.title())); }});
    if (!outcome) return refusal(context, exitCodeFor(outcome.error().kind), outcome.error().sentence);
    const ExitCode code = exitCodeOf(context, *outcome,
                                     std::ranges::all_of(outcome->receipt.entries, &ReceiptEntry::isAllGone));
    if (!context.options.isJson) return {code, trashedDuplicatesText(*outcome, context.look)};
    return {code, outcomeJson({.outcome = *outcome, .items = {}, .leftAlone = {}})};
}

std::expected<Wish, Outcome> placeToKeep(const CommandContext& context) {
    const std::string& keep = context.options.duplicates.keep;
    if (keep == "oldest" || keep == "newest") return std::nullopt;
    const auto place = absolutePath(keep, context.surroundings.workingFolder, context.session.home());
    if (!place) {
        return std::unexpected(refusal(context, ExitCode::failed, localized("the current folder is gone")));
    }
    auto real = canonicalPath(*place);
    if (real) return *std::move(real);
    return std::unexpected(refusal(context, ExitCode::notFound, "--keep: " + real.error().describe()));
}

Outcome trashCopies(const CommandContext& context, const FoundDuplicates& found, const Wish& place) {
    const std::vector<DuplicateChoice> choices = choicesFrom(found, context.options.duplicates.keep, place);
    if (choices.empty())
        return refusal(context, ExitCode::kNothingToDo, localized("there is no copy that may be moved"));
    if (!context.options.isJson) context.streams.writeMessage(duplicateIntentText(choices, context.look));
    if (!context.options.duplicates.isConfirmed) {
        if (auto outcome = declinedRemoval(context, localized("Move them to the Trash?")))
            return *std::move(outcome);
    }
    return carryOut(context, found, choices);
}

}  // namespace

Outcome runDuplicates(const CommandContext& context) {
    const DuplicateWish& wish = context.options.duplicates;
    if (wish.trashes && !context.session.history().loadChecked())
        return refusal(context, ExitCode::kHistoryUnreadable,
                       localized("History cannot be read; cleanup has not started."));
    const auto root =
        absolutePath(context.options.subject, context.surroundings.workingFolder, context.session.home());
    if (!root) return refusal(context, ExitCode::failed, localized("the current folder is gone"));
    std::expected<Wish, Outcome> place;
    if (wish.trashes) place = placeToKeep(context);
    if (!place) return place.error();
    const auto found = searched(context, *root);
    if (!found) return refusal(context, ExitCode::failed, found.error());
    if (found->report.cancelled) return {ExitCode::interrupted, resultOf(context, *found)};
    if (wish.trashes) return trashCopies(context, *found, *place);
    return {unlessInterrupted(context), resultOf(context, *found)};
}

}  // namespace brindle
