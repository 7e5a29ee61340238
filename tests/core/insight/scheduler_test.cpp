#include "core/insight/scheduler.h"

#include <gtest/gtest.h>

#include <future>
#include <latch>
#include <semaphore>

#include "core/insight/low_disk.h"
#include "tests/support/sample_item.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

TimePoint at(const char* text) {
    return timeFromIso8601(text).value();
}

const TimePoint kStart = at("2026-03-01T12:00:00Z");

TEST(Scheduler, IsOverdueAfterTheIntervalAndWhenTheClockWentBack) {
    const struct {
        std::optional<TimePoint> last;
        Cadence cadence;
        bool isOverdue;
    } cases[] = {
        {{}, Cadence::monthly, true},
        {kStart - 23h, Cadence::daily, false},
        {kStart - 24h, Cadence::daily, true},
        {kStart - 24h * 7 + 1s, Cadence::weekly, false},
        {kStart - 24h * 7, Cadence::weekly, true},
        {kStart - 24h * 30 + 1s, Cadence::monthly, false},
        {kStart - 24h * 30, Cadence::monthly, true},
        {kStart + 1s, Cadence::monthly, true},
    };
    for (const auto& each : cases)
        EXPECT_EQ(Scheduler::isOverdue(each.last, each.cadence, kStart), each.isOverdue)
            << rawText(each.cadence);
}

CleanupItem item(const std::string& id, Classification classification,
                 std::optional<std::string> project = {}) {
    CleanupItem made = test::itemOf(id, {DeletePaths{{"/nowhere/" + id}}}, classification);
    made.projectPath = std::move(project);
    return made;
}

// A scheduler whose steps are counted, and do nothing.
class ScheduledRuns : public testing::Test {
  protected:
    ScheduledRuns() {
        (void)preferences.setScheduledScansEnabled(true);
        (void)preferences.setAutoCleanEnabled(true);
    }

    ScheduledSteps steps() {
        return {.lock = [this] { return FileLock::tryAcquire(home.path("schedule.lock")); },
                .scan = [this](const CancellationTest& isCancelled) { return scan(isCancelled); },
                .clean = [this](const ScanReport&, const std::vector<CleanupItem>& items,
                                const CancellationTest& isCancelled,
                                bool onlyWhileOn) -> std::expected<Receipt, ScheduledRefusal> {
                    isTied = onlyWhileOn;
                    for (const CleanupItem& each : items) cleaned.push_back(each.id);
                    if (duringClean) duringClean(isCancelled);
                    if (!refusal.empty()) return std::unexpected(ScheduledRefusal{refusal, isBusy});
                    return Receipt();
                },
                .record = [this](const ScheduledRun& run) { runs.push_back(run); }};
    }

    ScanReport scan(const CancellationTest& isCancelled) {
        ++scans;
        if (duringScan) duringScan(isCancelled);
        ScanReport report;
        report.modules = {
            {ModuleID::tools,
             {item("tools.safe", Classification::safe), item("tools.review", Classification::review),
              item("tools.protected", Classification::protected_),
              item("tools.ofProject", Classification::safe, "/p")},
             {},
             true},
            {ModuleID::projects, {item("projects.safe", Classification::safe)}, {}, true}};
        return report;
    }

    test::TestHome home;
    std::shared_ptr<UserDefaults> defaults = fileDefaults(home.path("preferences.json"));
    Preferences preferences{defaults};
    std::function<void(const CancellationTest&)> duringScan;
    std::function<void(const CancellationTest&)> duringClean;
    std::string refusal;
    bool isBusy = false;
    bool isTied = false;  // the last clean, to scans that are switched on
    int scans = 0;
    std::vector<std::string> cleaned;
    std::vector<ScheduledRun> runs;
};

const CancellationTest kNever = [] { return false; };

TEST_F(ScheduledRuns, CleanOnlyWhatIsSafeAndBelongsToNoProject) {
    Scheduler scheduler(defaults, steps());
    const auto outcome = scheduler.run(kStart, kNever);
    EXPECT_TRUE(outcome.receipt);
    EXPECT_EQ(cleaned, std::vector<std::string>{"tools.safe"});
    EXPECT_EQ(preferences.lastScheduledRun(), kStart);
    EXPECT_FALSE(scheduler.isOverdue(kStart + 24h * 7 - 1s));
    EXPECT_EQ(scheduler.nextRun(kStart), kStart + 24h * 7);
    ASSERT_TRUE(defaults->set(settingKey::kCadence, std::string("hourly")));
    EXPECT_EQ(scheduler.nextRun(kStart), kStart + 24h * 7) << "an unknown cadence is a week";
    ASSERT_TRUE(preferences.setScheduledScansEnabled(false));
    EXPECT_FALSE(scheduler.isOverdue(kStart + 24h * 700));
    EXPECT_FALSE(scheduler.nextRun(kStart));
}

