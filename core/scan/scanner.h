// Runs every module once, side by side, and makes one report of what they found.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/scan/scan_module.h"
#include "core/scan/scan_report.h"
#include "core/scan/survey_walk.h"
#include "core/tools/toolbox.h"

namespace brindle {

// How long one step of a scan took, for `brindle scan --timings`.
struct StageTiming {
    // A module's raw identity, or a step: "survey", "merge", "capacity". "projects.walk" and "projects.git" are parts of
    // "projects", added over projects that are looked at side by side.
    std::string stage;
    double seconds = 0;
};

struct ScanRequest {
    std::set<ModuleID> disabledModules = {};
    // The user's: what one of them holds back is shown, and offered by no module.
    std::set<std::string> protectedPaths = {};
    bool includeProjects = true;
    std::vector<std::string> projectRoots = {};  // absolute, or relative to the home folder
    Toolbox tools = {};                          // for Git's questions
    // Applications and documents, walked beside the modules; absent: nobody measures these slices of the volume.
    std::optional<SurveyRequest> survey = {};
    // One call at a time, in the order in which modules finish, the projects among them when they are included; from a
    // thread of the scan; must not block.
    std::function<void(const ModuleResult&)> onModuleFinished = {};
    // Called once at the end, in the order in which the stages ended.
    std::function<void(const std::vector<StageTiming>&)> onTimings = {};
};

class Scanner {
  public:
    explicit Scanner(ModuleList modules) : modules_(std::move(modules)) {}

    // Blocking. A cancelled scan still returns a report, of what was gathered until then.
    ScanReport scan(const ScanContext& context, const ScanRequest& request) const;

    // One result for each identity: items and unreachable locations in input order, the tool installed if any
    // says so. In the order of first appearance.
    static std::vector<ModuleResult> merge(const std::vector<ModuleResult>& results);

  private:
    ModuleList modules_;
};

}  // namespace brindle
