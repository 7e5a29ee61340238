// How the schedule stands, and what a scheduled run did.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/palette.h"
#include "core/insight/scheduler.h"
#include "core/model/model_json.h"
#include "core/session/schedule_timer.h"

namespace brindle {

struct ScheduleView {
    bool isOn = false;
    Cadence cadence = Cadence::weekly;
    bool cleans = false;  // by itself, what is safe and belongs to no project
    std::optional<TimePoint> lastRun;
    std::optional<TimePoint> nextRun;  // absent while it is off
    bool isOverdue = false;
    ScheduleTimer::State timer;
    std::string program;             // this one
    std::vector<ScheduledRun> runs;  // newest first
};

std::string scheduleText(const ScheduleView& view, const Look& look);
std::string scheduleJson(const ScheduleView& view);

// Why the timer will start nothing, or something else than this program; empty when all is well.
std::string timerProblem(const ScheduleTimer::State& timer, const std::string& program);

// "12.3 GB can be freed. Cleaned automatically from ..."
std::string runSentence(const ScheduledRun& run);

// The latest runs below a heading, with a blank line before it; empty without any.
std::string scheduledRunsText(const std::vector<ScheduledRun>& runs, const Look& look);
Json runsJson(const std::vector<ScheduledRun>& runs);

}  // namespace brindle
