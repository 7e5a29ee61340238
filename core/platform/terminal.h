// The three standard streams, the terminal behind them, and Ctrl-C. Only the faces use this.
#pragma once

#include <cerrno>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/error.h"

namespace brindle {

enum class StandardStream { input, output, errors };

bool isTerminal(StandardStream stream);

// Columns of the terminal behind the output or, where that leads elsewhere, behind the errors; absent without
// one.
std::optional<unsigned> terminalWidth();

// Whether this process is the one that its terminal's user deals with, as seen through the errors; false
// without a terminal there.
bool isInForeground();

// Writes all bytes, unbuffered, however many calls that takes. A reader that has gone is an error like any
// other: isClosedPipe() tells it.
std::expected<void, Error> writeAll(StandardStream stream, std::string_view bytes);
inline bool isClosedPipe(const Error& error) {
    return error.code == EPIPE;
}

// From now on a reader that has gone fails the write instead of ending the process.
void ignoreClosedPipes();

// One line from the input without its line feed; absent at its end. Kind::interrupted within a fifth of a
// second of the first Ctrl-C. Reads no byte beyond the line. A line of more than 4096 bytes is
// Kind::malformed.
std::expected<std::optional<std::string>, Error> readLine();

// Ctrl-C, a request to terminate and a terminal that has gone (SIGINT, SIGTERM, SIGHUP): the first one counts,
// so that the work in hand can end in order; the second, whichever it is, ends the process at once with 130. A
// signal that the parent had told this process to ignore stays ignored. Install once, before threads start.
void installInterruptHandler();

// How many came since the start; safe from any thread.
int interruptCount();
inline bool interruptRequested() {
    return interruptCount() > 0;
}

}  // namespace brindle
