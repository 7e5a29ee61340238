#include "core/removal/put_back.h"

#include <algorithm>
#include <utility>

#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using End = PutBackResult::End;

TrashedThing thingFrom(const std::string& from, const std::string& to, const FileStatus& status) {
    return {.from = from, .to = to, .device = status.device, .inode = status.inode, .mode = status.mode};
}

// Who names a place for it says that it is what lies there now.
PlaceInTrash identified(PlaceInTrash place, bool isPlaceNamed) {
    if (place.thing || !isPlaceNamed) return place;
    if (const auto now = statusOf(place.path)) place.thing = thingFrom(place.from, place.path, *now);
    return place;
}

// Receipts of before things were kept name their paths alone.
bool isPairedByPosition(const ReceiptEntry& entry) {
    const bool hasFailures = entry.pathFailures && !entry.pathFailures->empty();
    return !entry.trashedObjects && !hasFailures && entry.trashedPaths->size() == entry.paths.size();
}

// The volume of the Trash has this number now.
std::int32_t deviceNow(const TrashedThing& thing) {
    const auto folder = statusOf(folderOf(thing.to));
    return folder ? folder->device : thing.device;
}

bool isThing(const FileStatus& status, const TrashedThing& thing) {
    constexpr unsigned kType = 0170000;
    return status.inode == thing.inode && (status.mode & kType) == (thing.mode & kType) &&
           status.device == deviceNow(thing);
}

PutBackResult ended(const PlaceInTrash& place, std::string target, End end, std::string sentence = {}) {
    return {.entry = 0,
            .trashed = place.path,
            .from = place.from,
            .place = std::move(target),
            .end = end,
            .sentence = std::move(sentence)};
}

PutBackResult gone(const PlaceInTrash& place, const std::string& target) {
    return ended(place, target, End::gone,
                 localized("%@ is no longer in the Trash.", printable(lastComponent(place.path))));
}

PutBackResult replaced(const PlaceInTrash& place, const std::string& target) {
    return ended(place, target, End::replaced,
                 localized("Something else lies at %@ now; it was left there.", printable(place.path)));
}

PutBackResult occupied(const PlaceInTrash& place, const std::string& target) {
    return ended(
        place, target, End::occupied,
        localized("Something has come to %@ in the meantime. It is never overwritten; choose another "
                  "name.",
                  printable(target)));
}

PutBackResult failed(const PlaceInTrash& place, const std::string& target, std::string sentence) {
    return ended(place, target, End::failed, std::move(sentence));
}

PutBackResult resultOf(const TrashError& error, const PlaceInTrash& place, const std::string& target) {
    switch (error.kind) {
        case TrashError::Kind::missing:
            return gone(place, target);
        case TrashError::Kind::occupied:
            return occupied(place, target);
        case TrashError::Kind::replaced:
            if (error.liesAt.empty()) return replaced(place, target);
            break;
        case TrashError::Kind::noTrash:
        case TrashError::Kind::failed:
            break;
    }
    return failed(place, target, error.describe());
}

// It left the Trash and lies where it was, or where it is to be.
bool isBackAt(const std::string& target, const PlaceInTrash& place) {
    return place.thing && std::ranges::any_of(std::vector{target, place.from}, [&](const std::string& path) {
               const auto status = statusOf(path);
               return status && isThing(*status, *place.thing);
           });
}

// Why a folder for the thing cannot be had there. Absent when it is there, or can be made.
std::optional<std::string> obstacleAbove(const std::string& target, const TrashedThing& thing) {
    std::string folder = folderOf(target);
    auto status = statusOf(folder);
    while (!status && status.error().kind == Error::Kind::missing && folder != "/") {
        folder = folderOf(folder);
        status = statusOf(folder);
    }
    if (!status) return status.error().describe();
    if (!status->isFolder() || canonicalPath(folder) != folder) {
        return localized("%@ is no folder, or a link leads to it.", printable(folder));
    }
    if (status->device != deviceNow(thing)) {
        return localized("%@ is on another volume than the Trash. Choose another place.", printable(folder));
    }
    return std::nullopt;
}

