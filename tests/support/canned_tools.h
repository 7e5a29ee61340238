// Tools that are not there: each command line answers with a text, any other one runs into its time-out.
#pragma once

#include <map>
#include <string>

#include "core/tools/toolbox.h"

namespace brindle::test {

struct CannedAnswer {
    std::string output;
    std::int32_t status = 0;
};

// "docker system df" -> what it prints. A tool is located when it has an answer.
inline Toolbox cannedTools(const std::map<std::string, CannedAnswer>& answers) {
    Toolbox tools;
    tools.locate = [answers](std::string_view name) -> std::optional<std::string> {
        const auto first = answers.lower_bound(std::string(name));
        if (first == answers.end() || !first->first.starts_with(name)) return std::nullopt;
        return "/usr/bin/" + std::string(name);
    };
    tools.run = [answers](std::string_view executable, const std::vector<std::string>& arguments,
                          const RunOptions&) -> std::expected<ProcessResult, ProcessError> {
        std::string line(executable);
        for (const std::string& argument : arguments) line += " " + argument;
        const auto found = answers.find(line);
        if (found == answers.end()) {
            return std::unexpected(ProcessError{.kind = ProcessError::Kind::timedOut});
        }
        return ProcessResult{.status = found->second.status, .output = found->second.output, .errors = {}};
    };
    return tools;
}

}  // namespace brindle::test
