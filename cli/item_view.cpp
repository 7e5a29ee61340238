#include "cli/item_view.h"

#include <algorithm>

#include "cli/display_width.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr unsigned kLeastPath = 16;  // columns

// Right text at the right edge, left text shortened to leave it room.
std::string spread(std::string_view left, std::string_view right, unsigned columns, const Look& look) {
    const unsigned taken = right.empty() ? 0 : displayWidth(right) + 2;
    if (taken + 12 > columns) return shortenEnd(left, columns, look.glyphs.ellipsis());
    const unsigned room = columns - taken;
    std::string line = shortenEnd(left, room, look.glyphs.ellipsis());
    if (right.empty()) return line;
    return padRight(line, room) + "  " + look.palette.quiet(right);
}

}  // namespace

std::string sizeText(const CleanupItem& item) {
    const std::string size = ByteFormat::shortText(item.bytes());
    return item.measurement.isComplete() ? size : localized("at least %@", size);
}

std::optional<std::string> comesBackText(const CleanupItem& item) {
    if (!item.explanation.regeneratedBy) return std::nullopt;
    const Regeneration& regeneration = *item.explanation.regeneratedBy;
    switch (regeneration.kind) {
        case Regeneration::Kind::command:
            return localized("comes back with: %@", regeneration.text());
        case Regeneration::Kind::action:
            return localized("comes back: %@", regeneration.text());
        case Regeneration::Kind::automatic:
            return localized("comes back by itself: %@", regeneration.text());
    }
    return std::nullopt;
}

std::string ItemTable::shortSize(const CleanupItem& item) const {
    if (!look_.isNarrow() || item.measurement.isComplete()) return sizeText(item);
    return std::string(look_.glyphs.atLeast()) + ByteFormat::shortText(item.bytes());
}

void ItemTable::makeRoomFor(const CleanupItem& item) {
    sizeColumns_ = std::max(sizeColumns_, displayWidth(shortSize(item)));
    wordColumns_ = std::max(wordColumns_, displayWidth(displayName(item.classification)));
}

std::vector<std::string> ItemTable::notes(const CleanupItem& item) const {
    std::vector<std::string> notes;
    const auto comesBack = comesBackText(item);
    notes.push_back(printable(comesBack ? *comesBack : item.explanation.whatHappensNext()));
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
        for (const std::string& line : wrap(note, columns)) {
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
    text += spread(printable(item.title()), age, columns, look_) + "\n";
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
    std::string text = "  " + start + look_.palette.judged(item.classification, word) + "  " +
                       shortenEnd(printable(item.title()), room, look_.glyphs.ellipsis()) + "\n";
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
