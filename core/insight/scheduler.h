// Scans that run by themselves, and what they may clean without asking.
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/insight/schedule_log.h"
#include "core/measure/directory_sizer.h"
#include "core/model/cadence.h"
#include "core/model/receipt.h"
#include "core/platform/background_activity.h"
#include "core/platform/files.h"
#include "core/scan/cancellation_flag.h"
#include "core/scan/scan_report.h"
#include "core/settings/preferences.h"

namespace brindle {

struct ScheduledRefusal {
    std::string sentence;  // localised
    bool isBusy = false;   // another run or cleanup is in progress
    bool isHistoryUnreadable = false;
};

// How a scheduled run does its work; the session has them. Each blocks and polls the test it is given.
struct ScheduledSteps {
    // Held for the whole run: there is one at a time over all processes. Kind::busy while there is another.
    std::function<std::expected<FileLock, Error>()> lock;
    std::function<ScanReport(const CancellationTest& isCancelled)> scan;
    // As a cleanup that the user starts: lock, readable history, guard, receipt. After an error
    // nothing was touched. `onlyWhileOn`: ends when scheduled scans are switched off.
    std::function<std::expected<Receipt, ScheduledRefusal>(
        const ScanReport& report, const std::vector<CleanupItem>& items, const CancellationTest& isCancelled,
        bool onlyWhileOn)>
        clean;
    std::function<void(const ScheduledRun& run)> record = [](const ScheduledRun&) {
    };  // its line in the history
    std::function<std::unique_ptr<BackgroundActivity>(ActivityOrder order)> startActivity =
        startBackgroundActivity;
    std::function<TimePoint()> now = std::chrono::system_clock::now;  // of a run that starts by itself
};

// Owned by a face, on one thread; cancelCurrentRun() and run() may be called from any.
class Scheduler {
  public:
    using Cadence = brindle::Cadence;

    struct Outcome {
        ScanReport report;
        std::optional<Receipt> receipt;  // of the automatic clean; absent when nothing was cleaned
        bool wasCancelled = false;
        bool hasScanned = false;  // false: the refusal says why, and the report says nothing
        // Why there was no scan, or why nothing was cleaned that should have been.
        std::optional<ScheduledRefusal> refusal = std::nullopt;
        bool wasBusy = false;  // because of another run or cleanup

        std::uint64_t bytesLeft() const;  // that could be cleaned, after what was
    };

    Scheduler(std::shared_ptr<UserDefaults> defaults, ScheduledSteps steps);
    ~Scheduler();  // cancels the run in progress, and waits for it unless it is what destroys this
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    // Never run, run longer ago than the cadence's interval, or run in the future: the clock went back. A time before 1970
    // is no time of a run.
    static bool isOverdue(std::optional<TimePoint> lastRun, Cadence cadence, TimePoint now);
    // The same by the settings; never while scheduled scans are off.
    bool isOverdue(TimePoint now) const;

    // When the next run is due, by the settings; absent while scheduled scans are off. May lie in the past.
    std::optional<TimePoint> nextRun(TimePoint now) const;

    // (Re)arms the schedule as the settings are now, or ends it when they say off. `canRun` is asked before each run,
    // `onFinish` gets what came of it; both on the activity's thread.
    void start(std::function<bool()> canRun, std::function<void(const Outcome&)> onFinish);

    // One scheduled run, whether it is due or not. What counts as the last run is the moment at which one began; a
    // cancelled one does not count, nor one that another cleanup kept from cleaning.
    Outcome run(TimePoint now, const CancellationTest& isCancelled);

    // The same by the steps' clock, but only when one is due, also by the time at which no other process runs one; absent: it
    // is not. Scheduled scans that were switched off meanwhile clean nothing.
    std::optional<Outcome> runIfDue(const CancellationTest& isCancelled);

    // The run in progress stops as soon as it can.
    void cancelCurrentRun();

    // Safe beyond doubt: classified safe, not of the projects, of no project.
    static std::vector<CleanupItem> itemsToClean(const ScanReport& report);

  private:
    std::optional<Outcome> runNow(std::optional<TimePoint> now, const CancellationTest& isCancelled);

    struct Run;  // what runs, kept alive by whoever runs it
    std::shared_ptr<Run> run_;
    std::unique_ptr<BackgroundActivity> activity_;
};

}  // namespace brindle