TEST_F(ScheduledRuns, SayWhyNothingWasCleaned) {
    Scheduler scheduler(defaults, steps());
    refusal = "because";
    isBusy = true;
    EXPECT_TRUE(scheduler.run(kStart, kNever).wasBusy);
    EXPECT_FALSE(preferences.lastScheduledRun()) << "its turn is not lost";
    runs.clear();
    isBusy = false;
    EXPECT_EQ(scheduler.run(kStart, kNever).refusal->sentence, "because");
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].refusal, "because");
    EXPECT_EQ(runs[0].reclaimableBytes, 4000U);
    ASSERT_TRUE(preferences.setAutoCleanEnabled(false));
    cleaned.clear();
    EXPECT_FALSE(scheduler.run(kStart, kNever).refusal);
    EXPECT_TRUE(cleaned.empty());

    ScheduledSteps late = steps();
    late.lock = [this] {  // another process has run meanwhile
        (void)preferences.setLastScheduledRun(kStart + 24h * 7);
        return FileLock::tryAcquire(home.path("schedule.lock"));
    };
    late.now = [] { return kStart + 24h * 7; };
    EXPECT_FALSE(Scheduler(defaults, late).runIfDue(kNever));
    ASSERT_TRUE(preferences.setLastScheduledRun(kStart));

    const auto lock = FileLock::tryAcquire(home.path("schedule.lock"));
    const auto busy = scheduler.run(kStart + 1s, kNever);
    EXPECT_TRUE(busy.wasBusy && busy.refusal);
    EXPECT_EQ(scans, 3) << "another process is at it";
    EXPECT_EQ(preferences.lastScheduledRun(), kStart);
}

TEST_F(ScheduledRuns, HeedWhatIsSwitchedOffWhileTheyScan) {
    ScheduledSteps due = steps();
    due.now = [] { return kStart; };
    ASSERT_TRUE(preferences.setLastScheduledRun(TimePoint::min())) << "no time of a run";
    EXPECT_TRUE(Scheduler(defaults, due).isOverdue(kStart));
    EXPECT_TRUE(Scheduler(defaults, due).runIfDue(kNever) && isTied);
    EXPECT_FALSE(Scheduler(defaults, due).run(kStart, kNever).wasBusy || isTied) << "somebody asked for it";
    cleaned.clear();
    for (const bool isWhole : {false, true}) {
        SCOPED_TRACE(isWhole);
        duringScan = [&](const auto&) {
            EXPECT_TRUE(isWhole ? preferences.setScheduledScansEnabled(false)
                                : preferences.setDisabledModules({ModuleID::tools}));
        };
        ASSERT_TRUE(preferences.setLastScheduledRun(std::nullopt));
        const auto outcome = Scheduler(defaults, due).runIfDue(kNever);
        ASSERT_TRUE(outcome && outcome->hasScanned);
        EXPECT_TRUE(cleaned.empty());
        ASSERT_TRUE(preferences.setDisabledModules({}));
    }
}

TEST_F(ScheduledRuns, StopInTheMidstAndDoNotCountThen) {
    for (const bool inClean : {false, true}) {
        SCOPED_TRACE(inClean);
        Scheduler scheduler(defaults, steps());
        cleaned.clear();
        const auto cancel = [&](const CancellationTest& isCancelled) {
            EXPECT_FALSE(isCancelled());
            scheduler.cancelCurrentRun();
            EXPECT_TRUE(isCancelled());
        };
        (inClean ? duringClean : duringScan) = cancel;
        const auto outcome = scheduler.run(kStart, kNever);
        EXPECT_TRUE(outcome.wasCancelled);
        EXPECT_EQ(cleaned.empty(), !inClean);
        EXPECT_FALSE(preferences.lastScheduledRun());
        EXPECT_TRUE(runs.back().wasCancelled);
        duringScan = duringClean = {};
        EXPECT_FALSE(scheduler.run(kStart, kNever).wasCancelled) << "it stops one run";
        ASSERT_TRUE(preferences.setLastScheduledRun(std::nullopt));
    }
}

// Time passes only while something waits for it; at the end it stands still.
class ScriptedClock : public ActivityClock {
  public:
    explicit ScriptedClock(TimePoint end) : end_(end) {}

    TimePoint now() const override { return now_; }
    void wait(std::chrono::seconds most, const std::stop_token& stop) override {
        now_ += most;
        if (onWait) onWait(now_);
        if (now_ < end_) return;
        isOver.count_down();
        while (!stop.stop_requested()) std::this_thread::sleep_for(1ms);
    }

    std::function<void(TimePoint& now)> onWait;
    std::latch isOver{1};

  private:
    TimePoint now_ = kStart;
    TimePoint end_;
};

