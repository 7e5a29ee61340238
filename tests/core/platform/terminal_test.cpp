#include "core/platform/terminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <thread>

#include "tests/support/pseudo_terminal.h"

namespace brindle {
namespace {

// Signals, standard streams and the handlers belong to the whole process, so each case runs in one of its
// own. The result is the exit status, or 1000 + N after signal N.
int inChild(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

struct Pipe {
    int ends[2] = {-1, -1};
    const int& reader = ends[0];
    const int& writer = ends[1];
    Pipe() {
        if (pipe(ends) != 0) abort();
    }
    ~Pipe() {
        for (const int end : ends) close(end);
    }
};

TEST(Terminal, TellsTheWidthOfTheOutputAndElseOfTheErrors) {
    if (!test::hasPseudoTerminals()) GTEST_SKIP() << test::kNeedsPseudoTerminals;
    const test::PseudoTerminal terminal;
    const Pipe pipe;
    winsize size = {};
    size.ws_col = 87;
    ASSERT_EQ(ioctl(terminal.master, TIOCSWINSZ, &size), 0);
    const auto widthWith = [](int output, int errors) {
        return inChild([&] {
            dup2(output, STDOUT_FILENO);
            dup2(errors, STDERR_FILENO);
            const bool both = isTerminal(StandardStream::output) || isTerminal(StandardStream::errors);
            return both == terminalWidth().has_value() ? static_cast<int>(terminalWidth().value_or(0)) : 255;
        });
    };
    EXPECT_EQ(widthWith(terminal.slave, pipe.writer), 87);
    EXPECT_EQ(widthWith(pipe.writer, terminal.slave), 87);
    EXPECT_EQ(widthWith(pipe.writer, pipe.writer), 0);
}

TEST(Terminal, WritesEverythingToASlowNonBlockingReader) {
    const Pipe pipe;
    const std::string text(1 << 20, 'x');
    std::size_t received = 0;
    std::jthread reader([&] {
        char buffer[4096];
        while (received < text.size()) {
            const ssize_t count = read(pipe.reader, buffer, sizeof(buffer));
            if (count <= 0) break;
            received += static_cast<std::size_t>(count);
        }
    });
    ASSERT_EQ(fcntl(pipe.writer, F_SETFL, O_NONBLOCK), 0);
    const int status = inChild([&] {
        dup2(pipe.writer, STDOUT_FILENO);
        return writeAll(StandardStream::output, text) ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
    reader.join();
    EXPECT_EQ(received, text.size());
}

TEST(Terminal, ReadsLinesAndNotAByteMore) {
    EXPECT_EQ(inChild([] {
                  Pipe pipe;
                  dup2(pipe.reader, STDIN_FILENO);
                  if (write(pipe.writer, "yes\n\nrest\nlast", 14) != 14) return 1;
                  close(pipe.writer);
                  if (*readLine() != "yes" || *readLine() != "") return 2;
                  char rest[5] = {};
                  if (read(STDIN_FILENO, rest, 5) != 5 || std::string_view(rest, 5) != "rest\n") return 3;
                  return *readLine() == "last" && *readLine() == std::nullopt ? 0 : 4;
              }),
              0);
}

TEST(Interrupts, TheFirstCountsAndTheSecondEndsTheProcessUnlessTheParentIgnoresThem) {
    const auto after = [](int sent, int signalNumber, void (*before)(int) = SIG_DFL) {
        return inChild([=] {
            signal(signalNumber, before);
            installInterruptHandler();
            if (interruptRequested()) return 1;
            for (int count = 0; count < sent; ++count) raise(signalNumber);
            return 50 + interruptCount();
        });
    };
    EXPECT_EQ(after(2, SIGINT, SIG_IGN), 50);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_EQ(after(1, signalNumber), 51);
        EXPECT_EQ(after(2, signalNumber), 130);
    }
}

TEST(Interrupts, EndAQuestionThatWaitsForItsAnswer) {
    EXPECT_EQ(inChild([] {
                  Pipe pipe;
                  dup2(pipe.reader, STDIN_FILENO);
                  signal(SIGALRM, SIG_DFL);
                  alarm(20);
                  signal(SIGINT, SIG_DFL);
                  installInterruptHandler();
                  std::jthread later([] {
                      std::this_thread::sleep_for(std::chrono::milliseconds(50));
                      raise(SIGINT);  // to that thread: the one that reads must notice all the same
                  });
                  const auto line = readLine();
                  return !line && line.error().kind == Error::Kind::interrupted ? 0 : 1;
              }),
              0);
}

}  // namespace
}  // namespace brindle
