// How the rooms work together: the one place that wires them. Both faces drive this.
#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/guard/safety_guard.h"
#include "core/platform/user_defaults.h"
#include "core/scan/scanner.h"
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
    std::optional<ModuleID> only;  // this module alone, also when the settings disable it
    std::function<void(const ModuleResult&)> onModuleFinished;
    std::function<void(const std::vector<StageTiming>&)> onTimings;
    CancellationTest isCancelled = [] { return false; };
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
    const ModuleList& modules() const { return modules_; }

    // The modules that a scan with these options would run, for progress.
    std::vector<ModuleID> modulesToRun(const ScanOptions& options) const;

    // A context as a scan of this moment gets it.
    ScanContext context(const ScanOptions& options) const;

    ScanReport scan(const ScanOptions& options) const;

    // The guard for one removal of what the report offers, from the settings of this moment. An error when the settings
    // cannot be trusted: without the protected paths nothing may go.
    std::expected<SafetyGuard, Error> safetyGuard(const ScanReport& report) const;

  private:
    SessionHome home_;
    std::shared_ptr<UserDefaults> defaults_;
    ModuleList modules_;
};

}  // namespace brindle
