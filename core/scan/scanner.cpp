#include "core/scan/scanner.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

#include "core/guard/safety_guard.h"
#include "core/scan/storage_survey.h"
#include "core/settings/full_disk_access.h"

namespace brindle {

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Finished {
    ModuleResult result;
    StageTiming timing;
    std::size_t place = 0;  // among the modules that run
};

// Results on their way from the modules' threads to the collecting one.
class FinishedQueue {
  public:
    void push(Finished finished) {
        const std::lock_guard guard(lock_);
        waiting_.push_back(std::move(finished));
        arrived_.notify_one();
    }

    Finished pop() {
        std::unique_lock guard(lock_);
        arrived_.wait(guard, [this] { return !waiting_.empty(); });
        Finished finished = std::move(waiting_.front());
        waiting_.pop_front();
        return finished;
    }

  private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<Finished> waiting_;
};

using Reason = UnreachableLocation::Reason;

// A result's locations, each path once: what was there before stays.
class LocationList {
  public:
    explicit LocationList(std::vector<UnreachableLocation>& locations) : locations_(locations) {
        for (const UnreachableLocation& location : locations) known_.insert(location.path);
    }

    void add(const std::string& path, Reason reason) {
        if (!known_.insert(path).second) return;
        locations_.push_back(UnreachableLocation::withDefaultRemedy(path, reason));
    }

  private:
    std::vector<UnreachableLocation>& locations_;
    std::set<std::string> known_;
};

// A module need not report again what its own measurements already say.
void completeUnreachable(ModuleResult& result, const ScanDiagnostics& diagnostics) {
    std::set<std::string> unreadable;
    std::set<std::string> foreign;
    for (const CleanupItem& item : result.items) {
        unreadable.insert(item.measurement.unreadablePaths.begin(), item.measurement.unreadablePaths.end());
        foreign.insert(item.measurement.otherVolumePaths.begin(), item.measurement.otherVolumePaths.end());
    }
    LocationList locations(result.unreachable);
    for (const std::string& path : unreadable) {
        const bool isGone = diagnostics.reason(path) == Reason::missing;
        locations.add(path, isGone ? Reason::missing : Reason::permissionDenied);
    }
    for (const std::string& path : foreign) locations.add(path, Reason::differentVolume);
}

// Still shown, so that the user sees where the space is and why it stays.
void protect(CleanupItem& item, const std::string& reason) {
    item.classification = Classification::protected_;
    item.clears.reset();
    item.explanation.storedWhatHappensNext = kNothingIsRemoved;
    item.explanation.storedWhySuggested.reset();
    item.explanation.regeneratedBy.reset();
    item.explanation.facts.push_back({"Not removed because", reason});
}

// Nothing is offered that the guard would refuse afterwards.
void protectWhatMayNotGo(ModuleResult& result, const ScanContext& context, const ScanRequest& request) {
    const SafetyGuard guard({.home = context.home,
                             .protectedPaths = request.protectedPaths,
                             .appLeftovers = result.vouchedLeftoverPaths()});
    for (CleanupItem& item : result.items) {
        if (!isRemovable(item.classification)) continue;
        const SafetyVerdict verdict = guard.verdictForItem(item);
        if (!verdict.isAllowed()) protect(item, *verdict.reason());
    }
}

Finished runModule(const ScanModule& module, const ScanContext& context, const ScanRequest& request) {
    const auto start = Clock::now();
    // A cancelled module is never reported as a missing tool.
    ModuleResult result{
        .moduleID = module.id(), .items = {}, .unreachable = {}, .isToolchainInstalled = true};
    if (!context.isCancelled()) {
        result = module.scan(context);
        completeUnreachable(result, *context.diagnostics);
        protectWhatMayNotGo(result, context, request);
    }
    return {std::move(result), {std::string(rawText(module.id())), secondsSince(start)}};
}

// The folders that macOS guards even from the user's own programs.
std::vector<UnreachableLocation> guardedLocations(const ScanContext& context) {
    if (FullDiskAccess(context.home).isGranted()) return {};
    std::vector<UnreachableLocation> locations;
    for (const std::string& path : FullDiskAccess::blockedPaths(
             {context.path("Library/Application Support"), context.path("Library/Containers")})) {
        locations.push_back({path, Reason::permissionDenied, std::string(FullDiskAccess::kRemedy)});
    }
    return locations;
}

// What was met outside any module's own report, shown under the system's name.
void addStrayLocations(std::vector<ModuleResult>& results, const ScanContext& context) {
    std::set<std::string> reported;
    for (const ModuleResult& result : results) {
        for (const UnreachableLocation& location : result.unreachable) reported.insert(location.path);
    }
    std::vector<UnreachableLocation> strays;
    for (const auto& [path, reason] : context.diagnostics->entries()) {
        if (!reported.contains(path)) strays.push_back(UnreachableLocation::withDefaultRemedy(path, reason));
    }
    for (UnreachableLocation& location : guardedLocations(context)) strays.push_back(std::move(location));
    if (strays.empty()) return;
    results.push_back({ModuleID::system, {}, std::move(strays), true});
}

bool isLarger(const ModuleResult& left, const ModuleResult& right) {
    const std::uint64_t leftBytes = left.totalBytes();
    const std::uint64_t rightBytes = right.totalBytes();
    return leftBytes != rightBytes ? leftBytes > rightBytes : left.moduleID < right.moduleID;
}

// One thread a module: a module that waits for a tool holds up neither the others nor a walk.
std::vector<ModuleResult> runModules(const ModuleList& modules, const ScanContext& context,
                                     const ScanRequest& request, std::vector<StageTiming>& timings) {
    FinishedQueue queue;
    std::vector<std::jthread> threads;
    std::size_t running = 0;
    for (const auto& module : modules) {
        if (request.disabledModules.contains(module->id())) continue;
        const auto run = [&queue, &context, &request, module, place = running] {
            Finished finished = runModule(*module, context, request);
            finished.place = place;
            queue.push(std::move(finished));
        };
        running += 1;
        try {
            threads.emplace_back(run);
        } catch (const std::system_error&) {
            run();  // no thread to be had: later than the others, but not left out
        }
    }
    // In the modules' order, not as they finish: what two of one identity found stands in one order in every scan.
    std::vector<ModuleResult> results(running);
    for (std::size_t finishedCount = 0; finishedCount < running; ++finishedCount) {
        Finished finished = queue.pop();
        if (request.onModuleFinished) request.onModuleFinished(finished.result);
        timings.push_back(std::move(finished.timing));
        results[finished.place] = std::move(finished.result);
    }
    return results;
}

}  // namespace

