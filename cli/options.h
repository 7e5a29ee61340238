// What the command line said, understood and checked.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/model/cadence.h"
#include "core/model/classification.h"
#include "core/model/module_id.h"

namespace brindle {

// Which of the found items are shown. Totals are never filtered.
struct ItemFilter {
    std::set<Classification> classifications;  // empty: all
    std::uint64_t leastBytes = 0;

    bool isActive() const { return !classifications.empty() || leastBytes > 0; }
    bool shows(Classification classification, std::uint64_t bytes) const {
        return bytes >= leastBytes && (classifications.empty() || classifications.contains(classification));
    }
};

// What brindle clean is to take, and how.
struct CleanWish {
    std::vector<std::string> subjects;  // items or their paths, as typed
    bool onlySafe = false;
    bool includesReview = false;   // also those that are not named
    std::optional<int> leastDays;  // since the newest change in the item
    std::optional<std::uint64_t> leastBytes;
    bool isRehearsal = false;
    bool isConfirmed = false;
    std::optional<std::string> planFile;  // written by a rehearsal, otherwise carried out

    bool isPlanCarriedOut() const { return planFile && !isRehearsal; }
};

enum class ProjectOrder { size, age, name };

template <>
struct RawTexts<ProjectOrder> {
    static constexpr std::array<std::string_view, 3> kTexts = {"size", "age", "name"};
};

// restore
struct RestoreOptions {
    std::vector<std::string> entries;  // numbers, items or paths; empty: all
    std::optional<std::string> place;  // another path for the one thing
    bool isRehearsal = false;
    bool isAgreed = false;  // nobody need be asked
};

enum class ScheduleAction { status, on, off, run, install, uninstall };

template <>
struct RawTexts<ScheduleAction> {
    static constexpr std::array<std::string_view, 6> kTexts = {"status", "on",      "off",
                                                               "run",    "install", "uninstall"};
};

// duplicates
struct DuplicateWish {
    std::uint64_t leastBytes = 1;
    bool trashes = false;      // copies are to go
    std::string keep;          // "oldest", "newest", or a path as typed; empty: nothing is to go
    bool isConfirmed = false;  // nobody need be asked
};

enum class Command {
    help,
    scan,
    explain,
    clean,
    history,
    restore,
    projects,
    project,
    disk,
    schedule,
    duplicates,
    modules,
    settings,
    doctor,
    completion,
    man,
    version
};

struct Options {
    Command command = Command::help;
    std::string helpTopic;  // a command's name; empty for the program itself

    // Everywhere.
    std::optional<std::string> home;
    std::optional<std::string> language;
    bool isJson = false;
    bool isColourForbidden = false;

    // scan
    bool includesProjects = true;
    bool showsTimings = false;
    std::optional<ModuleID> only;
    ItemFilter filter;

    CleanWish clean;  // the module is `only`

    // Something says which items are meant.
    bool choosesItems() const {
        return !clean.subjects.empty() || clean.onlySafe || clean.includesReview || clean.leastDays ||
               clean.leastBytes || only;
    }

    DuplicateWish duplicates;

    std::string
        subject;  // explain: an item or a path; project, duplicates: a path; history, restore: a cleanup

    RestoreOptions restore;

    // projects
    bool onlyDormant = false;
    ProjectOrder order = ProjectOrder::size;

    bool recovers = false;  // project: take the next step that puts the work elsewhere

    // schedule
    ScheduleAction scheduleAction = ScheduleAction::status;
    std::optional<Cadence> cadence;  // on
    bool onlyIfDue = false;          // run

    // settings
    std::string settingName;  // empty: all of them
    std::vector<std::string> settingTexts;
    bool resetsSetting = false;

    std::string shell;  // completion
};

}  // namespace brindle
