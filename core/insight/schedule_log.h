// One line for each scheduled run, beside the history of cleanups.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "core/model/uuid.h"
#include "core/platform/error.h"
#include "core/text/calendar.h"

namespace brindle {

struct ScheduledRun {
    TimePoint at;  // when it began, kept in whole seconds
    std::uint64_t reclaimableBytes = 0;
    std::optional<Uuid> receipt;  // of what was cleaned; absent when nothing was
    std::uint64_t cleanedBytes = 0;
    bool wasCancelled = false;
    std::optional<std::string> refusal;  // why nothing was cleaned, or not even looked at

    bool operator==(const ScheduledRun&) const = default;
};

// A file of JSON lines, {"at", "reclaimableBytes", "receipt", "cleanedBytes", "wasCancelled", "refusal"}, the newest last;
// the user's alone. Of more than kMost lines the oldest go.
class ScheduleLog {
  public:
    static constexpr std::size_t kMost = 400;

    explicit ScheduleLog(std::string path) : path_(std::move(path)) {}

    // One writer at a time; a reader sees the old lines or the new ones.
    std::expected<void, Error> append(const ScheduledRun& run) const;

    // Newest first. A line that cannot be understood is left out; so is all of a file that cannot be read.
    std::vector<ScheduledRun> runs() const;

  private:
    std::string path_;
};

}  // namespace brindle
