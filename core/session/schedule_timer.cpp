#include "core/session/schedule_timer.h"

#include <fmt/format.h>

#include <algorithm>

#include "core/platform/appending_file.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::uint64_t kLargestFile = 1U << 20U;

bool isThere(const std::string& path) {
    return statusOf(path).has_value();
}

}  // namespace

ScheduleTimer::State ScheduleTimer::state() const {
    State state;
    const std::vector<std::string> places = paths();
    state.isInstalled = std::ranges::any_of(places, isThere);
    state.isEnabled = std::ranges::all_of(places, isThere);
    if (const auto text = readFile(paths().front(), kLargestFile)) state.program = programOfTimer(*text);
    state.isProgramThere = state.program && isExecutableFile(*state.program);
    return state;
}

std::expected<std::vector<TimerFile>, Error> ScheduleTimer::files() const {
    auto timer = systemTimer(order_);
    if (!timer) return std::unexpected(timer.error());
    return std::move(timer->files);
}

// The first that fails tells why.
std::optional<std::string> ScheduleTimer::run(const std::vector<TimerCommand>& commands) const {
    for (const TimerCommand& command : commands) {
        const std::string line = fmt::format("{}", fmt::join(command, " "));
        const auto tool = tools_.locate(command.front());
        if (!tool) return localized("%@ is not on this machine", command.front());
        const auto result = requireSuccess(tools_.run(*tool, {command.begin() + 1, command.end()}, {}));
        if (!result) return line + ": " + result.error().errorDescription();
    }
    return std::nullopt;
}

std::expected<ScheduleTimer::Done, Error> ScheduleTimer::install() const {
    const auto timer = systemTimer(order_);
    if (!timer) return std::unexpected(timer.error());
    // One that is loaded would keep its old text.
    if (state().isInstalled) (void)run(timer->stopCommands);
    Done done;
    for (const TimerFile& file : timer->files) {
        constexpr std::uint32_t kReadableByAll = 0644;
        if (auto written = writeFileAtomically(file.path, file.content, kReadableByAll); !written)
            return std::unexpected(written.error());
        done.files.push_back(file.path);
    }
    done.complaint = run(timer->startCommands);
    return done;
}

std::expected<ScheduleTimer::Done, Error> ScheduleTimer::uninstall() const {
    Done done;
    if (!state().isInstalled) return done;
    const auto timer = systemTimer(order_);
    done.complaint = timer ? run(timer->stopCommands) : timer.error().describe();
    done.isStopped = !done.complaint;
    for (const std::string& path : paths()) {
        const auto removed = removeFileSynced(path);
        if (!removed && removed.error().kind != Error::Kind::missing) return std::unexpected(removed.error());
        if (removed) done.files.push_back(path);
    }
    if (done.isStopped) done.complaint = run(timer->afterCommands);
    return done;
}

}  // namespace brindle
