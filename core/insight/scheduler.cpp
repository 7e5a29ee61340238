#include "core/insight/scheduler.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <utility>

#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr const char* kActivity = "dev.brindle.Brindle.scheduled-scan";

ScheduledRun lineOf(const Scheduler::Outcome& outcome, TimePoint now) {
    ScheduledRun line{.at = now,
                      .reclaimableBytes = outcome.bytesLeft(),
                      .receipt = std::nullopt,
                      .cleanedBytes = 0,
                      .wasCancelled = outcome.wasCancelled,
                      .refusal = std::nullopt};
    if (outcome.refusal) line.refusal = outcome.refusal->sentence;
    if (outcome.receipt) {
        line.receipt = outcome.receipt->id;
        line.cleanedBytes = outcome.receipt->bytesFreed();
    }
    return line;
}

}  // namespace

struct Scheduler::Run {
    Run(std::shared_ptr<UserDefaults> defaults, ScheduledSteps given)
        : preferences(std::move(defaults)), steps(std::move(given)) {}

    using Flags = std::list<CancellationFlag>;

    // The flag of a run that begins; one that comes too late is cancelled at once.
    Flags::iterator begin() {
        const std::lock_guard guard(lock);
        current.emplace_back();
        if (isOver) current.back().cancel();
        return std::prev(current.end());
    }

    void end(Flags::iterator flag) {
        const std::lock_guard guard(lock);
        current.erase(flag);
    }

    void cancel(bool forGood) {
        const std::lock_guard guard(lock);
        isOver |= forGood;
        for (CancellationFlag& flag : current) flag.cancel();
    }

    bool isOverdue(TimePoint now) const {
        return preferences.scheduledScansEnabled() &&
               Scheduler::isOverdue(preferences.lastScheduledRun(), preferences.cadence(), now);
    }
    // Without a time: now, and only if a run is due now.
    std::optional<Outcome> perform(std::optional<TimePoint> given, const CancellationTest& isCancelled);
    void clean(Outcome& outcome, const CancellationTest& isCancelled, bool onlyWhileOn) const;

    Preferences preferences;
    ScheduledSteps steps;

    std::mutex lock;
    Flags current;  // of all that have begun, one of which works; guarded by the lock, as is the next
    bool isOver = false;
};

void Scheduler::Run::clean(Outcome& outcome, const CancellationTest& isCancelled, bool onlyWhileOn) const {
    std::vector<CleanupItem> items = itemsToClean(outcome.report);
    const auto disabled = preferences.disabledModules();  // perhaps while the scan ran
    std::erase_if(items, [&](const CleanupItem& item) { return disabled.contains(item.moduleID); });
    if (items.empty()) return;
    auto receipt = steps.clean(outcome.report, items, isCancelled, onlyWhileOn);
    if (receipt) {
        outcome.receipt = *std::move(receipt);
    } else {
        outcome.refusal = std::move(receipt.error());
        outcome.wasBusy = outcome.refusal->isBusy;
    }
}

std::optional<Scheduler::Outcome> Scheduler::Run::perform(std::optional<TimePoint> given,
                                                          const CancellationTest& isCancelled) {
    Outcome outcome;
    const auto held = steps.lock();
    if (!held) {
        outcome.wasBusy = held.error().kind == Error::Kind::busy;
        outcome.refusal = {outcome.wasBusy ? CoreStrings::localized("Another scheduled run is in progress.")
                                           : held.error().describe(),
                           outcome.wasBusy};
        return outcome;
    }
    const TimePoint now = given ? *given : steps.now();  // the lock may have been waited for
    if (!given && !isOverdue(now)) return std::nullopt;
    // Noted before the work: a run that brings the program down is not tried again and again.
    const auto previous = preferences.lastScheduledRun();
    if (auto noted = preferences.setLastScheduledRun(now); !noted) {
        outcome.refusal = {noted.error().describe()};
        steps.record(lineOf(outcome, now));
        return outcome;
    }
    outcome.hasScanned = true;
    outcome.report = steps.scan(isCancelled);
    const bool isStillWanted = given || preferences.scheduledScansEnabled();
    if (!isCancelled() && isStillWanted && preferences.autoCleanEnabled())
        clean(outcome, isCancelled, !given);
    outcome.wasCancelled = isCancelled();
    // What was cancelled, and what another cleanup kept from cleaning, comes again at the next occasion.
    if (outcome.wasCancelled || outcome.wasBusy) (void)preferences.setLastScheduledRun(previous);
    steps.record(lineOf(outcome, now));
    return outcome;
}

