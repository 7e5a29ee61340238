#include "core/tools/process_runner.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

#include "core/platform/child_process.h"
#include "core/platform/files.h"
#include "core/tools/output_watch.h"

namespace brindle {

namespace {

using Kind = ProcessError::Kind;
using Seconds = std::chrono::duration<double>;
using Outcome = std::expected<ProcessResult, ProcessError>;

constexpr Seconds kPollInterval{0.02};
constexpr Seconds kFirstPoll{0.001};
constexpr Seconds kLimitInterval{0.1};
constexpr Seconds kTerminateGrace{0.5};
constexpr Seconds kWaitingGrace{0.25};

ProcessError plainError(Kind kind, std::string text = {}) {
    return {.kind = kind, .text = std::move(text)};
}

ProcessError errorFor(Error cause) {
    return {.kind = Kind::couldNotRun, .cause = std::move(cause)};
}

// True when the child has ended within the time.
bool endsWithin(ChildProcess& child, Seconds time) {
    const Seconds deadline = systemUptime() + time;
    while (!child.poll()) {
        if (systemUptime() >= deadline) return false;
        std::this_thread::sleep_for(kFirstPoll);
    }
    return true;
}

// What the tool started is killed also when the tool itself followed the request.
void stop(ChildProcess& child) {
    child.terminate();
    endsWithin(child, kTerminateGrace);
    child.kill();
    child.wait();
}

// The files of one run; gone with it.
constexpr std::string_view kOutputName = "stdout";
constexpr std::string_view kErrorsName = "stderr";

struct OutputFiles {
    TemporaryFolder folder;
    std::string outputPath = folder.path() + "/" + std::string(kOutputName);
    std::string errorsPath = folder.path() + "/" + std::string(kErrorsName);
};

// Returns when the child has ended by itself, or with the reason why it has to be stopped.
std::optional<ProcessError> watch(ChildProcess& child, const OutputFiles& files, const RunOptions& options) {
    const Seconds deadline = systemUptime() + options.timeout;
    Seconds nextLook = systemUptime() + kLimitInterval;
    std::array<OutputWatch, 2> streams{
        OutputWatch(files.outputPath, options.waitingPhrases, ProcessRunner::kOutputLimit),
        OutputWatch(files.errorsPath, options.waitingPhrases, ProcessRunner::kOutputLimit)};
    // Most tools that are asked a question answer in a few milliseconds.
    for (Seconds pause = kFirstPoll;; pause = std::min(pause * 2, kPollInterval)) {
        if (options.isCancelled && options.isCancelled()) return plainError(Kind::cancelled);
        // Written so that a time-out that is not a number ends the run, too.
        if (!(systemUptime() < deadline)) return plainError(Kind::timedOut);
        // Without phrases only the limit matters, and it is not filled that fast.
        const bool isLooking = !options.waitingPhrases.empty() || systemUptime() >= nextLook;
        if (isLooking) nextLook = systemUptime() + kLimitInterval;
        for (auto& stream : streams) {
            if (!isLooking) break;
            const auto seen = stream.look();
            if (!seen) return errorFor(seen.error());
            if (seen->isBeyondLimit) return plainError(Kind::tooMuchOutput);
            if (!seen->phrase) continue;
            if (endsWithin(child, kWaitingGrace)) return std::nullopt;
            return plainError(Kind::waiting, *seen->phrase);
        }
        std::this_thread::sleep_for(pause);
        if (child.poll()) return std::nullopt;
    }
}

std::expected<std::string, ProcessError> wholeOutput(const OutputFiles& files, std::string_view name) {
    auto content = files.folder.takeFile(name, ProcessRunner::kOutputLimit + 1);
    if (!content) return std::unexpected(errorFor(content.error()));
    if (content->size() > ProcessRunner::kOutputLimit)
        return std::unexpected(plainError(Kind::tooMuchOutput));
    return std::move(*content);
}

Outcome resultOf(ChildProcess& child, const OutputFiles& files) {
    auto output = wholeOutput(files, kOutputName);
    if (!output) return std::unexpected(output.error());
    auto errors = wholeOutput(files, kErrorsName);
    if (!errors) return std::unexpected(errors.error());
    return ProcessResult{.status = child.wait(), .output = std::move(*output), .errors = std::move(*errors)};
}

bool leadsUpwards(std::string_view name) {
    return ("/" + std::string(name) + "/").find("/../") != std::string::npos;
}

std::map<std::string, std::string> variablesIn(const std::vector<std::string>& environment) {
    std::map<std::string, std::string> variables;
    for (const auto& entry : environment) {
        const std::size_t sign = entry.find('=');
        if (sign != std::string::npos && sign > 0)
            variables.emplace(entry.substr(0, sign), entry.substr(sign + 1));
    }
    return variables;
}

}  // namespace

std::vector<std::string> ProcessRunner::developerPathsFor(std::string home) {
    while (home.ends_with('/')) home.pop_back();
    return {"/opt/homebrew/bin",
            "/usr/local/bin",
            "/usr/bin",
            "/bin",
            "/usr/sbin",
            "/sbin",
            home + "/.local/bin",
            home + "/.bun/bin",
            "/Applications/Docker.app/Contents/Resources/bin"};
}

ProcessRunner::ProcessRunner(std::string home, const std::vector<std::string>& environment)
    : developerPaths_(developerPathsFor(std::move(home))), environment_(variablesIn(environment)) {}

std::optional<std::string> ProcessRunner::locate(std::string_view name) const {
    if (name.starts_with('/')) {
        std::string path(name);
        return isExecutableFile(path) ? std::optional(std::move(path)) : std::nullopt;
    }
    if (name.empty() || leadsUpwards(name)) return std::nullopt;
    for (const auto& folder : developerPaths_) {
        std::string path = folder + "/" + std::string(name);
        if (isExecutableFile(path)) return path;
    }
    return std::nullopt;
}

std::map<std::string, std::string> ProcessRunner::environmentFor(const RunOptions& options) const {
    auto variables = environment_;
    for (const char* name : {"HOMEBREW_NO_AUTO_UPDATE", "HOMEBREW_NO_AUTOREMOVE", "HOMEBREW_NO_ANALYTICS",
                             "HOMEBREW_NO_ENV_HINTS"}) {
        variables[name] = "1";
    }
    for (const std::string_view removed : options.removedVariables) {
        const bool isPrefix = removed.ends_with('*');
        const std::string_view text = removed.substr(0, removed.size() - (isPrefix ? 1 : 0));
        std::erase_if(variables, [&](const auto& variable) {
            return isPrefix ? variable.first.starts_with(text) : variable.first == text;
        });
    }
    for (const auto& [name, value] : options.setVariables) variables[name] = value;
    variables["PATH"] = fmt::format("{}", fmt::join(developerPaths_, ":"));
    return variables;
}

std::string ProcessRunner::temporaryFolder() const {
    const auto named = environment_.find("TMPDIR");
    return named != environment_.end() && named->second.starts_with('/') ? named->second
                                                                         : systemTemporaryFolder();
}

std::expected<ProcessResult, ProcessError> ProcessRunner::run(std::string_view executable,
                                                              const std::vector<std::string>& arguments,
                                                              const RunOptions& options) const {
    auto path = locate(executable);
    if (!path) return std::unexpected(plainError(Kind::notFound, std::string(executable)));
    if (options.isCancelled && options.isCancelled()) return std::unexpected(plainError(Kind::cancelled));

    auto folder = TemporaryFolder::create("brindle-run", temporaryFolder());
    if (!folder) folder = TemporaryFolder::create("brindle-run", systemTemporaryFolder());
    if (!folder) return std::unexpected(errorFor(folder.error()));
    const OutputFiles files{.folder = std::move(*folder)};
    ChildProcessOptions start{.executable = std::move(*path),
                              .arguments = arguments,
                              .stdoutPath = files.outputPath,
                              .stderrPath = files.errorsPath,
                              .workingFolder = options.folder};
    for (const auto& [name, value] : environmentFor(options)) start.environment.push_back(name + "=" + value);

    auto child = ChildProcess::start(start);
    if (!child) return std::unexpected(errorFor(child.error()));
    if (auto reason = watch(*child, files, options)) {
        stop(*child);
        return std::unexpected(std::move(*reason));
    }
    return resultOf(*child, files);
}

}  // namespace brindle
