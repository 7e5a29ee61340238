#include "core/scan/scanner.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

#include "core/guard/safety_guard.h"
#include "core/projects/project_cleanup.h"
#include "core/projects/project_collector.h"
#include "core/projects/project_detector.h"
#include "core/projects/project_tables.h"
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
    std::erase_if(item.explanation.facts, [](const Fact& fact) { return fact.storedLabel == "Removing"; });
    item.explanation.facts.push_back({"Not removed because", reason});
}

// Nothing is offered that the guard would refuse afterwards.
void protectWhatMayNotGo(ModuleResult& result, const ScanContext& context, const ScanRequest& request,
                         const std::vector<Project>& projects = {}) {
    const SafetyGuard guard({.home = context.home,
                             .protectedPaths = request.protectedPaths,
                             .projectArtifacts = vouchedProjectPaths(projects),
                             .artifactNames = artifactNames(),
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

// Where the projects lie is found once in a scan, by whoever asks first: the search itself, or a module.
class ProjectStage {
  public:
    ProjectStage(const ScanContext& context, const ScanRequest& request)
        : isWanted_(request.includeProjects && !request.disabledModules.contains(ModuleID::projects)),
          search_{
              .home = context.home,
              .roots = request.projectRoots,
              .now = context.now,
              .artifactHardlinks = context.hardlinks.get(),
              .report = [diagnostics = context.diagnostics](
                            const std::string& path, Reason reason) { diagnostics->record(path, reason); },
              .isCancelled = context.isCancelled,
              .mounts = context.mounts},
          detector_(request.tools),
          found_(std::async(std::launch::deferred, find, std::cref(search_)).share()) {}

    bool isWanted() const { return isWanted_; }

    ProjectPlaces places() const {
        const auto found = found_;  // one future for each thread
        ProjectPlaces places{.paths = {}, .unread = found.get().unread};
        for (const ProjectFolder& each : found.get().projects) places.paths.insert(each.path);
        return places;
    }

    Finished run(const ScanContext& context, const ScanRequest& request) {
        const auto start = Clock::now();
        Finished finished;
        finished.result = {ModuleID::projects, {}, {}, true};
        if (!context.isCancelled()) {
            projects_ = detector_.inspectFound(std::shared_future(found_).get().projects, search_, &times_);
            finished.result.items = dormantProjectItems(projects_, context.home, context.now);
            protectWhatMayNotGo(finished.result, context, request, projects_);
        }
        finished.timing = {std::string(rawText(ModuleID::projects)), secondsSince(start)};
        return finished;
    }

    // After run().
    std::vector<Project> takeProjects() { return std::move(projects_); }
    const ProjectTimes& times() const { return times_; }

  private:
    struct Found {
        std::vector<ProjectFolder> projects;
        std::set<std::string> unread;
    };

    static Found find(const ProjectSearch& search) {
        Found found;
        ProjectSearch noting = search;
        noting.report = [&](const std::string& path, Reason reason) {
            found.unread.insert(path);
            search.report(path, reason);
        };
        found.projects = collectProjects(noting);
        return found;
    }

    bool isWanted_;
    ProjectSearch search_;
    ProjectDetector detector_;
    std::shared_future<Found> found_;
    std::vector<Project> projects_;
    ProjectTimes times_;
};

// The walk over applications and documents, on a thread of its own.
class SurveyStage {
  public:
    SurveyStage(const ScanContext& context, const ScanRequest& request) {
        if (!request.survey) return;
        walk_.emplace(context, *request.survey);
        const auto run = [this] {
            const auto start = Clock::now();
            walk_->run();
            seconds_ = secondsSince(start);
        };
        try {
            thread_ = std::jthread(run);
        } catch (const std::system_error&) {
            run();  // no thread to be had
        }
    }

    // Waits for its end. After the last module.
    StorageSurvey finish(const std::vector<ModuleResult>& results, std::vector<StageTiming>& timings) {
        if (!walk_) return {};
        if (thread_.joinable()) thread_.join();
        timings.push_back({"survey", seconds_});
        return walk_->survey(results);
    }

  private:
    std::optional<SurveyWalk> walk_;
    double seconds_ = 0;
    std::jthread thread_;  // ends before what it uses
};

// One thread for each: a module that waits for a tool holds up neither the others nor a walk.
std::vector<ModuleResult> runAll(const ModuleList& modules, const ScanContext& context,
                                 const ScanRequest& request, ProjectStage& projects,
                                 std::vector<StageTiming>& timings) {
    std::vector<std::function<Finished()>> runs;
    // Begun first, for it takes longest.
    if (projects.isWanted()) runs.emplace_back([&] { return projects.run(context, request); });
    for (const auto& module : modules) {
        if (request.disabledModules.contains(module->id())) continue;
        runs.emplace_back([&context, &request, module] { return runModule(*module, context, request); });
    }
    FinishedQueue queue;
    std::vector<std::jthread> threads;
    for (std::size_t place = 0; place < runs.size(); ++place) {
        const auto run = [&queue, &runs, place] {
            Finished finished = runs[place]();
            finished.place = place;
            queue.push(std::move(finished));
        };
        try {
            threads.emplace_back(run);
        } catch (const std::system_error&) {
            run();  // no thread to be had: later than the others, but not left out
        }
    }
    // In this order, not as they finish: what two of one identity found stands in one order in every scan.
    std::vector<ModuleResult> results(runs.size());
    for (std::size_t finishedCount = 0; finishedCount < runs.size(); ++finishedCount) {
        Finished finished = queue.pop();
        if (request.onModuleFinished) request.onModuleFinished(finished.result);
        timings.push_back(std::move(finished.timing));
        results[finished.place] = std::move(finished.result);
    }
    return results;
}

}  // namespace

ScanReport Scanner::scan(const ScanContext& given, const ScanRequest& request) const {
    const auto start = Clock::now();
    std::vector<StageTiming> timings;
    ProjectStage projects(given, request);
    ScanContext context = given;
    context.projectPlaces = [&projects] { return projects.places(); };
    SurveyStage survey(context, request);
    std::vector<ModuleResult> results = runAll(modules_, context, request, projects, timings);
    if (projects.isWanted()) {
        // Without anything to offer there is no result: no module stands behind it.
        if (results.front().items.empty()) results.erase(results.begin());
        timings.push_back({"projects.walk", projects.times().walking});
        timings.push_back({"projects.git", projects.times().git});
    }

    const StorageSurvey surveyed = survey.finish(results, timings);

    auto stage = Clock::now();
    addStrayLocations(results, context);
    ScanReport report;
    report.projects = projects.takeProjects();
    report.modules = merge(results);
    std::ranges::stable_sort(report.modules, isLarger);
    timings.push_back({"merge", secondsSince(stage)});

    stage = Clock::now();
    report.disk = DiskInfo::current(context.home);
    report.storage = storageBreakdown(report.disk, report.developerBytes(), surveyed);
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
