// Runs the command line in this process, on streams that remember, and looks for what it said.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/palette.h"
#include "tests/support/test_home.h"

namespace brindle::test {

class CollectingStreams : public Streams {
  public:
    std::optional<unsigned> terminal;  // columns of both streams
    std::deque<std::string> answers;   // nobody is there when they are used up

    std::expected<void, Error> writeResult(std::string_view bytes) override {
        result += bytes;
        return {};
    }
    void writeMessage(std::string_view bytes) override {
        const std::lock_guard guard(lock_);
        messages += bytes;
    }
    std::optional<unsigned> resultTerminal() const override { return terminal; }
    std::optional<unsigned> messageTerminal() const override { return terminal; }
    std::optional<std::string> ask(std::string_view question) override {
        writeMessage(question);
        if (answers.empty()) return std::nullopt;
        std::string next = answers.front();
        answers.pop_front();
        return next;
    }

    std::string result;
    std::string messages;

  private:
    std::mutex lock_;
};

struct CollectedRun {
    ExitCode code;
    std::string result;
    std::string messages;
};

struct RunSettings {
    std::optional<unsigned> terminal = std::nullopt;
    std::vector<std::string> environment = {"LANG=en_US.UTF-8", "TERM=xterm"};
    std::function<bool()> isInterrupted = [] { return false; };
    std::deque<std::string> answers = {};
};

// `arguments` come after "--home HOME".
inline CollectedRun runIn(const TestHome& home, std::vector<std::string> arguments,
                          const RunSettings& settings = {}) {
    CollectingStreams streams;
    streams.terminal = settings.terminal;
    streams.answers = settings.answers;
    arguments.insert(arguments.begin(), {"--home", home.path()});
    const ExitCode code = runCommandLine({.arguments = std::move(arguments),
                                          .environment = settings.environment,
                                          .resourceFolder = resourcesFolder(),
                                          .accountHome = home.path(),
                                          .program = home.path("bin/brindle"),
                                          .workingFolder = home.path(),
                                          .isInterrupted = settings.isInterrupted},
                                         streams);
    return {code, streams.result, streams.messages};
}

inline Look lookOf(unsigned columns) {
    Look look;
    look.width = columns;
    return look;
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

inline void expectAll(const std::vector<std::string>& parts, const std::string& text) {
    for (const std::string& part : parts) EXPECT_TRUE(contains(text, part)) << part << " in\n" << text;
}

// Every line break and run of blanks is one blank.
inline std::string unwrapped(const std::string& text) {
    std::string plain;
    for (const std::string& word : wordsOf(text)) plain += (plain.empty() ? "" : " ") + word;
    return plain;
}

}  // namespace brindle::test
