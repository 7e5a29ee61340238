// How the rooms work together: the one place that wires them. Both faces drive this.
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/guard/safety_guard.h"
#include "core/insight/duplicate_scanner.h"
#include "core/insight/low_disk.h"
#include "core/insight/schedule_log.h"
#include "core/insight/scheduler.h"
#include "core/insight/storage_trend.h"
#include "core/platform/files.h"
#include "core/platform/trash.h"
#include "core/platform/user_defaults.h"
#include "core/projects/project_place.h"
#include "core/projects/project_search.h"
#include "core/removal/history_store.h"
#include "core/scan/scanner.h"
#include "core/session/cleanup.h"
#include "core/session/duplicate_order.h"
#include "core/session/put_back_order.h"
#include "core/session/schedule_timer.h"
#include "core/settings/full_disk_access.h"
#include "core/settings/preferences.h"
#include "core/tools/process_runner.h"

namespace brindle {

// Whose storage is looked at. `core` reads no environment: the face hands it over.
struct SessionHome {
    std::string path;  // absolute, links resolved, no trailing "/"
    // false: named with --home; its own preferences, whatever the environment, and tools take it for their home
    bool isCurrentUser = true;
    std::vector<std::string> environment;  // "NAME=value"
};

struct ScanOptions {
    bool includeProjects = true;
    bool includeDisabled = false;  // also the modules that the settings switch off
    // Nobody is there to answer: what the system would ask the user about is left alone, unless access was granted before.
    bool isUnattended = false;
    // Applications and documents are measured as well, unless some modules alone are asked: theirs is not the developer data
    // that would have to be left out.
    bool includeSurvey = true;
    std::set<ModuleID> only = {};  // these modules alone, also when the settings disable them; empty: all
    std::function<void(const ModuleResult&)> onModuleFinished;
    std::function<void(const std::vector<StageTiming>&)> onTimings;
    CancellationTest isCancelled = [] { return false; };
};

struct FoundProjects {
    std::vector<Project> projects;  // largest first
    std::vector<UnreachableLocation> unreachable;
};

struct InspectedProject {
    Project project;
    std::vector<UnreachableLocation> unreachable;  // in it
};

// What stands beside one project.
struct ProjectNeighbours {
    bool isListed = false;  // a search comes upon the project itself
    RelatedProjects related;
};

// Owned by a face; its operations block and may run on any thread, one at a time.
class Session {
  public:
    explicit Session(SessionHome home);

    const std::string& home() const { return home_.path; }
    UserDefaults& defaults() const { return *defaults_; }  // the store behind the preferences
    Preferences preferences() const;
    FullDiskAccess fullDiskAccess() const;
    ProcessRunner processRunner() const;
    Toolbox toolbox() const;  // the tools of this machine, in this home
    const ModuleList& modules() const { return modules_; }

    // The modules that a scan with these options would run, and the projects when it looks for them: for progress.
    std::vector<ModuleID> modulesToRun(const ScanOptions& options) const;

    // A context as a scan of this moment gets it.
    ScanContext context(const ScanOptions& options) const;

    ScanReport scan(const ScanOptions& options) const;

    // How the disk and the tools' piles develop: every scan and every cleanup leaves a sample.
    StorageTrend trend() const { return StorageTrend(defaults_); }

    // The projects alone, as a scan of this moment would find them. Of the options only isCancelled counts.
    FoundProjects findProjects(const ScanOptions& options) const;

    // One folder as a project, wherever it lies; likewise.
    std::expected<InspectedProject, Error> inspectProject(const std::string& folder,
                                                          const ScanOptions& options) const;

    // Whether a folder below the home or beside it is a project, lies in one or holds some; likewise.
    ProjectPlace placeOfFolder(const std::string& folder, const ScanOptions& options) const;

    // The projects that look like the same work as this one, without inspecting them; likewise.
    ProjectNeighbours neighboursOf(const Project& project, const ScanOptions& options) const;

    // The guard for one removal of what the report offers, from the settings of this moment. An error when the settings
    // cannot be trusted: without the protected paths nothing may go.
    std::expected<SafetyGuard, Error> safetyGuard(const ScanReport& report) const;

    // Where the receipts of this home's cleanups are kept.
    HistoryStore history() const { return HistoryStore::ofHome(home_.path); }

    // One cleanup at a time over all processes. What an earlier one left unfinished is recorded first. Nothing is
    // touched when the history cannot be read; a rehearsal leaves a receipt, too. Nothing that went is missing from
    // the history, whenever the process ends.
    std::expected<CleanOutcome, CleanRefusal> clean(const CleanOrder& order) const;

    // Identical files below one folder of the home, and which of them may go; the Trash of the home is passed over. The
    // error is a localised sentence.
    std::expected<FoundDuplicates, std::string> findDuplicates(DuplicateSearch search) const;

    // Puts copies into the Trash, as a cleanup: each is compared once more right before it goes, and so is one that stays.
    std::expected<CleanOutcome, CleanRefusal> trashDuplicates(const TrashDuplicatesOrder& order) const;

    // Turns what a cleanup left that did not come to its end into its receipt; absent when there is nothing of the
    // kind, and while a cleanup is running. One look at one file where there is none.
    std::expected<std::optional<Receipt>, CleanRefusal> recordInterrupted() const;

    // What a cleanup put into the Trash, back to where it was, and never over anything. Takes the lock of cleanups;
    // the history shows each thing that is back as soon as it is.
    std::expected<PutBackOutcome, PutBackRefusal> putBack(const PutBackOrder& order) const;

    // The Trash of this home.
    Trash trash() const;

    // Scans that run by themselves, with this session's scan and clean; the session outlives it.
    Scheduler scheduler() const;
    ScheduleLog scheduleLog() const;  // a line for each of them

    // Space is low, and it is time to say so; of the volume that the report is about.
    std::optional<LowDiskAlert> lowDiskAlert(const ScanReport& report) const;

    // A message on the user's desktop; false where nothing can show it.
    bool postNotification(const std::string& title, const std::string& body) const;

    // The timer of the system's own scheduler that starts scheduled scans of this home with this program.
    ScheduleTimer scheduleTimer(const std::string& program) const;

  private:
    std::expected<FileLock, Error> cleanupLock() const;
    using GuardSource = std::function<std::expected<SafetyGuard, Error>()>;
    // The request lacks its guard, which is made under the lock, its identity and its time.
    std::expected<CleanOutcome, CleanRefusal> cleanUnderLock(CleanRequest request,
                                                             const GuardSource& guard) const;
    std::expected<CleanOutcome, CleanRefusal> cleanLocked(CleanRequest request) const;
    std::optional<SurveyRequest> surveyRequest(const ScanOptions& options) const;
    void recordSample(const ScanReport& report, const ScanOptions& options) const;
    void recordSample(const Receipt& receipt) const;
    std::optional<std::string> protectedMeanwhile(const CleanupItem& item, const std::set<std::string>& known,
                                                  const GuardSource& guardSource) const;
    std::optional<std::string> unwanted(const CleanupItem& item,
                                        bool onlyWhileOn) const;  // of a scheduled cleanup
    std::string variable(std::string_view name) const;  // of the environment; empty when it is not set
    std::string configFolder() const;                   // XDG_CONFIG_HOME or ~/.config
    ProjectSearch projectSearch(const ScanContext& context) const;
    bool asksNobody(const ScanOptions& options) const;

    SessionHome home_;
    std::shared_ptr<UserDefaults> defaults_;
    ModuleList modules_;
};

}  // namespace brindle
