#include "cli/streams.h"

#include "core/platform/terminal.h"

namespace brindle {

namespace {

constexpr unsigned kUnknownWidth = 80;

std::optional<unsigned> columnsBehind(StandardStream stream) {
    if (!isTerminal(stream)) return std::nullopt;
    return terminalWidth().value_or(kUnknownWidth);
}

}  // namespace

std::expected<void, Error> StandardStreams::writeResult(std::string_view bytes) {
    return writeAll(StandardStream::output, bytes);
}

void StandardStreams::writeMessage(std::string_view bytes) {
    (void)writeAll(StandardStream::errors, bytes);
}

std::optional<unsigned> StandardStreams::resultTerminal() const {
    return columnsBehind(StandardStream::output);
}

std::optional<unsigned> StandardStreams::messageTerminal() const {
    if (!isInForeground()) return std::nullopt;
    return columnsBehind(StandardStream::errors);
}

std::optional<std::string> StandardStreams::ask(std::string_view question) {
    // A question that nobody sees is answered by nobody.
    if (!isTerminal(StandardStream::input) || !isTerminal(StandardStream::errors)) return std::nullopt;
    writeMessage(question);
    auto line = readLine();
    if (line && *line) return *std::move(line);
    writeMessage("\n");   // no answer has ended the question's line
    if (line) return "";  // who ends the input at a terminal declines
    return std::nullopt;
}

}  // namespace brindle
