#include "cli/clean_selection.h"

#include <algorithm>
#include <iterator>

#include "cli/answer.h"
#include "cli/item_lookup.h"
#include "cli/unreachable_view.h"
#include "core/text/ascii.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Found = std::expected<CleanupItem, SelectionError>;

// --- what a name means ---

std::unexpected<SelectionError> unknown(const std::string& subject, const std::vector<CleanupItem>& items) {
    return std::unexpected(SelectionError{ExitCode::notFound, unknownItemText(subject, items)});
}

std::string idsOf(const std::vector<CleanupItem>& items) {
    std::string text;
    for (const CleanupItem& item : items) text += (text.empty() ? "" : ", ") + printable(item.id);
    return text;
}

// A slip of the finger must not name anything.
constexpr std::size_t kShortestPart = 3;

// "pip" is "python.pip" whatever else there is; a part of a name means something else on another day.
bool isLastPart(std::string_view subject, std::string_view id) {
    return id.ends_with(subject) && id.size() > subject.size() && id[id.size() - subject.size() - 1] == '.';
}

Found itemWithPart(const std::string& subject, const std::vector<CleanupItem>& items, bool isAsked) {
    const auto named = std::ranges::find(items, subject, &CleanupItem::id);
    if (named != items.end()) return *named;
    std::vector<CleanupItem> found;
    std::ranges::copy_if(items, std::back_inserter(found),
                         [&](const CleanupItem& item) { return item.id.contains(subject); });
    if (subject.size() < kShortestPart || found.empty()) return unknown(subject, items);
    if (found.size() == 1 && (isAsked || isLastPart(subject, found.front().id))) return found.front();
    if (found.size() == 1) {
        return std::unexpected(SelectionError{
            ExitCode::usage, localized("%@ is a part of the name %@; --yes takes only whole names",
                                       printable(subject), printable(found.front().id))});
    }
    return std::unexpected(SelectionError{
        ExitCode::usage, localized("%@ may mean several items: %@", printable(subject), idsOf(found))});
}

// A path stands for an item only when it is the item's own: whoever names a part of it does not mean the whole.
Found itemAtPath(const std::string& path, const SelectionQuestion& question,
                 const std::vector<CleanupItem>& items) {
    const Coverage coverage = coverageOf(path, items, question.home);
    if (coverage.covering.empty() && coverage.inside.empty()) return unknown(path, items);
    const std::string shown = shownPath(path, question.home);
    if (coverage.covering.empty()) {
        return std::unexpected(SelectionError{
            ExitCode::usage, localized("%@ is no item itself; it holds %@", shown, idsOf(coverage.inside))});
    }
    const CleanupItem& item = coverage.covering.front();
    if (isPlaceOf(item, path, question.home)) return item;
    return std::unexpected(SelectionError{
        ExitCode::usage,
        localized("%@ is a part of the item %@; name that to clean all of it", shown, printable(item.id))});
}

Found itemNamed(const std::string& subject, const SelectionQuestion& question,
                const std::vector<CleanupItem>& items) {
    const auto exact = std::ranges::find(items, subject, &CleanupItem::id);
    if (exact != items.end()) return *exact;
    if (!looksLikePath(subject) || moduleNamedBy(subject))
        return itemWithPart(subject, items, !question.wish.isConfirmed);
    const auto path = absolutePath(subject, question.workingFolder, question.home);
    if (path) return itemAtPath(*path, question, items);
    return std::unexpected(SelectionError{ExitCode::failed, localized("the current folder is gone")});
}

// --- whether an item fits ---

std::optional<std::string> tooSmall(const CleanupItem& item, const CleanWish& wish) {
    if (!wish.leastBytes || item.bytes() >= *wish.leastBytes) return std::nullopt;
    return localized("it is smaller than %@", ByteFormat::shortText(*wish.leastBytes));
}

bool isUndated(const CleanupItem& item, const SelectionQuestion& question) {
    const auto modified = item.measurement.newestModified;
    return !modified || !wholeDaysBetween(*modified, std::chrono::floor<std::chrono::seconds>(question.now));
}

