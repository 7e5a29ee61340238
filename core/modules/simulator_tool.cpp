#include "core/modules/simulator_tool.h"

#include <chrono>

namespace brindle {

namespace {

// An answer that is a line of text, from a tool that starts nothing.
constexpr std::chrono::seconds kSelectionTimeout{5};
// The first question after a restart or an update starts a service and may take a while.
constexpr std::chrono::seconds kListTimeout{30};

constexpr int kNoSuchUtility = 72;  // EX_OSFILE, xcrun's answer when the chosen tools lack what is asked for
constexpr int kNoLicence = 69;      // EX_UNAVAILABLE

constexpr std::string_view kNoTools =
    "No developer tools are chosen, so simulators could not be listed. Install Xcode, or choose it with "
    "“sudo xcode-select -s /Applications/Xcode.app”, then scan again.";
constexpr std::string_view kNoSimctl =
    "The chosen developer tools have no simctl, so simulators could not be listed. Choose Xcode with “sudo "
    "xcode-select -s /Applications/Xcode.app”, then scan again.";
constexpr std::string_view kLicence =
    "Xcode's licence is not accepted yet, so simulators could not be listed. Open Xcode once, or run “sudo "
    "xcodebuild -license accept”, then scan again.";
constexpr std::string_view kTooSlow =
    "simctl did not answer in time and was stopped. Open Xcode once so that it finishes setting itself up, "
    "then scan again.";
constexpr std::string_view kFailed =
    "simctl could not list the simulators. Open Xcode once so that it finishes setting itself up, then scan "
    "again.";
constexpr std::string_view kUnknownAnswer =
    "simctl gave an answer that Brindle does not understand, so no simulator is offered.";

std::string commandLine(const std::vector<std::string>& arguments) {
    std::string line = "xcrun simctl";
    for (const std::string& argument : arguments) line += " " + argument;
    return line;
}

bool speaksOfLicence(const std::string& message) {
    return message.find("license") != std::string::npos || message.find("licence") != std::string::npos;
}

std::string_view remedyFor(const ProcessResult& result) {
    const std::string message = result.message();
    if (result.status == kNoLicence || speaksOfLicence(message)) return kLicence;
    if (result.status == kNoSuchUtility || message.find("unable to find utility") != std::string::npos)
        return kNoSimctl;
    return kFailed;
}

}  // namespace

UnreachableLocation SimctlFailure::location() const {
    return {asked, UnreachableLocation::Reason::toolchainNotRunning, remedy};
}

SimctlFailure notUnderstood(const std::string& asked) {
    return {.asked = asked, .remedy = std::string(kUnknownAnswer)};
}

std::expected<std::string, SimctlFailure> simctlOutput(
    const std::string& asked, const std::expected<ProcessResult, ProcessError>& outcome) {
    if (outcome && outcome->succeeded()) return outcome->output;
    if (outcome) {
        const std::string_view remedy = remedyFor(*outcome);
        return std::unexpected(
            SimctlFailure{.asked = asked, .remedy = std::string(remedy), .isRefusal = remedy == kFailed});
    }
    const ProcessError::Kind kind = outcome.error().kind;
    std::string_view remedy = kFailed;
    if (kind == ProcessError::Kind::timedOut) remedy = kTooSlow;
    if (kind == ProcessError::Kind::notFound) remedy = kNoTools;
    if (kind == ProcessError::Kind::tooMuchOutput) remedy = kUnknownAnswer;
    return std::unexpected(SimctlFailure{.asked = asked, .remedy = std::string(remedy)});
}

std::expected<std::string, SimctlFailure> SimulatorTool::ask(
    const std::vector<std::string>& arguments) const {
    const std::string asked = commandLine(arguments);
    const SimctlFailure noTools = {.asked = asked, .remedy = std::string(kNoTools)};
    const auto select = tools_.locate("xcode-select");
    const auto xcrun = tools_.locate("xcrun");
    if (!select || !xcrun) return std::unexpected(noTools);
    const auto chosen =
        tools_.run(*select, {"-p"}, {.timeout = kSelectionTimeout, .isCancelled = isCancelled_});
    if (!chosen || !chosen->succeeded()) return std::unexpected(noTools);

    std::vector<std::string> words = {"simctl"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return simctlOutput(asked,
                        tools_.run(*xcrun, words, {.timeout = kListTimeout, .isCancelled = isCancelled_}));
}

}  // namespace brindle
