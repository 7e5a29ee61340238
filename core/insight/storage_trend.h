// How free space and the tools' piles develop: one small sample a day, and what follows from them.
#pragma once

#include <cstdint>
#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "core/model/disk_info.h"
#include "core/model/module_id.h"
#include "core/platform/user_defaults.h"

namespace brindle {

struct StorageSample {
    TimePoint date;
    std::uint64_t freeBytes = 0;
    std::uint64_t totalBytes = 0;

    bool operator==(const StorageSample&) const = default;
};

// What a scan of that day found, for the modules that it looked into whole.
struct ModuleTotals {
    TimePoint date;
    std::map<ModuleID, std::uint64_t> bytes;

    bool operator==(const ModuleTotals&) const = default;
};

struct ModuleGrowth {
    ModuleID module = ModuleID::system;
    std::uint64_t bytes = 0;

    bool operator==(const ModuleGrowth&) const = default;
};

// Over the store of the settings, which it reads afresh at each call; as safe between threads and processes as that is.
// Kept under "brindle.storageSamples" as a JSON array of {"date", "freeBytes", "totalBytes"}, and under
// "brindle.storageTotals" as one of {"date", "modules": {"docker": bytes}}; dates are seconds since the start of 2001
// UTC. At most one a calendar day of the user's, and none that is 90 days old. What cannot be understood counts as
// nothing, and is replaced by the next one.
class StorageTrend {
  public:
    explicit StorageTrend(std::shared_ptr<UserDefaults> defaults) : defaults_(std::move(defaults)) {}

    // Oldest first, without those that lie after `now`: a clock that was set back has left them.
    std::vector<StorageSample> samples(TimePoint now) const;
    std::vector<ModuleTotals> totals(TimePoint now) const;

    // The newest of a day replaces the earlier ones; another capacity discards all earlier samples. An error leaves
    // what was stored.
    std::expected<void, Error> record(const DiskInfo& disk, TimePoint now);
    // Likewise; a module that `bytes` lacks keeps the total that an earlier scan of the day found.
    std::expected<void, Error> recordTotals(std::map<ModuleID, std::uint64_t> bytes, TimePoint now);

    // What a cleanup freed goes off that day's totals.
    std::expected<void, Error> subtractFromTotals(const std::map<ModuleID, std::uint64_t>& freed,
                                                  TimePoint now);

    // In days, from the first and the latest sample; absent unless at least three of one capacity that span a week
    // show a decline that has not yet reached the threshold.
    static std::optional<double> daysUntilLowSpace(std::vector<StorageSample> samples,
                                                   std::uint64_t threshold);

    // The module that grew most from the earliest to the latest of its totals, of days apart; absent when none grew.
    static std::optional<ModuleGrowth> largestGrowth(const std::vector<ModuleTotals>& totals);

    // The module whose growth is more than half of what became less free from the first to the latest sample. Absent
    // unless totals of both days are known.
    static std::optional<ModuleGrowth> causeOfDecline(const std::vector<StorageSample>& samples,
                                                      const std::vector<ModuleTotals>& totals);

  private:
    std::shared_ptr<UserDefaults> defaults_;
};

}  // namespace brindle
