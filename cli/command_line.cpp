#include "cli/command_line.h"

#include <fmt/format.h>

#include <utility>

#include "cli/command.h"
#include "cli/completion.h"
#include "cli/help.h"
#include "cli/man_page.h"
#include "core/platform/terminal.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr unsigned kPipeWidth = 80;
// Below this nothing can be laid out; a terminal that claims less gets lines that are too long.
constexpr unsigned kLeastWidth = 24;

void speakTheSystemsLanguage(const Surroundings& surroundings) {
    const std::vector<std::string> languages = systemLanguages(surroundings.environment);
    CoreStrings::setBundles(ResourceBundle(surroundings.resourceFolder, "core", languages),
                            ResourceBundle(surroundings.resourceFolder, "cli", languages));
    CoreStrings::setOverrideLanguage(std::nullopt);
    ByteFormat::setOverrideLocale(std::nullopt);
    ByteFormat::setSystemLocale(numberLocale(surroundings.environment));
}

// What a script reads must not change with its user's language.
void speakEnglish() {
    CoreStrings::setOverrideLanguage("en");
    ByteFormat::setOverrideLocale("en_US");
}

void speakTheChosenLanguage(const Options& options, const Preferences& preferences) {
    if (options.isJson) return;
    preferences.applyLanguage();
    if (!options.language) return;
    CoreStrings::setOverrideLanguage(options.language);
    ByteFormat::setOverrideLocale(options.language);
}

Look lookOf(const Surroundings& surroundings, bool isColourForbidden, const Streams& streams) {
    const auto terminal = streams.resultTerminal();
    const auto& environment = surroundings.environment;
    return {.width = std::max(terminal.value_or(kPipeWidth), kLeastWidth),
            .palette = Palette(wantsColour(environment, isColourForbidden, terminal.has_value())),
            .glyphs = {.isUnicode = speaksUtf8(environment)}};
}

// Whatever the program lacks to run, its manual can be read.
std::optional<Outcome> runManual(const Options& options, const OptionSet& set, const Look& look) {
    switch (options.command) {
        case Command::help:
            return Outcome{ExitCode::success, helpText(set, options.helpTopic, look)};
        case Command::version:
            return Outcome{ExitCode::success, "brindle " BRINDLE_VERSION "\n"};
        case Command::man:
            return Outcome{ExitCode::success, manPage(set)};
        case Command::completion:
            return Outcome{ExitCode::success, completionScript(set, options.shell)};
        case Command::scan:
        case Command::explain:
        case Command::clean:
        case Command::history:
        case Command::restore:
        case Command::projects:
        case Command::project:
        case Command::disk:
        case Command::schedule:
        case Command::duplicates:
        case Command::modules:
        case Command::settings:
        case Command::doctor:
            break;
    }
    return std::nullopt;
}

Outcome runOnHome(const CommandContext& context) {
    switch (context.options.command) {
        case Command::scan:
            return runScan(context);
        case Command::explain:
            return runExplain(context);
        case Command::clean:
            return runClean(context);
        case Command::history:
            return runHistory(context);
        case Command::restore:
            return runRestore(context);
        case Command::projects:
            return runProjects(context);
        case Command::project:
            return runProject(context);
        case Command::disk:
            return runDisk(context);
        case Command::schedule:
            return runSchedule(context);
        case Command::duplicates:
            return runDuplicates(context);
        case Command::modules:
            return runModules(context);
        case Command::settings:
            return runSettings(context);
        case Command::doctor:
            return runDoctor(context);
        case Command::help:
        case Command::version:
        case Command::man:
        case Command::completion:
            break;
    }
    return {ExitCode::failed, ""};
}

// A scan only looks, so it goes on without the preferences; but never silently.
void warnOfPreferences(const CommandContext& context) {
    const Command command = context.options.command;
    const bool usesThem =
        command != Command::settings && command != Command::doctor && command != Command::clean;
    const auto readable = context.session.preferences().readable();
    if (readable || !usesThem) return;
    complain(context.streams, readable.error().describe());
    complain(
        context.streams,
        localized(
            "the preferences cannot be trusted, so their defaults are used: what you disabled or protected "
            "is not respected"));
}

// What a cleanup that was cut short has done becomes history before anything else. Only a cleanup has to wait for that.
std::optional<Outcome> settleEarlierCleanup(const CommandContext& context) {
    const auto recorded = context.session.recordInterrupted();
    if (recorded && *recorded) {
        complain(context.streams,
                 localized("an earlier cleanup was interrupted; what it did is in the history"));
    }
    if (recorded) return std::nullopt;
    const auto& [kind, sentence] = recorded.error();
    complain(context.streams, sentence);
    if (context.options.command != Command::clean) return std::nullopt;
    if (kind != CleanRefusal::Kind::historyUnreadable) return Outcome{ExitCode::failed, ""};
    if (!context.session.history().loadChecked())
        complain(context.streams, localized("History cannot be read; cleanup has not started."));
    return Outcome{ExitCode::kHistoryUnreadable, ""};
}

Outcome runParsed(const Options& options, const Surroundings& surroundings, Streams& streams) {
    auto home = chooseHome(options.home, surroundings);
    if (!home) {
        complain(streams, home.error());
        return {options.home ? ExitCode::usage : ExitCode::failed, ""};
    }
    const Session session(std::move(*home));
    speakTheChosenLanguage(options, session.preferences());
    const CommandContext context{.options = options,
                                 .surroundings = surroundings,
                                 .session = session,
                                 .streams = streams,
                                 .look = lookOf(surroundings, options.isColourForbidden, streams)};
    warnOfPreferences(context);
    if (auto outcome = settleEarlierCleanup(context)) return *std::move(outcome);
    return runOnHome(context);
}

Outcome misunderstood(const UsageError& error, const OptionSet& set, Streams& streams) {
    complain(streams, error.sentence);
    const CLI::App* command = set.commandNamed(error.command);
    streams.writeMessage(
        localized("Usage: %@", usageLine(set, command != nullptr ? *command : set.program())) + "\n");
    const std::string help =
        error.command.empty() ? "brindle --help" : "brindle " + error.command + " --help";
    streams.writeMessage(localized("\"%@\" tells more.", help) + "\n");
    return {ExitCode::usage, ""};
}

Outcome run(const Surroundings& surroundings, Streams& streams) {
    OptionSet set;
    const auto options = set.parse(surroundings.arguments);
    if (!options) return misunderstood(options.error(), set, streams);
    if (options->isJson) speakEnglish();
    const Look look = lookOf(surroundings, options->isColourForbidden, streams);
    if (auto manual = runManual(*options, set, look)) return std::move(*manual);
    return runParsed(*options, surroundings, streams);
}

}  // namespace

ExitCode runCommandLine(const Surroundings& surroundings, Streams& streams) {
    speakTheSystemsLanguage(surroundings);
    const Outcome outcome = run(surroundings, streams);
    if (outcome.result.empty()) return outcome.code;
    const auto written = streams.writeResult(outcome.result);
    if (written) return outcome.code;
    if (isClosedPipe(written.error())) return ExitCode::outputClosed;
    complain(streams, written.error().describe());
    return ExitCode::failed;
}

}  // namespace brindle
