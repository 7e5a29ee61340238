#include "cli/report_view.h"

#include <algorithm>
#include <vector>

#include "cli/display_width.h"
#include "cli/storage_bar.h"
#include "cli/unreachable_view.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

std::string paragraph(const std::string& words, unsigned width) {
    std::string text;
    for (const std::string& line : wrap(words, width)) text += line + "\n";
    return text;
}

std::vector<const CleanupItem*> shownItems(const ModuleResult& module, const ItemFilter& filter) {
    std::vector<const CleanupItem*> items;
    for (const CleanupItem& item : module.items) {
        if (filter.shows(item.classification, item.bytes())) items.push_back(&item);
    }
    // Of equal size in the order of their names, so that two scans of the same disk read alike.
    std::ranges::sort(items, [](const CleanupItem* left, const CleanupItem* right) {
        return left->bytes() != right->bytes() ? left->bytes() > right->bytes() : left->id < right->id;
    });
    return items;
}

std::string modulesText(const ReportPage& page) {
    ItemTable table(page.look, page.age);
    for (const ModuleResult& module : page.report.modules) {
        for (const CleanupItem* item : shownItems(module, page.filter)) table.makeRoomFor(*item);
    }
    std::string text;
    for (const ModuleResult& module : page.report.modules) {
        const auto items = shownItems(module, page.filter);
        if (items.empty()) continue;
        text += "\n" + page.look.palette.heading(displayName(module.moduleID)) + "  " +
                ByteFormat::shortText(module.totalBytes()) + "\n";
        for (const CleanupItem* item : items) text += table.lines(*item);
    }
    return text;
}

std::size_t countOf(const ScanReport& report, Classification classification) {
    std::size_t count = 0;
    for (const ModuleResult& module : report.modules) {
        count += static_cast<std::size_t>(
            std::ranges::count(module.items, classification, &CleanupItem::classification));
    }
    return count;
}

std::string hiddenText(const ReportPage& page) {
    std::int64_t hidden = 0;
    for (const ModuleResult& module : page.report.modules) {
        hidden += std::ranges::count_if(module.items, [&](const CleanupItem& item) {
            return !page.filter.shows(item.classification, item.bytes());
        });
    }
    if (hidden == 0) return "";
    return "\n" + paragraph(CoreStrings::plural("count.itemsHidden", hidden), page.look.width);
}

std::string nothingText(const ReportPage& page) {
    if (page.isInterrupted) return "\n" + localized("Nothing had been found yet.") + "\n";
    return "\n" +
           paragraph(localized("Nothing was found: the folders that Brindle knows are not here, or empty."),
                     page.look.width);
}

std::string adviceFor(Classification classification) {
    switch (classification) {
        case Classification::safe:
            return localized("may be removed");
        case Classification::review:
            return localized("look before you remove");
        case Classification::protected_:
            return localized("never removed");
    }
    return "";
}

struct Total {
    std::string name;
    std::uint64_t bytes;
    std::string remark;
    std::optional<Classification> classification;
};

std::vector<Total> totalsOf(const ScanReport& report) {
    std::vector<Total> totals;
    for (const Classification each : allCases<Classification>()) {
        totals.push_back(
            {displayName(each), report.bytes(each),
             CoreStrings::plural("count.items", static_cast<std::int64_t>(countOf(report, each))) + ", " +
                 adviceFor(each),
             each});
    }
    totals.push_back({localized("reclaimable"), report.reclaimableBytes(),
                      localized("safe and review together"), std::nullopt});
    return totals;
}

std::string totalsText(const ReportPage& page) {
    const std::vector<Total> totals = totalsOf(page.report);
    unsigned names = 0;
    for (const Total& total : totals) names = std::max(names, displayWidth(total.name));
    std::string text = "\n" + page.look.palette.heading(localized("Totals")) + "\n";
    for (const Total& total : totals) {
        const std::string name = padRight(total.name, names);
        const std::string start = "  " + padLeft(ByteFormat::shortText(total.bytes), 10) + "  ";
        const unsigned room = page.look.width - std::min(page.look.width, 14 + names);
        text += start + (total.classification ? page.look.palette.judged(*total.classification, name) : name);
        if (displayWidth(total.remark) + 2 <= room) text += "  " + page.look.palette.quiet(total.remark);
        text += "\n";
    }
    return text;
}

std::string unfinishedText(const std::vector<ModuleID>& modules) {
    std::string names;
    for (const ModuleID module : modules) names += (names.empty() ? "" : ", ") + displayName(module);
    return localized("Not finished: %@.", names);
}

std::string closingText(const ReportPage& page) {
    std::vector<std::string> sentences;
    if (page.isInterrupted) {
        sentences.push_back(localized("Interrupted: this is partial, only what had been found until then."));
        if (!page.unfinished.empty()) sentences.push_back(unfinishedText(page.unfinished));
    } else if (page.report.isPartial()) {
        sentences.push_back(localized(
            "This scan is partial: some places could not be measured, so the sizes are the least that is "
            "there."));
    }
    sentences.push_back(localized("Scanned in %@.", ByteFormat::seconds(page.report.duration)));
    if (!page.report.allItems().empty()) {
        sentences.push_back(localized("\"brindle explain ITEM\" tells more of one."));
    }
    std::string text = "\n";
    for (std::size_t index = 0; index < sentences.size(); ++index) {
        const bool isWarning =
            index == 0 && sentences.size() > 1 && (page.isInterrupted || page.report.isPartial());
        for (const std::string& line : wrap(sentences[index], page.look.width)) {
            text += (isWarning ? page.look.palette.warning(line) : line) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string reportText(const ReportPage& page) {
    std::string text =
        page.isOneModule ? volumeLine(page.report, page.look) : storageBar(page.report, page.look);
    text += page.report.allItems().empty() ? nothingText(page) : modulesText(page);
    text += hiddenText(page);
    const std::string unreachable = unreachableText(page.report.unreachable(), page.home, page.look);
    if (!unreachable.empty()) text += "\n" + unreachable;
    return text + totalsText(page) + closingText(page);
}

}  // namespace brindle
