#include "cli/disk_page.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "cli/page_rows.h"
#include "cli/storage_bar.h"
#include "core/model/model_json.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr double kMostDays = 36'500;

std::string dayText(TimePoint date) {
    return iso8601(date).substr(0, 10);
}

std::int64_t wholeDays(double days) {
    return static_cast<std::int64_t>(std::min(days, kMostDays));
}

std::string samplesText(const DiskView& view, const Look& look) {
    constexpr unsigned kMargin = 2;
    std::vector<std::uint64_t> free;
    for (const StorageSample& sample : view.samples) free.push_back(sample.freeBytes);
    const std::string line = sparkline(free, look.spreadWidth() - kMargin, look.glyphs);
    if (line.empty()) return "";
    const auto [least, most] = std::ranges::minmax(free);
    return "\n" +
           paragraphText(localized("Free since %@: between %@ and %@", dayText(view.samples.front().date),
                                   ByteFormat::shortText(least), ByteFormat::shortText(most)),
                         0, look) +
           "  " + look.palette.quiet(line) + "\n";
}

std::string forecastText(const DiskView& view) {
    const auto days = view.daysLeft();
    if (!days) {
        return localized(
            "No declining trend established. A forecast needs at least three daily samples spanning a week "
            "on the same capacity volume.");
    }
    std::string text =
        localized("At the observed rate, available space could reach the low-space threshold in about %@.",
                  CoreStrings::plural("count.days", wholeDays(*days)));
    if (const auto cause = StorageTrend::causeOfDecline(view.samples, view.totals)) {
        text += " " + localized("Most of the decline is %@: it grew by %@.", displayName(cause->module),
                                ByteFormat::shortText(cause->bytes));
    }
    return text + " " +
           localized(
               "Estimate from the first and latest samples. Builds, cleanup and purgeable storage can change "
               "the trend.");
}

std::string growthText(const DiskView& view) {
    const auto growth = StorageTrend::largestGrowth(view.totals);
    if (!growth) return "";
    return localized("Since %@ it is %@ that grew most: by %@.", dayText(view.totals.front().date),
                     displayName(growth->module), ByteFormat::shortText(growth->bytes));
}

Json jsonOf(const std::optional<ModuleGrowth>& growth) {
    if (!growth) return nullptr;
    return {{"module", rawText(growth->module)}, {"bytes", growth->bytes}};
}

}  // namespace

std::string sparkline(std::vector<std::uint64_t> values, unsigned columns, const Glyphs& glyphs) {
    constexpr std::array<std::string_view, 8> kBlocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    constexpr std::array<std::string_view, 8> kAscii = {"_", "_", ".", ".", "-", "-", "=", "="};
    if (values.size() > columns) values.erase(values.begin(), values.end() - columns);
    if (values.size() < 2) return "";
    const auto [least, most] = std::ranges::minmax(values);
    const double range = std::max(1.0, static_cast<double>(most - least));
    std::string line;
    for (const std::uint64_t value : values) {
        const double height = static_cast<double>(value - least) / range * (kBlocks.size() - 1);
        line += (glyphs.isUnicode ? kBlocks : kAscii).at(static_cast<std::size_t>(std::lround(height)));
    }
    return line;
}

std::string diskText(const DiskView& view, const Look& look) {
    std::string text = storageBar(view.report, look) + samplesText(view, look) + "\n" +
                       paragraphText(forecastText(view), 0, look);
    const std::string growth = growthText(view);
    return growth.empty() ? text : text + paragraphText(growth, 0, look);
}

std::string diskJson(const DiskView& view, bool isPartial) {
    Json slices = Json::array();
    for (const StorageCategory& slice : view.report.storage) slices.push_back(toJson(slice));
    Json samples = Json::array();
    for (const StorageSample& sample : view.samples) {
        samples.push_back({{"date", iso8601(sample.date)},
                           {"freeBytes", sample.freeBytes},
                           {"totalBytes", sample.totalBytes}});
    }
    const auto days = view.daysLeft();
    const auto earliest = view.totals.empty() ? Json(nullptr) : Json(iso8601(view.totals.front().date));
    return Json{{"schemaVersion", 1},
                {"isPartial", isPartial},
                {"disk", view.report.disk ? toJson(*view.report.disk) : Json(nullptr)},
                {"storage", std::move(slices)},
                {"samples", std::move(samples)},
                {"lowDiskThreshold", view.threshold},
                {"daysUntilLowSpace", days ? Json(std::min(*days, kMostDays)) : Json(nullptr)},
                {"causeOfDecline", jsonOf(StorageTrend::causeOfDecline(view.samples, view.totals))},
                {"largestGrowth", jsonOf(StorageTrend::largestGrowth(view.totals))},
                {"totalsSince", earliest}}
               .dump(2) +
           "\n";
}

}  // namespace brindle
