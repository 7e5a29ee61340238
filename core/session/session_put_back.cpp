#include <algorithm>

#include "core/platform/files.h"
#include "core/session/session.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

using Kind = PutBackRefusal::Kind;

std::unexpected<PutBackRefusal> refused(Kind kind, std::string sentence) {
    return std::unexpected(PutBackRefusal{kind, std::move(sentence)});
}

// That still lie there.
std::size_t thingsIn(const Receipt& receipt, const std::vector<PutBackChoice>& choices) {
    std::size_t count = 0;
    for (const PutBackChoice& choice : choices) {
        for (const PlaceInTrash& place : placesInTrash(receipt.entries[choice.entry])) {
            if (choice.includes(place) && statusOf(place.path)) ++count;
        }
    }
    return count;
}

std::vector<PutBackChoice> choicesOf(const PutBackOrder& order, const Receipt& receipt) {
    if (!order.choices.empty()) return order.choices;
    std::vector<PutBackChoice> all;
    for (std::size_t index = 0; index < receipt.entries.size(); ++index) all.push_back({.entry = index});
    return all;
}

}  // namespace

std::expected<PutBackOutcome, PutBackRefusal> Session::putBack(const PutBackOrder& order) const {
    HistoryStore store = history();
    const auto lock = FileLock::tryAcquire(store.directory() + "/cleanup.lock");
    if (!lock && lock.error().kind == Error::Kind::busy) {
        return refused(Kind::busy, localized("A cleanup is running. Nothing was put back."));
    }
    const auto receipts = store.loadChecked();
    if (!receipts) {
        return refused(Kind::historyUnreadable,
                       localized("The history cannot be read, so nothing was put back: %@",
                                 receipts.error().cause.describe()));
    }
    const auto unrecordable = [](const Error& error) {
        return refused(
            Kind::notRecordable,
            localized("The history cannot be written, so nothing was put back: %@", error.describe()));
    };
    if (!lock) return unrecordable(lock.error());
    const auto receipt = std::ranges::find(*receipts, order.receipt, &Receipt::id);
    const auto isThere = [&](const PutBackChoice& choice) { return choice.entry < receipt->entries.size(); };
    if (receipt == receipts->end() || !std::ranges::all_of(order.choices, isThere)) {
        return refused(Kind::unknown, localized("The history no longer has what was to be put back."));
    }
    const std::vector<PutBackChoice> choices = choicesOf(order, *receipt);
    if (order.place && thingsIn(*receipt, choices) > 1) {
        return refused(Kind::severalThings, localized("Only one thing can be put back under another name."));
    }
    auto outcome = PutBack(store, trash())
                       .restore(*receipt, {.choices = choices,
                                           .place = order.place,
                                           .isDryRun = order.isDryRun,
                                           .isCancelled = order.isCancelled});
    if (!outcome) return unrecordable(outcome.error());
    return *std::move(outcome);
}

}  // namespace brindle
