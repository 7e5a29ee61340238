#include "cli/item_view.h"

#include <algorithm>

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr unsigned kLeastPath = 16;  // columns

}  // namespace

std::string sizeText(const DirectoryMeasurement& measurement) {
    const std::string size = ByteFormat::shortText(measurement.allocatedBytes);
    return measurement.isComplete() ? size : localized("at least %@", size);
}

std::string shortSizeText(const DirectoryMeasurement& measurement, const Look& look) {
    const std::string size = ByteFormat::shortText(measurement.allocatedBytes);
    return measurement.isComplete() ? size : std::string(look.glyphs.atLeast()) + size;
}

std::string returnText(const Regeneration& regeneration) {
    switch (regeneration.kind) {
        case Regeneration::Kind::command:
            return localized("by running: %@", regeneration.text());
        case Regeneration::Kind::action:
            return regeneration.text();
        case Regeneration::Kind::automatic:
            return localized("by itself: %@", regeneration.text());
    }
    return "";
}

std::string comesBackText(const Regeneration& regeneration) {
    switch (regeneration.kind) {
        case Regeneration::Kind::command:
            return localized("comes back with: %@", regeneration.text());
        case Regeneration::Kind::action:
            return localized("comes back: %@", regeneration.text());
        case Regeneration::Kind::automatic:
            return localized("comes back by itself: %@", regeneration.text());
    }
    return "";
}

std::string ItemTable::shortSize(const CleanupItem& item) const {
    return look_.isNarrow() ? shortSizeText(item.measurement, look_) : sizeText(item.measurement);
}

void ItemTable::makeRoomFor(const CleanupItem& item) {
    sizeColumns_ = std::max(sizeColumns_, displayWidth(shortSize(item)));
    wordColumns_ = std::max(wordColumns_, displayWidth(displayName(item.classification)));
}

std::vector<std::string> ItemTable::notes(const CleanupItem& item) const {
    std::vector<std::string> notes;
    const auto& comesBack = item.explanation.regeneratedBy;
    notes.push_back(printable(comesBack ? comesBackText(*comesBack) : item.explanation.whatHappensNext()));
    if (item.clears) notes.push_back(localized("also clears: %@", printable(localized(*item.clears))));
    if (item.measurement.isSparse()) {
        notes.push_back(localized("holds sparse files: they look like %@ but occupy less",
                                  ByteFormat::shortText(item.measurement.logicalBytes)));
    }
    if (item.measurement.source == DirectoryMeasurement::Source::reported) {
        notes.push_back(item.measurement.provenance());
    }
    std::erase(notes, "");
    return notes;
}

std::string ItemTable::ageOf(const CleanupItem& item) const {
    const auto modified = item.measurement.newestModified;
    return modified ? localized("modified %@", age_(modified)) : "";
}

std::string ItemTable::quietNotes(const CleanupItem& item, unsigned indent, unsigned columns) const {
    std::string text;
    for (const std::string& note : notes(item)) {
        for (const std::string& line : wrap(spelled(note, look_.glyphs), columns)) {
            text += std::string(indent, ' ') + look_.palette.quiet(line) + "\n";
        }
    }
    return text;
}

std::string ItemTable::lines(const CleanupItem& item) const {
    return look_.isNarrow() ? narrowLines(item) : wideLines(item);
}

std::string ItemTable::wideLines(const CleanupItem& item) const {
    const unsigned indent = 2 + sizeColumns_ + 2 + wordColumns_ + 2;
    const unsigned columns = look_.spreadWidth() - indent;
    const std::string age = ageOf(item);
    const std::string word = padRight(displayName(item.classification), wordColumns_);
    std::string text = "  " + padLeft(shortSize(item), sizeColumns_) + "  " +
                       look_.palette.judged(item.classification, word) + "  ";
    text += spread(spelled(printable(item.title()), look_.glyphs), age, columns, look_) + "\n";
    const std::string path = printable(item.detail());
    const std::string id = printable(item.id);
    const std::string start(indent, ' ');
    // A long identifier has a line of its own: whoever wants to explain the item needs the whole of it.
    const bool fitsBeside = displayWidth(id) + 2 + kLeastPath <= columns;
    const unsigned room = fitsBeside ? columns - displayWidth(id) - 2 : columns;
    const std::string shown = shortenMiddle(path, room, look_.glyphs.ellipsis());
    text +=
        start +
        (fitsBeside ? spread(shown, id, columns, look_) : shown + "\n" + start + look_.palette.quiet(id)) +
        "\n";
    return text + quietNotes(item, indent, columns);
}

std::string ItemTable::narrowLines(const CleanupItem& item) const {
    constexpr unsigned kIndent = 4;
    const unsigned columns = look_.width - kIndent;
    const std::string word = displayName(item.classification);
    const std::string start = shortSize(item) + "  ";
    const unsigned taken = displayWidth(start) + displayWidth(word) + 4;
    const unsigned room = look_.width > taken + 6 ? look_.width - taken : 6;
    std::string text =
        "  " + start + look_.palette.judged(item.classification, word) + "  " +
        shortenEnd(spelled(printable(item.title()), look_.glyphs), room, look_.glyphs.ellipsis()) + "\n";
    const std::string age = ageOf(item);
    std::string name = printable(item.id);
    if (!age.empty() && displayWidth(name + age) + 3 <= columns)
        name += std::string(look_.glyphs.dot()) + age;
    const std::string indent(kIndent, ' ');
    text += indent + shortenMiddle(printable(item.detail()), columns, look_.glyphs.ellipsis()) + "\n";
    text += indent + look_.palette.quiet(shortenMiddle(name, columns, look_.glyphs.ellipsis())) + "\n";
    return text + quietNotes(item, kIndent, columns);
}

}  // namespace brindle
