#include "core/insight/storage_trend.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <string_view>

#include "core/model/model_json.h"

namespace brindle {

namespace {

using Seconds = std::chrono::duration<double>;

constexpr std::string_view kSamplesKey = "brindle.storageSamples";
constexpr std::string_view kTotalsKey = "brindle.storageTotals";
constexpr std::chrono::sys_days kEpoch{std::chrono::year{2001} / 1 / 1};
constexpr auto kKept = std::chrono::days(90);
constexpr auto kLeastSpan = std::chrono::days(7);
constexpr std::size_t kLeastSamples = 3;

double dateNumber(TimePoint date) {
    return Seconds(date - TimePoint(kEpoch)).count();
}

std::optional<TimePoint> dateIn(const Json& record) {
    const auto found = record.find("date");
    if (found == record.end() || !found->is_number()) return std::nullopt;
    // A century to either side is within what a TimePoint can count.
    constexpr double kFarthest = 100.0 * 366 * 86'400;
    const auto seconds = found->get<double>();
    if (!(std::abs(seconds) < kFarthest)) return std::nullopt;
    return TimePoint(kEpoch) + std::chrono::duration_cast<TimePoint::duration>(Seconds(seconds));
}

std::optional<std::uint64_t> bytesIn(const Json& record, const char* key) {
    const auto found = record.find(key);
    if (found == record.end() || !found->is_number_unsigned()) return std::nullopt;
    return found->get<std::uint64_t>();
}

std::optional<StorageSample> sampleIn(const Json& record) {
    const auto date = dateIn(record);
    const auto free = bytesIn(record, "freeBytes");
    const auto total = bytesIn(record, "totalBytes");
    if (!date || !free || !total) return std::nullopt;
    return StorageSample{*date, *free, *total};
}

std::optional<ModuleTotals> totalsIn(const Json& record) {
    const auto date = dateIn(record);
    const auto modules = record.find("modules");
    if (!date || modules == record.end() || !modules->is_object()) return std::nullopt;
    ModuleTotals totals{*date, {}};
    for (const auto& [name, value] : modules->items()) {
        const auto module = moduleIDFrom(name);
        if (module && value.is_number_unsigned()) totals.bytes[*module] = value.get<std::uint64_t>();
    }
    return totals;
}

Json jsonOf(const StorageSample& sample) {
    return {{"date", dateNumber(sample.date)},
            {"freeBytes", sample.freeBytes},
            {"totalBytes", sample.totalBytes}};
}

Json jsonOf(const ModuleTotals& totals) {
    Json modules = Json::object();
    for (const auto& [module, bytes] : totals.bytes) modules[std::string(rawText(module))] = bytes;
    return {{"date", dateNumber(totals.date)}, {"modules", std::move(modules)}};
}

// Sorted by date; empty when any of it is not understood.
template <typename Record, typename Understand>
std::vector<Record> recordsIn(const std::optional<DefaultsValue>& stored, TimePoint now,
                              Understand understand) {
    const auto* data = stored ? std::get_if<DefaultsData>(&*stored) : nullptr;
    const Json list = data != nullptr ? Json::parse(data->bytes, nullptr, false) : Json();
    if (!list.is_array()) return {};
    std::vector<Record> records;
    for (const Json& each : list) {
        auto record = each.is_object() ? understand(each) : std::nullopt;
        if (!record) return {};
        if (record->date <= now) records.push_back(*std::move(record));
    }
    std::ranges::stable_sort(records, {}, &Record::date);
    return records;
}

template <typename Record>
DefaultsValue storedForm(const std::vector<Record>& records) {
    Json list = Json::array();
    for (const Record& record : records) list.push_back(jsonOf(record));
    return DefaultsData{list.dump()};
}

bool areOfOneDay(TimePoint left, TimePoint right) {
    using std::chrono::floor;
    return isSameDay(floor<std::chrono::seconds>(left), floor<std::chrono::seconds>(right));
}

template <typename Record>
void dropOld(std::vector<Record>& records, TimePoint now) {
    std::erase_if(records, [&](const Record& record) { return now - record.date >= kKept; });
}

// By how much the latest exceeds the earliest; a module needs a total on both days.
std::optional<ModuleGrowth> largestBetween(const ModuleTotals& earliest, const ModuleTotals& latest) {
    std::optional<ModuleGrowth> largest;
    for (const auto& [module, bytes] : latest.bytes) {
        const auto before = earliest.bytes.find(module);
        if (before == earliest.bytes.end() || before->second >= bytes) continue;
        const std::uint64_t growth = bytes - before->second;
        if (!largest || growth > largest->bytes) largest = ModuleGrowth{module, growth};
    }
    return largest;
}

const ModuleTotals* onDayOf(TimePoint date, const std::vector<ModuleTotals>& totals) {
    const auto found =
        std::ranges::find_if(totals, [&](const ModuleTotals& each) { return areOfOneDay(each.date, date); });
    return found == totals.end() ? nullptr : &*found;
}

}  // namespace

std::vector<StorageSample> StorageTrend::samples(TimePoint now) const {
    const auto stored = defaults_->value(kSamplesKey);
    return stored ? recordsIn<StorageSample>(*stored, now, sampleIn) : std::vector<StorageSample>();
}

std::vector<ModuleTotals> StorageTrend::totals(TimePoint now) const {
    const auto stored = defaults_->value(kTotalsKey);
    return stored ? recordsIn<ModuleTotals>(*stored, now, totalsIn) : std::vector<ModuleTotals>();
}

std::expected<void, Error> StorageTrend::record(const DiskInfo& disk, TimePoint now) {
    return defaults_->update(kSamplesKey, [&](const std::optional<DefaultsValue>& stored) {
        auto kept = recordsIn<StorageSample>(stored, now, sampleIn);
        dropOld(kept, now);
        std::erase_if(kept, [&](const StorageSample& sample) {
            return sample.totalBytes != disk.totalBytes || areOfOneDay(sample.date, now);
        });
        kept.push_back({now, disk.freeBytes, disk.totalBytes});
        return std::expected<std::optional<DefaultsValue>, Error>(storedForm(kept));
    });
}

std::expected<void, Error> StorageTrend::recordTotals(std::map<ModuleID, std::uint64_t> bytes,
                                                      TimePoint now) {
    return defaults_->update(kTotalsKey, [&](const std::optional<DefaultsValue>& stored) {
        auto kept = recordsIn<ModuleTotals>(stored, now, totalsIn);
        dropOld(kept, now);
        for (const ModuleTotals& each : kept) {
            if (areOfOneDay(each.date, now)) bytes.insert(each.bytes.begin(), each.bytes.end());
        }
        std::erase_if(kept, [&](const ModuleTotals& each) { return areOfOneDay(each.date, now); });
        kept.push_back({now, bytes});
        return std::expected<std::optional<DefaultsValue>, Error>(storedForm(kept));
    });
}

std::expected<void, Error> StorageTrend::subtractFromTotals(const std::map<ModuleID, std::uint64_t>& freed,
                                                            TimePoint now) {
    return defaults_->update(kTotalsKey, [&](const std::optional<DefaultsValue>& stored) {
        auto kept = recordsIn<ModuleTotals>(stored, now, totalsIn);
        for (ModuleTotals& each : kept) {
            if (!areOfOneDay(each.date, now)) continue;
            for (auto& [module, bytes] : each.bytes) {
                const auto found = freed.find(module);
                if (found != freed.end()) bytes -= std::min(bytes, found->second);
            }
        }
        return std::expected<std::optional<DefaultsValue>, Error>(storedForm(kept));
    });
}

std::optional<double> StorageTrend::daysUntilLowSpace(std::vector<StorageSample> samples,
                                                      std::uint64_t threshold) {
    if (samples.size() < kLeastSamples) return std::nullopt;
    std::ranges::stable_sort(samples, {}, &StorageSample::date);
    const StorageSample& first = samples.front();
    const StorageSample& last = samples.back();
    const bool isOneCapacity = std::ranges::all_of(
        samples, [&](const StorageSample& sample) { return sample.totalBytes == first.totalBytes; });
    if (!isOneCapacity || last.date - first.date < kLeastSpan) return std::nullopt;
    if (first.freeBytes <= last.freeBytes || last.freeBytes <= threshold) return std::nullopt;
    const double days =
        std::chrono::duration<double, std::chrono::days::period>(last.date - first.date).count();
    const double dailyDecline = static_cast<double>(first.freeBytes - last.freeBytes) / days;
    return static_cast<double>(last.freeBytes - threshold) / dailyDecline;
}

std::optional<ModuleGrowth> StorageTrend::largestGrowth(const std::vector<ModuleTotals>& totals) {
    if (totals.size() < 2) return std::nullopt;
    return largestBetween(totals.front(), totals.back());
}

std::optional<ModuleGrowth> StorageTrend::causeOfDecline(const std::vector<StorageSample>& samples,
                                                         const std::vector<ModuleTotals>& totals) {
    if (samples.size() < 2 || samples.front().freeBytes <= samples.back().freeBytes) return std::nullopt;
    const ModuleTotals* earliest = onDayOf(samples.front().date, totals);
    const ModuleTotals* latest = onDayOf(samples.back().date, totals);
    if (earliest == nullptr || latest == nullptr) return std::nullopt;
    const auto largest = largestBetween(*earliest, *latest);
    const std::uint64_t decline = samples.front().freeBytes - samples.back().freeBytes;
    return largest && largest->bytes > decline / 2 ? largest : std::nullopt;
}

}  // namespace brindle