TEST_F(ScheduledRuns, ComeAsOftenAsTheCadenceSays) {
    static constexpr auto kDay = 24h;
    const struct {
        const char* name;
        Cadence cadence;
        int days;
        std::function<void(TimePoint&)> onWait;
        int runs;
    } cases[] = {
        {"a hundred days", Cadence::daily, 100, {}, 100},
        {"a year of weeks", Cadence::weekly, 7 * 52, {}, 52},
        {"two years of months", Cadence::monthly, 30 * 24, {}, 24},
        {"asleep for a month: made up for once", Cadence::daily, 50,
         [slept = false](TimePoint& now) mutable {
             if (slept || now < kStart + 10 * kDay + 1h) return;
             slept = true;
             now += 30 * kDay;
         },
         21},
        {"set back by a year: at once, and from there on", Cadence::weekly, 21,
         [back = false](TimePoint& now) mutable {
             if (back || now < kStart + 8 * kDay) return;
             back = true;
             now -= 365 * kDay;
         },
         2 + 1 + 53},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        ASSERT_TRUE(preferences.setCadence(each.cadence));
        ASSERT_TRUE(preferences.setLastScheduledRun(std::nullopt));
        const auto clock = std::make_shared<ScriptedClock>(kStart + each.days * kDay - 1s);
        clock->onWait = each.onWait;
        ScheduledSteps own = steps();
        own.now = [clock] { return clock->now(); };
        own.startActivity = [clock](ActivityOrder order) {
            return startTimerActivity(std::move(order), clock);
        };
        int finished = 0;
        Scheduler scheduler(defaults, std::move(own));
        scheduler.start([] { return true; }, [&](const Scheduler::Outcome&) { ++finished; });
        clock->isOver.wait();
        EXPECT_EQ(finished, each.runs);
    }
}

TEST_F(ScheduledRuns, ReadTheCadenceWhenArmedAndEndWithTheScheduler) {
    std::vector<ActivityOrder> orders;
    ScheduledSteps own = steps();
    own.startActivity = [&](ActivityOrder order) -> std::unique_ptr<BackgroundActivity> {
        orders.push_back(order);
        return startTimerActivity(std::move(order));
    };
    std::binary_semaphore isScanning{0};
    bool wasCancelled = false;
    bool mayRun = false;
    duringScan = [&](const CancellationTest& isCancelled) {
        isScanning.release();
        while (!isCancelled()) std::this_thread::sleep_for(1ms);
    };
    {
        Scheduler scheduler(defaults, std::move(own));
        const auto start = [&] {
            scheduler.start([&] { return mayRun; },
                            [&](const Scheduler::Outcome& outcome) { wasCancelled = outcome.wasCancelled; });
        };
        start();
        ASSERT_TRUE(preferences.setCadence(Cadence::daily));
        ASSERT_TRUE(preferences.setLastScheduledRun(std::chrono::system_clock::now()));
        start();
        ASSERT_EQ(orders.size(), 2U);
        EXPECT_EQ(orders[0].interval, 24h * 7);
        EXPECT_EQ(orders[1].interval, 24h);
        EXPECT_EQ(orders[1].tolerance, 12h);
        EXPECT_TRUE(orders[1].lastFired);
        EXPECT_EQ(scans, 0) << "it may not run";
        ASSERT_TRUE(preferences.setLastScheduledRun(std::nullopt));
        mayRun = true;
        start();
        isScanning.acquire();
    }
    EXPECT_TRUE(wasCancelled);
}

TEST_F(ScheduledRuns, AreKeptAsALineEach) {
    const ScheduleLog log(home.path("data/scheduled-runs.jsonl"));
    EXPECT_TRUE(log.runs().empty());
    ScheduledRun run{.at = kStart,
                     .reclaimableBytes = 5,
                     .receipt = Uuid{{1, 2, 3}},
                     .cleanedBytes = 3,
                     .wasCancelled = false,
                     .refusal = "caf\xc3\xa9 \"x\"\nand more"};
    ASSERT_TRUE(log.append(run));
    EXPECT_EQ(log.runs(), std::vector{run});
    home.text("data/scheduled-runs.jsonl", "{}\nnot json\n[1]\n");
    for (int count = 0; count < 500; ++count) {
        run.at += 1h;
        ASSERT_TRUE(log.append(run));
    }
    EXPECT_EQ(log.runs().size(), ScheduleLog::kMost);
    EXPECT_EQ(log.runs().front(), run);
}

TEST_F(ScheduledRuns, AlertOnceADayWhileSpaceIsLow) {
    ASSERT_TRUE(preferences.setLowDiskThreshold(20'000'000'000));
    ASSERT_TRUE(preferences.setLowDiskAlertsEnabled(true));
    const auto alerted = [&](std::uint64_t gigabytes, TimePoint now) {
        return checkLowDisk(defaults, DiskInfo{"disk", 500'000'000'000, gigabytes * 1'000'000'000}, now);
    };
    const auto first = alerted(12, kStart);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->title, "Low disk space: 12.0 GB available");
    EXPECT_FALSE(alerted(11, kStart + 24h - 1s));
    EXPECT_TRUE(alerted(11, kStart + 24h));
    EXPECT_FALSE(alerted(20, kStart + 25h)) << "at the threshold there is enough";
    EXPECT_TRUE(alerted(19, kStart + 26h)) << "the next fall alerts at once";
    EXPECT_TRUE(alerted(19, kStart - 1h)) << "the clock was set back";
    ASSERT_TRUE(preferences.setLowDiskAlertsEnabled(false));
    EXPECT_FALSE(alerted(1, kStart + 100h));
    EXPECT_FALSE(checkLowDisk(defaults, std::nullopt, kStart + 100h));
}

}  // namespace
}  // namespace brindle