ScanReport Scanner::scan(const ScanContext& context, const ScanRequest& request) const {
    const auto start = Clock::now();
    std::vector<StageTiming> timings;
    std::vector<ModuleResult> results = runModules(modules_, context, request, timings);

    auto stage = Clock::now();
    addStrayLocations(results, context);
    ScanReport report;
    report.modules = merge(results);
    std::ranges::stable_sort(report.modules, isLarger);
    timings.push_back({"merge", secondsSince(stage)});

    stage = Clock::now();
    report.disk = DiskInfo::current(context.home);
    report.storage = storageBreakdown(report.disk, report.developerBytes(), {});
    timings.push_back({"capacity", secondsSince(stage)});

    report.duration = secondsSince(start);
    report.finishedAt = std::chrono::system_clock::now();
    if (request.onTimings) request.onTimings(timings);
    return report;
}

std::vector<ModuleResult> Scanner::merge(const std::vector<ModuleResult>& results) {
    std::vector<ModuleResult> merged;
    for (const ModuleResult& result : results) {
        auto stored = std::ranges::find(merged, result.moduleID, &ModuleResult::moduleID);
        if (stored == merged.end()) {
            merged.push_back(result);
            continue;
        }
        stored->items.insert(stored->items.end(), result.items.begin(), result.items.end());
        stored->unreachable.insert(stored->unreachable.end(), result.unreachable.begin(),
                                   result.unreachable.end());
        stored->isToolchainInstalled = stored->isToolchainInstalled || result.isToolchainInstalled;
    }
    return merged;
}

}  // namespace brindle
