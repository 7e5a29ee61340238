// What a module needs of the tools on this machine: where they are, and how to run one. Handed over as functions, so
// that a module can be driven with canned output.
#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/tools/process_runner.h"

namespace brindle {

// A value; both operations may be called from several threads at once. An empty toolbox knows no tool.
struct Toolbox {
    // As ProcessRunner::locate.
    std::function<std::optional<std::string>(std::string_view name)> locate = [](std::string_view) {
        return std::nullopt;
    };
    // As ProcessRunner::run: blocks, gives a result whatever the tool's status.
    std::function<std::expected<ProcessResult, ProcessError>(
        std::string_view executable, const std::vector<std::string>& arguments, const RunOptions& options)>
        run = [](std::string_view executable, const std::vector<std::string>&, const RunOptions&) {
            return std::unexpected(
                ProcessError{.kind = ProcessError::Kind::notFound, .text = std::string(executable)});
        };

    // The tools that this runner finds.
    static Toolbox of(const ProcessRunner& runner);
};

}  // namespace brindle
