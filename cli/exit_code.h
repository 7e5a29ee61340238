// How the program ends: the one table that help, man page and documentation show.
#pragma once

#include <array>
#include <string_view>

namespace brindle {

// Part of the command line's contract: a value never changes its meaning.
enum class ExitCode {
    success = 0,
    failed = 1,
    usage = 2,
    notFound = 4,
    kSomeFailed = 5,
    kNothingToDo = 6,
    kHistoryUnreadable = 7,
    kBusy = 8,
    interrupted = 130,
    outputClosed = 141,
};

struct ExitCodeMeaning {
    ExitCode code;
    std::string_view meaning;  // English
};

inline constexpr std::array<ExitCodeMeaning, 10> kExitCodes = {{
    {ExitCode::success, "done; also when some places could not be measured, which the report names"},
    {ExitCode::failed, "what was asked could not be done; the reason is on standard error"},
    {ExitCode::usage, "the command line was not understood"},
    {ExitCode::notFound, "what was asked about, or named to be cleaned or restored, is not there"},
    {ExitCode::kSomeFailed, "some of it was refused, has failed or was left alone, which the result names"},
    {ExitCode::kNothingToDo, "there was nothing to do"},
    {ExitCode::kHistoryUnreadable, "the history of cleanups cannot be read, so nothing was begun"},
    {ExitCode::kBusy, "another cleanup or scheduled scan is running, so nothing was begun"},
    {ExitCode::interrupted,
     "stopped by Ctrl-C, SIGTERM or SIGHUP; what was gathered is printed, unless a second one came"},
    {ExitCode::outputClosed, "the reader of the output went away"},
}};

constexpr int number(ExitCode code) {
    return static_cast<int>(code);
}

}  // namespace brindle