void record(Receipt& receipt, const PutBackResult& result, TimePoint now) {
    ReceiptEntry& entry = receipt.entries[result.entry];
    if (!entry.trashedPaths) return;  // named twice there
    std::vector<TrashedThing> left;
    for (PlaceInTrash& place : placesInTrash(entry)) {
        if (place.path != result.trashed && place.thing) left.push_back(*std::move(place.thing));
    }
    std::erase(*entry.trashedPaths, result.trashed);
    entry.trashedObjects = std::move(left);
    if (entry.trashedPaths->empty()) {
        entry.trashedPaths.reset();
        entry.trashedObjects.reset();
    }
    const auto second = std::chrono::floor<std::chrono::seconds>(now);
    entry.action = localized("Put back on %@", minuteText(second).value_or(""));
}

}  // namespace

std::vector<PlaceInTrash> placesInTrash(const ReceiptEntry& entry) {
    std::vector<PlaceInTrash> places;
    if (!entry.trashedPaths) return places;
    const std::vector<TrashedThing> things = entry.trashedObjects.value_or(std::vector<TrashedThing>());
    for (std::size_t index = 0; index < entry.trashedPaths->size(); ++index) {
        PlaceInTrash place{(*entry.trashedPaths)[index], {}, {}};
        const auto known = std::ranges::find(things, place.path, &TrashedThing::to);
        if (known != things.end()) {
            place.from = known->from;
            place.thing = *known;
        } else if (isPairedByPosition(entry)) {
            place.from = entry.paths[index];
            if (const auto now = statusOf(place.path)) place.thing = thingFrom(place.from, place.path, *now);
        }
        places.push_back(std::move(place));
    }
    return places;
}

std::optional<PutBackResult> PutBack::obstacle(const PlaceInTrash& place, const std::string& target) const {
    const auto now = statusOf(place.path);
    if (!now && now.error().kind == Error::Kind::missing) {
        if (!isBackAt(target, place)) return gone(place, target);
        return ended(place, target, End::wasBack, localized("%@ is back already.", printable(place.from)));
    }
    if (!now) return failed(place, target, now.error().describe());
    if (target.empty() || !place.thing) {
        return failed(place, target,
                      localized("Where %@ was is not recorded. Name a place for it.", printable(place.path)));
    }
    if (!isThing(*now, *place.thing)) return replaced(place, target);
    if (isBelow(target, place.path))
        return failed(place, target, localized("%@ cannot be put into itself.", printable(place.path)));
    const auto there = statusOf(target);
    if (there) return occupied(place, target);
    if (there.error().kind != Error::Kind::missing) return failed(place, target, there.error().describe());
    if (auto sentence = obstacleAbove(target, *place.thing))
        return failed(place, target, *std::move(sentence));
    return std::nullopt;
}

PutBackResult PutBack::restoreOne(const PlaceInTrash& found, const PutBackRequest& request) const {
    const PlaceInTrash place = identified(found, request.place.has_value());
    const std::string target = standardisedPath(request.place.value_or(place.from));
    if (auto inTheWay = obstacle(place, target)) return *std::move(inTheWay);
    if (request.isDryRun) return ended(place, target, End::done);
    const FileStatus approved{
        .device = deviceNow(*place.thing), .inode = place.thing->inode, .mode = place.thing->mode};
    const auto put = trash_.putBack(place.path, target, approved);
    return put ? ended(place, target, End::done) : resultOf(put.error(), place, target);
}

std::expected<PutBackOutcome, Error> PutBack::restore(const Receipt& receipt, const PutBackRequest& request) {
    PutBackOutcome outcome{.receipt = receipt, .results = {}};
    // What could not be recorded afterwards must not be begun.
    if (!request.isDryRun) {
        if (auto stored = history_.replaceChecked(receipt); !stored) return std::unexpected(stored.error());
    }
    for (const PutBackChoice& choice : request.choices) {
        for (const PlaceInTrash& place : placesInTrash(outcome.receipt.entries.at(choice.entry))) {
            if (!choice.includes(place)) continue;
            outcome.isInterrupted = request.isCancelled();
            if (outcome.isInterrupted) return outcome;
            PutBackResult result = restoreOne(place, request);
            result.entry = choice.entry;
            outcome.results.push_back(result);
            if (!result.isBack() || request.isDryRun) continue;
            record(outcome.receipt, result, request.now);
            if (auto stored = history_.replaceChecked(outcome.receipt); !stored) {
                outcome.unrecorded = stored.error();
                return outcome;
            }
        }
    }
    return outcome;
}

}  // namespace brindle