std::uint64_t Scheduler::Outcome::bytesLeft() const {
    const std::uint64_t bytes = report.reclaimableBytes();
    return bytes - std::min(bytes, receipt ? receipt->bytesFreed() : 0);
}

Scheduler::Scheduler(std::shared_ptr<UserDefaults> defaults, ScheduledSteps steps)
    : run_(std::make_shared<Run>(std::move(defaults), std::move(steps))) {}

Scheduler::~Scheduler() {
    run_->cancel(true);
}

bool Scheduler::isOverdue(std::optional<TimePoint> lastRun, Cadence cadence, TimePoint now) {
    if (!lastRun || *lastRun < TimePoint()) return true;
    return now < *lastRun || now - *lastRun >= interval(cadence);
}

bool Scheduler::isOverdue(TimePoint now) const {
    return run_->isOverdue(now);
}

std::optional<TimePoint> Scheduler::nextRun(TimePoint now) const {
    const Preferences& settings = run_->preferences;
    if (!settings.scheduledScansEnabled()) return std::nullopt;
    const auto last = settings.lastScheduledRun();
    return !last || *last < TimePoint() || now < *last ? now : *last + interval(settings.cadence());
}

void Scheduler::start(std::function<bool()> canRun, std::function<void(const Outcome&)> onFinish) {
    if (activity_) run_->cancel(false);  // not to wait for its end
    activity_.reset();
    const Preferences& settings = run_->preferences;
    if (!settings.scheduledScansEnabled()) return;
    activity_ = run_->steps.startActivity(
        {.identifier = kActivity,
         .interval = interval(settings.cadence()),
         .tolerance = tolerance(settings.cadence()),
         .lastFired = settings.lastScheduledRun(),
         .fire = [weak = std::weak_ptr(run_), canRun = std::move(canRun), onFinish = std::move(onFinish)] {
             const auto run = weak.lock();
             if (!run || !canRun()) return;
             const auto flag = run->begin();
             const auto outcome = run->perform(run->steps.now(), flag->checker());
             run->end(flag);
             onFinish(*outcome);
         }});
}

Scheduler::Outcome Scheduler::run(TimePoint now, const CancellationTest& isCancelled) {
    return *runNow(now, isCancelled);
}

std::optional<Scheduler::Outcome> Scheduler::runIfDue(const CancellationTest& isCancelled) {
    if (!isOverdue(run_->steps.now())) return std::nullopt;
    return runNow(std::nullopt, isCancelled);
}

std::optional<Scheduler::Outcome> Scheduler::runNow(std::optional<TimePoint> now,
                                                    const CancellationTest& isCancelled) {
    const std::shared_ptr<Run> run = run_;
    const auto flag = run->begin();
    auto outcome = run->perform(now, [&isCancelled, flag] { return flag->isCancelled() || isCancelled(); });
    run->end(flag);
    return outcome;
}

void Scheduler::cancelCurrentRun() {
    run_->cancel(false);
}

std::vector<CleanupItem> Scheduler::itemsToClean(const ScanReport& report) {
    std::vector<CleanupItem> items = report.allItems();
    std::erase_if(items, [](const CleanupItem& item) {
        return item.classification != Classification::safe || item.moduleID == ModuleID::projects ||
               item.projectPath.has_value();
    });
    return items;
}

}  // namespace brindle