std::optional<std::string> tooYoung(const CleanupItem& item, const SelectionQuestion& question) {
    const CleanWish& wish = question.wish;
    if (!wish.leastDays) return std::nullopt;
    if (isUndated(item, question)) return localized("nothing tells when it was last written to");
    const auto now = std::chrono::floor<std::chrono::seconds>(question.now);
    const auto days = wholeDaysBetween(*item.measurement.newestModified, now);
    if (*days >= *wish.leastDays) return std::nullopt;
    return localized("it was written to less than %@ days ago", ByteFormat::count(*wish.leastDays));
}

// As its own page tells it.
std::string reasonOfProtection(const CleanupItem& item) {
    for (const Fact& fact : item.explanation.facts) {
        if (fact.storedLabel == "Not removed because") return fact.value();
    }
    return item.explanation.whatItIs();
}

// The guard's sentence, and why the item was judged so.
std::optional<std::string> tooRisky(const CleanupItem& item, const CleanWish& wish) {
    if (!isRemovable(item.classification))
        return localized("classified protected") + ": " + reasonOfProtection(item);
    if (wish.onlySafe && item.classification != Classification::safe)
        return localized("it is judged \"%@\"", displayName(item.classification));
    return std::nullopt;
}

std::expected<CleanSelection, SelectionError> selectNamed(const SelectionQuestion& question) {
    const std::vector<CleanupItem> items = question.report.allItems();
    CleanSelection selection;
    std::set<std::string> seen;
    for (const std::string& subject : question.wish.subjects) {
        const Found item = itemNamed(subject, question, items);
        if (!item) return std::unexpected(item.error());
        if (!seen.insert(item->id).second) continue;
        auto reason = tooRisky(*item, question.wish);
        if (!reason) reason = tooSmall(*item, question.wish);
        if (!reason) reason = tooYoung(*item, question);
        if (reason)
            selection.leftAlone.push_back({item->id, item->title(), *reason});
        else
            selection.chosen.push_back(*item);
    }
    return selection;
}

CleanSelection selectFitting(const SelectionQuestion& question) {
    CleanSelection selection;
    for (const CleanupItem& item : question.report.allItems()) {
        if (tooRisky(item, question.wish) || tooSmall(item, question.wish)) continue;
        const bool isUnknownAge = question.wish.leastDays && isUndated(item, question);
        if (!isUnknownAge && tooYoung(item, question)) continue;
        if (item.classification == Classification::review && !question.wish.includesReview)
            ++selection.reviewCount;
        else if (isUnknownAge)
            ++selection.undatedCount;
        else
            selection.chosen.push_back(item);
    }
    return selection;
}

}  // namespace

std::set<ModuleID> modulesFor(const Options& options) {
    if (options.only) return {*options.only};
    std::set<ModuleID> modules;
    for (const std::string& subject : options.clean.subjects) {
        const auto module = moduleNamedBy(subject);
        if (!module) return {};
        modules.insert(*module);
    }
    return modules;
}

std::expected<CleanSelection, SelectionError> selectItems(const SelectionQuestion& question) {
    if (question.wish.subjects.empty()) return selectFitting(question);
    return selectNamed(question);
}

std::vector<CleanupItem> itemsToPickFrom(const ScanReport& report) {
    std::vector<CleanupItem> items = report.allItems();
    std::erase_if(items, [](const CleanupItem& item) { return !isRemovable(item.classification); });
    std::ranges::stable_sort(items, std::ranges::greater(), &CleanupItem::bytes);
    return items;
}

std::optional<std::vector<CleanupItem>> picked(std::string_view answer,
                                               const std::vector<CleanupItem>& items) {
    std::vector<CleanupItem> chosen;
    if (lowerCase(trimmed(answer)) == "all safe") {
        std::ranges::copy_if(items, std::back_inserter(chosen), [](const CleanupItem& item) {
            return item.classification == Classification::safe;
        });
        return chosen;
    }
    const auto numbers = numbersIn(trimmed(answer), items.size());
    if (!numbers) return std::nullopt;
    for (const std::size_t number : *numbers) chosen.push_back(items[number - 1]);
    return chosen;
}

}  // namespace brindle
