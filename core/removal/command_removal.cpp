#include "core/removal/command_removal.h"

#include <algorithm>
#include <map>
#include <vector>

#include "core/guard/safety_tables.h"
#include "core/model/byte_sum.h"
#include "core/modules/docker_module.h"
#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/removal/cleanup_journal.h"
#include "core/removal/tool_report.h"
#include "core/scan/scan_context.h"
#include "core/text/ascii.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::string_view kUvWaits = "Cache is currently in-use";

// The command that a launcher starts, or that is called by itself.
std::string commandOf(const RunCommand& command) {
    const std::string name(lastComponent(command.executable));
    const bool isLauncher = std::ranges::find(kLaunchers, name) != kLaunchers.end();
    return isLauncher && !command.arguments.empty() ? command.arguments.front() : name;
}

bool isDocker(const RunCommand& command) {
    return commandOf(command) == "docker";
}

bool isBrewAutoremove(const RunCommand& command) {
    return commandOf(command) == "brew" && !command.arguments.empty() &&
           command.arguments.back() == "autoremove";
}

std::string combined(const ProcessResult& result) {
    std::string text = result.output;
    if (!text.empty() && !text.ends_with('\n')) text += '\n';
    return text + result.errors;
}

std::string failureNote(const ProcessResult& result) {
    const std::string output = combined(result);
    std::string reason = failureReason(output).value_or("");
    const auto lines = trimmedLines(output);
    if (reason.empty() && !lines.empty()) reason = printable(lines.front());
    return localized("Command exited with status %@. %@", std::to_string(result.status), reason);
}

// It ran for a while.
bool wasStopped(const ProcessError& error) {
    using Kind = ProcessError::Kind;
    return error.kind == Kind::timedOut || error.kind == Kind::cancelled || error.kind == Kind::tooMuchOutput;
}

constexpr std::chrono::seconds kQuestionTimeout{30};

// What makes a tool print the folder that its approved command cleans; absent where none does.
std::optional<std::vector<std::string>> questionForPlace(const std::string& command) {
    static const std::map<std::string, std::vector<std::string>> kQuestions = {
        {"npm", {"config", "get", "cache"}},
        {"pnpm", {"store", "path"}},
        {"uv", {"cache", "dir"}},
        {"go", {"env", "GOMODCACHE"}},
        {"brew", {"--cache"}}};
    const auto found = kQuestions.find(command);
    return found == kQuestions.end() ? std::nullopt : std::optional(found->second);
}

ScanContext contextOf(const std::string& home) {
    ScanContext context;
    context.home = home;
    return context;
}

}  // namespace

std::string CommandRemoval::uvCacheInUse() {
    return localized(
        "uv's cache is in use by another uv process, such as a uv run that is still running. "
        "Stop it, then clean again.");
}

ReceiptEntry CommandRemoval::run(const CleanupItem& item, bool isRehearsal,
                                 const CancellationTest& isCancelled) const {
    const auto& command = std::get<RunCommand>(item.removal.how);
    ReceiptEntry entry = plannedItem(item).entry;
    entry.action = item.removal.description();
    if (auto reason = objection(command, isCancelled)) {
        entry.method = RemovalMethod::refused;
        entry.note = std::move(reason);
        return entry;
    }
    if (isRehearsal) {
        entry.note = localized("dry run:") + " " + item.removal.description();
        return entry;
    }
    const auto before = dataOf(command);
    // Some tools write into the folder where they are started.
    const auto result = tools_.run(command.executable, command.arguments,
                                   {.timeout = kTimeout,
                                    .isCancelled = isCancelled,
                                    .waitingPhrases = {std::string(kUvWaits)},
                                    .folder = guard_.home()});
    if (result && result->succeeded()) {
        succeed(entry, command, combined(*result), before);
        return entry;
    }
    entry.method = RemovalMethod::failed;
    const bool isLocked =
        result ? combined(*result).contains(kUvWaits) : result.error().kind == ProcessError::Kind::waiting;
    if (isLocked) {
        entry.note = uvCacheInUse();
    } else {
        entry.note = result ? failureNote(*result) : result.error().errorDescription();
    }
    fail(entry, command, before);
    if (!before && !result && wasStopped(result.error()))
        entry.note = *entry.note + " " + localized("It may have removed something.");
    return entry;
}

// A tool that fails, or is stopped, may have removed a great deal before.
void CommandRemoval::fail(ReceiptEntry& entry, const RunCommand& command,
                          std::optional<std::uint64_t> before) const {
    const auto left = before ? dataLeft(command) : std::nullopt;
    if (!left) {
        if (before) entry.note = *entry.note + " " + localized("It may have removed something.");
    } else if (*left < *before) {
        entry.method = RemovalMethod::command;
        entry.bytes = *before - *left;
        entry.pathFailures = {*entry.note};
    }
}

