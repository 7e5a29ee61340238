// Where the program writes: results to one stream, everything else to the other.
#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/error.h"

namespace brindle {

// Messages may be written from any thread; results come from one.
class Streams {
  public:
    virtual ~Streams() = default;

    // The result, whole. isClosedPipe() tells a reader that has gone from other errors.
    virtual std::expected<void, Error> writeResult(std::string_view bytes) = 0;

    // Progress, warnings and complaints. That one of them cannot be written is nothing to end for.
    virtual void writeMessage(std::string_view bytes) = 0;

    // Columns of the terminal that the stream leads to; absent when it leads elsewhere. Asked anew each time,
    // for the user may resize it, or put the program in the background, where its messages have none.
    virtual std::optional<unsigned> resultTerminal() const = 0;
    virtual std::optional<unsigned> messageTerminal() const = 0;

    // Shows the question among the messages and waits for a line, which comes without its line feed. Absent when
    // nobody can answer: the input or the messages lead to no terminal, or Ctrl-C came. Empty when the input ended.
    virtual std::optional<std::string> ask(std::string_view question) = 0;
};

// The standard output and the standard errors of this process.
class StandardStreams : public Streams {
  public:
    std::expected<void, Error> writeResult(std::string_view bytes) override;
    void writeMessage(std::string_view bytes) override;
    std::optional<unsigned> resultTerminal() const override;
    std::optional<unsigned> messageTerminal() const override;
    std::optional<std::string> ask(std::string_view question) override;
};

}  // namespace brindle
