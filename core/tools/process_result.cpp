#include "core/tools/process_result.h"

#include <string_view>
#include <utility>

#include "core/text/ascii.h"
#include "core/text/core_strings.h"

namespace brindle {

std::string ProcessError::errorDescription() const {
    switch (kind) {
        case Kind::notFound:
            return localized("Could not find %@ on this Mac.", text);
        case Kind::failed:
            if (text.empty()) return localized("The command exited with status %@.", std::to_string(status));
            return localized("Command exited with status %@. %@", std::to_string(status), text);
        case Kind::waiting:
            return localized("The command stopped to wait (“%@”) and was ended.", text);
        case Kind::timedOut:
            return localized("The command did not finish in time and was stopped.");
        case Kind::cancelled:
            return localized("The command was cancelled.");
        case Kind::tooMuchOutput:
            return localized("The command wrote more output than Brindle reads and was stopped.");
        case Kind::couldNotRun:
            return localized("The command could not be run: %@.", cause ? cause->describe() : text);
    }
    std::unreachable();
}

std::string ProcessResult::message() const {
    std::string_view text = trimmed(errors);
    if (text.empty()) text = trimmed(output);
    if (text.size() <= kMessageLimit) return std::string(text);
    text = text.substr(0, kMessageLimit);
    return std::string(text.substr(0, text.find_last_of('\n')));
}

std::expected<ProcessResult, ProcessError> requireSuccess(
    std::expected<ProcessResult, ProcessError> outcome) {
    if (!outcome || outcome->succeeded()) return outcome;
    return std::unexpected(ProcessError{
        .kind = ProcessError::Kind::failed, .text = outcome->message(), .status = outcome->status});
}

}  // namespace brindle
