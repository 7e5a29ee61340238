#include "core/modules/tool_command.h"

#include <fmt/ranges.h>

#include <vector>

#include "core/modules/measured_item.h"
#include "core/platform/files.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kEnv = "/usr/bin/env";

// No system takes a longer first line.
constexpr std::size_t kFirstLineLimit = 512;

std::vector<std::string> wordsOf(std::string_view line) {
    std::vector<std::string> words(1);
    for (const char letter : line) {
        const bool isBetween = letter == ' ' || letter == '\t' || letter == '\r';
        if (!isBetween) words.back() += letter;
        if (isBetween && !words.back().empty()) words.emplace_back();
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

}  // namespace

std::optional<std::string> interpreterNamedBy(std::string_view start) {
    if (!start.starts_with("#!")) return std::nullopt;
    const std::vector<std::string> words = wordsOf(start.substr(2, start.find('\n') - 2));
    if (words.empty()) return std::nullopt;
    if (!words.front().ends_with("/env")) return words.front();
    for (std::size_t index = 1; index < words.size(); ++index) {
        const bool isOptionOrVariable = words[index].starts_with('-') || words[index].contains('=');
        if (!isOptionOrVariable) return words[index];
    }
    return std::nullopt;
}

std::optional<std::string> missingFor(std::string_view tool, const Toolbox& toolbox) {
    const auto program = toolbox.locate(tool);
    if (!program) return std::string(tool);
    const auto start = readFileFrom(*program, 0, kFirstLineLimit);
    auto interpreter = start ? interpreterNamedBy(*start) : std::nullopt;
    if (interpreter && !toolbox.locate(*interpreter)) return interpreter;
    return std::nullopt;
}

std::string commandLine(const RunCommand& command) {
    const std::string arguments = fmt::format("{}", fmt::join(command.arguments, " "));
    return command.executable == kEnv ? arguments : command.executable + " " + arguments;
}

bool offerCommandOrProtect(CleanupItemFields& fields, const RunCommand& command, const Toolbox& toolbox) {
    const bool isByName = command.executable == kEnv && !command.arguments.empty();
    const auto missing = missingFor(isByName ? command.arguments.front() : command.executable, toolbox);
    if (missing) {
        protect(fields,
                CoreStrings::localized("Only a command of its own tool clears this, and Brindle found no %@ "
                                       "in the folders where it looks for tools.",
                                       *missing),
                commandLine(command));
        return false;
    }
    fields.removal = {command};
    return true;
}

}  // namespace brindle
