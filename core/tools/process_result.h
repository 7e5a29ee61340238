// How a tool's run came out: its result, or why there is none.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>

#include "core/platform/error.h"

namespace brindle {

struct ProcessError {
    enum class Kind {
        notFound,       // `text`: the executable's name; nothing was started
        failed,         // `status` and the tool's message in `text`: it ran and ended with a non-zero status
        waiting,        // `text`: the phrase that was seen; the run was stopped
        timedOut,       // the run was stopped
        cancelled,      // the run was stopped, or never started
        tooMuchOutput,  // more than ProcessRunner::kOutputLimit in one stream; stopped if it still ran
        couldNotRun,    // `cause`: no folder for the output, no start, or the output could not be read
    };

    Kind kind = Kind::couldNotRun;
    std::string text = {};
    std::int32_t status = 0;
    std::optional<Error> cause = {};

    bool operator==(const ProcessError&) const = default;

    // One sentence or two for the user, in the interface language.
    std::string errorDescription() const;
};

// What the tool wrote is bytes: usually UTF-8, never checked. (The fields are not called stdout and stderr
// because those are macros.)
struct ProcessResult {
    std::int32_t status = 0;  // 128 + N when signal N ended it
    std::string output = {};  // standard output, whole
    std::string errors = {};  // standard error, whole

    bool operator==(const ProcessResult&) const = default;

    bool succeeded() const { return status == 0; }

    // What the tool has to say of its failure: its errors, or its output when there are none; without white
    // space at the ends, and cut after kMessageLimit bytes, at the end of a line where there is one.
    std::string message() const;
    static constexpr std::size_t kMessageLimit = 4096;
};

// For callers to whom a non-zero status means that there is no answer: it becomes ProcessError::Kind::failed.
std::expected<ProcessResult, ProcessError> requireSuccess(std::expected<ProcessResult, ProcessError> outcome);

}  // namespace brindle
