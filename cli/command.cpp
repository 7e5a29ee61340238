#include "cli/command.h"

#include <fmt/format.h>

#include "cli/answer.h"
#include "core/text/core_strings.h"

namespace brindle {

void complain(Streams& streams, std::string_view sentence) {
    streams.writeMessage(fmt::format("brindle: {}\n", sentence));
}

Outcome refusal(const CommandContext& context, ExitCode code, const std::string& sentence) {
    complain(context.streams, sentence);
    return {code, ""};
}

Outcome interruptedRemoval(const CommandContext& context) {
    return refusal(context, ExitCode::interrupted, localized("interrupted: nothing was removed"));
}

std::optional<Outcome> declinedRemoval(const CommandContext& context, const std::string& question) {
    const auto answer = context.streams.ask(question + " [y/N] ");
    if (context.surroundings.isInterrupted()) return interruptedRemoval(context);
    if (!answer) {
        return refusal(
            context, ExitCode::failed,
            localized("nothing was removed: there is no terminal on which to ask first; --yes goes "
                      "without asking"));
    }
    if (isYes(*answer)) return std::nullopt;
    return Outcome{ExitCode::success, localized("Nothing was removed.") + "\n"};
}

ExitCode exitCodeFor(CleanRefusal::Kind kind) {
    switch (kind) {
        case CleanRefusal::Kind::historyUnreadable:
            return ExitCode::kHistoryUnreadable;
        case CleanRefusal::Kind::busy:
            return ExitCode::kBusy;
        case CleanRefusal::Kind::settingsUnreadable:
        case CleanRefusal::Kind::nothingMayGo:
        case CleanRefusal::Kind::notRecordable:
            return ExitCode::failed;
    }
    return ExitCode::failed;
}

ExitCode exitCodeOf(const CommandContext& context, const CleanOutcome& outcome, bool isAllDone) {
    if (outcome.isInterrupted && context.surroundings.isInterrupted()) return ExitCode::interrupted;
    if (!outcome.isRecorded) return ExitCode::failed;
    return isAllDone ? ExitCode::success : ExitCode::kSomeFailed;
}

}  // namespace brindle
