#include "cli/storage_bar.h"

#include <algorithm>
#include <numeric>

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

bool isShown(const StorageCategory& slice) {
    return slice.isMeasured && slice.bytes > 0;
}

std::string barOf(const std::vector<StorageCategory>& slices, const Look& look) {
    constexpr unsigned kMostColumns = 96;
    const std::vector<unsigned> shares = sharesOf(slices, std::min(look.width - 2, kMostColumns));
    std::string bar = "  ";
    for (std::size_t index = 0; index < slices.size(); ++index) {
        std::string part;
        for (unsigned column = 0; column < shares[index]; ++column)
            part += look.glyphs.slice(slices[index].kind);
        bar += look.palette.slice(slices[index].kind, part);
    }
    return bar + "\n";
}

std::string legendValue(const StorageCategory& slice, std::uint64_t total) {
    if (slice.isMeasured) {
        return padLeft(ByteFormat::shortText(slice.bytes), 10) + "  " +
               padLeft(ByteFormat::percent(slice.bytes, total), 4);
    }
    return "  " + localized("not measured");
}

// Why a slice was not measured, below all of them: a reason may name a long path.
std::string reasonsText(const std::vector<StorageCategory>& slices, const Look& look) {
    std::string text;
    for (const StorageCategory& slice : slices) {
        if (const auto reason = slice.blockedReason())
            text +=
                paragraphText(localized("%@ not measured: %@", displayName(slice.kind), *reason), 2, look);
    }
    return text;
}

std::string legendOf(const std::vector<StorageCategory>& slices, std::uint64_t total, const Look& look) {
    unsigned widest = 0;
    for (const StorageCategory& slice : slices)
        widest = std::max(widest, displayWidth(displayName(slice.kind)));
    if (look.isNarrow()) widest = std::min(widest, look.width - 22);
    std::string legend;
    for (const StorageCategory& slice : slices) {
        const std::string name = shortenEnd(displayName(slice.kind), widest, look.glyphs.ellipsis());
        const std::string value = legendValue(slice, total);
        legend += "  " + look.palette.slice(slice.kind, look.glyphs.slice(slice.kind)) + " " +
                  padRight(name, widest) + (slice.isMeasured ? value : look.palette.quiet(value)) + "\n";
    }
    return legend;
}

}  // namespace

std::vector<unsigned> sharesOf(const std::vector<StorageCategory>& slices, unsigned columns) {
    long double total = 0;
    for (const StorageCategory& slice : slices)
        total += isShown(slice) ? static_cast<long double>(slice.bytes) : 0;
    std::vector<unsigned> shares(slices.size(), 0);
    if (total <= 0 || columns == 0) return shares;
    for (std::size_t index = 0; index < slices.size(); ++index) {
        if (!isShown(slices[index])) continue;
        const long double part = static_cast<long double>(slices[index].bytes) / total;
        shares[index] = std::max(1U, static_cast<unsigned>(part * columns));
    }
    // Rounding is settled with the largest slice, where it is seen least.
    const unsigned given = std::accumulate(shares.begin(), shares.end(), 0U);
    unsigned& largest = *std::ranges::max_element(shares);
    largest = given > columns ? largest - std::min(largest, given - columns) : largest + (columns - given);
    return shares;
}

std::string volumeLine(const ScanReport& report, const Look& look) {
    if (!report.disk) return localized("The capacity of this volume could not be read.") + "\n";
    const DiskInfo& disk = *report.disk;
    const std::string used = localized("%@ of %@ used", ByteFormat::shortText(disk.usedBytes()),
                                       ByteFormat::shortText(disk.totalBytes));
    const unsigned room = look.width > displayWidth(used) + 4 ? look.width - displayWidth(used) - 2 : 2;
    const std::string name = shortenMiddle(
        disk.volumeName.empty() ? localized("Volume") : localized("Volume %@", printable(disk.volumeName)),
        room, look.glyphs.ellipsis());
    return look.palette.heading(name) + "  " + used + "\n";
}

std::string storageBar(const ScanReport& report, const Look& look) {
    if (!report.disk) return volumeLine(report, look);
    return volumeLine(report, look) + barOf(report.storage, look) +
           legendOf(report.storage, report.disk->totalBytes, look) + reasonsText(report.storage, look);
}

}  // namespace brindle
