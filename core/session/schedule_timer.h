// The timer of the system's own scheduler: what it starts, and whether that is still there.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "core/platform/timer_files.h"
#include "core/tools/toolbox.h"

namespace brindle {

// A value; its operations block. It touches its own files alone, and only when it is told to.
class ScheduleTimer {
  public:
    struct State {
        bool isInstalled = false;            // some file of it is there
        bool isEnabled = false;              // all of them: the system's scheduler took notice
        std::optional<std::string> program;  // what it starts; absent when its file does not say
        bool isProgramThere = false;
    };

    // What came of it. `complaint`: the files are as they should be, but the system's scheduler did not take notice.
    struct Done {
        std::vector<std::string> files;
        std::optional<std::string> complaint;
        bool isStopped = false;  // by uninstall(): the system's scheduler says so
    };

    ScheduleTimer(TimerOrder order, Toolbox tools) : order_(std::move(order)), tools_(std::move(tools)) {}

    State state() const;
    std::vector<std::string> paths() const { return systemTimerPaths(order_.home, order_.configFolder); }

    // The files as install() would write them.
    std::expected<std::vector<TimerFile>, Error> files() const;

    // Writes the files, over earlier ones of this timer, and has the system's scheduler start it now and at each login.
    std::expected<Done, Error> install() const;

    // Ends the timer and takes its files away; `files` are those that were there.
    std::expected<Done, Error> uninstall() const;

  private:
    std::optional<std::string> run(const std::vector<TimerCommand>& commands) const;

    TimerOrder order_;
    Toolbox tools_;
};

}  // namespace brindle