// Which engine the client talks to, and where a tool keeps its data, may be another than the one that was shown.
std::optional<std::string> CommandRemoval::objection(const RunCommand& command,
                                                     const CancellationTest& isCancelled) const {
    if (!isDocker(command)) return placeObjection(command, isCancelled);
    const DockerEngine engine = DockerModule(tools_).readEngine(contextOf(guard_.home()));
    if (engine.place == DockerEngine::Place::local) return std::nullopt;
    return localized("Docker no longer talks to the engine of this machine. Scan again.");
}

// A setting of the user's can lead a tool to any folder, also to one that is protected.
std::optional<std::string> CommandRemoval::placeObjection(const RunCommand& command,
                                                          const CancellationTest& isCancelled) const {
    const std::string name = commandOf(command);
    const auto question = questionForPlace(name);
    if (!question) return std::nullopt;
    std::vector<std::string> arguments = *question;
    if (name != lastComponent(command.executable)) arguments.insert(arguments.begin(), name);
    const auto answer =
        tools_.run(command.executable, arguments,
                   {.timeout = kQuestionTimeout, .isCancelled = isCancelled, .folder = guard_.home()});
    const auto lines = trimmedLines(answer && answer->succeeded() ? std::string_view(answer->output) : "");
    if (lines.empty() || !lines.front().starts_with('/')) {
        return localized("%@ does not say where it keeps its data, so nothing was run.", name);
    }
    const std::string told(lines.front());
    const std::string place = canonicalOr(told);
    for (const std::string& known : dataLocationsOf(name, guard_.home())) {
        // Unresolved on purpose: a link there leads elsewhere.
        if (isAtOrBelow(place, known)) return std::nullopt;
    }
    return localized("%@ keeps its data in %@, which Brindle does not clean. Nothing was run.", name,
                     printable(told));
}

// What the tool says it freed; else what is gone from where it keeps its data; else what the scan saw.
void CommandRemoval::succeed(ReceiptEntry& entry, const RunCommand& command, const std::string& output,
                             std::optional<std::uint64_t> before) const {
    const bool isEngine = isDocker(command);
    std::optional<std::uint64_t> freed = reclaimedBytes(output);
    if (!freed && isEngine) freed = builderTotalBytes(output);
    if (!freed && before) {
        if (const auto left = dataLeft(command)) freed = *before - std::min(*left, *before);
    }
    if (freed) entry.bytes = *freed;
    if (isEngine) entry.note = engineAfterword();
}

// What lies where the command keeps its data; absent when nothing does, when not all of it could be measured, and when
// what the command removes lies elsewhere.
std::optional<std::uint64_t> CommandRemoval::dataOf(const RunCommand& command) const {
    if (isDocker(command) || isBrewAutoremove(command)) return std::nullopt;
    HardlinkTracker hardlinks;
    std::uint64_t sum = 0;
    bool isThere = false;
    for (const std::string& place : dataLocationsOf(commandOf(command), guard_.home())) {
        if (!statusOf(place)) continue;
        const auto measured = DirectorySizer().measureConcurrently(place, {.hardlinks = &hardlinks});
        if (!measured.isComplete()) return std::nullopt;
        sum = addBytes(sum, measured.allocatedBytes);
        isThere = true;
    }
    return isThere ? std::optional(sum) : std::nullopt;
}

// Likewise afterwards: a tool may take the folder itself away.
std::optional<std::uint64_t> CommandRemoval::dataLeft(const RunCommand& command) const {
    const auto places = dataLocationsOf(commandOf(command), guard_.home());
    const bool isAllGone = std::ranges::all_of(places, [](const std::string& place) {
        const auto status = statusOf(place);
        return !status && status.error().kind == Error::Kind::missing;
    });
    return isAllGone ? std::optional<std::uint64_t>(0) : dataOf(command);
}

std::optional<std::string> CommandRemoval::engineAfterword() const {
    const ScanContext context = contextOf(guard_.home());
    const auto image = DockerModule::dataDirectory(context);
    if (!image) return std::nullopt;
    std::string note = localized(
        "Space inside the disk image is returned to macOS by Docker in the background, "
        "so Finder may take a few minutes to agree.");
    const auto measured = DirectorySizer().measureConcurrently(*image);
    return note + " " +
           localized("Docker currently occupies %@ of this Mac.",
                     ByteFormat::shortText(measured.allocatedBytes));
}

}  // namespace brindle
