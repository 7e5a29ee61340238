// The real program, through pipes and through a terminal.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <thread>
#include <tuple>

#if defined(__APPLE__)
#include <util.h>
#else
#include <pty.h>
#endif

#include "cli/display_width.h"
#include "cli/exit_code.h"
#include "cli/streams.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/test_home.h"

namespace brindle::test {

namespace {

std::string program() {
    return buildFolder() + "/bin/brindle";
}

struct ShellRun {
    int status;
    std::string output;
};

std::string outputOf(int descriptor) {
    std::string output;
    std::array<char, 4096> block{};
    for (ssize_t count = 0; (count = ::read(descriptor, block.data(), block.size())) > 0;) {
        output.append(block.data(), static_cast<std::size_t>(count));
    }
    return output;
}

// A line of shell in which $B is the program on that home; both streams are read.
ShellRun shell(const TestHome& home, const std::string& line) {
    const std::string command = "export LC_ALL=C.UTF-8 TERM=xterm; B='" + program() + " --home " +
                                home.path() + "'; { " + line + "; } 2>&1";
    FILE* pipe = ::popen(command.c_str(), "r");
    const std::string output = outputOf(::fileno(pipe));
    const int status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output};
}

int statusOf(pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Runs a body behind a terminal of that width; `meanwhile` gets the terminal's other end before it is read.
ShellRun onTerminal(unsigned short width, const std::function<int()>& body,
                    const std::function<void(int)>& meanwhile = {}) {
    winsize size{.ws_row = 24, .ws_col = width, .ws_xpixel = 0, .ws_ypixel = 0};
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) ::_exit(body());
    if (meanwhile) meanwhile(terminal);
    const std::string output = outputOf(terminal);
    const int status = statusOf(child);
    ::close(terminal);
    return {status, output};
}

std::function<int()> scanOf(const TestHome& home) {
    return [&home] {
        ::setenv("LC_ALL", "C.UTF-8", 1);
        ::setenv("TERM", "xterm", 1);
        return ::execl(program().c_str(), "brindle", "--home", home.path().c_str(), "scan", "--no-color",
                       nullptr);
    };
}

// What the terminal shows in the end: what is drawn next after "\r", or erased by ESC [ K, is gone.
std::vector<std::string> screen(const std::string& output) {
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) line.pop_back();
        line.erase(0, line.rfind('\r') + 1);
        if (line.starts_with("\x1b[K")) line.erase(0, 3);
        lines.push_back(line);
    }
    return lines;
}

void expectNoProgressLeft(const std::string& output, unsigned width) {
    for (const std::string& line : screen(output)) {
        EXPECT_LE(displayWidth(line), width) << line;
        EXPECT_FALSE(line.contains(" modules")) << line;
    }
}

}  // namespace

TEST(Program, EndsWithTheDocumentedExitCodes) {
    TestHome home;
    home.file("Library/Caches/pip/x");
    const std::string nowhere =
        "mkdir " + home.path("d") + "; cd " + home.path("d") + "; rmdir $PWD; ";  // a folder that is gone
    using Case = std::pair<std::string, ExitCode>;
    const Case cases[] = {
        {"$B", ExitCode::success},
        {"$B nonsense", ExitCode::usage},
        {"$B explain python.none", ExitCode::notFound},
        {nowhere + "$B explain ./usr", ExitCode::failed},
        {nowhere + "$B --home usr scan", ExitCode::usage},
    };
    for (const auto& [line, code] : cases) {
        const ShellRun run = shell(home, line);
        EXPECT_EQ(run.status, number(code)) << line << "\n" << run.output;
    }
}

TEST(Program, IsQuietWhenTheReaderIsGoneAndSpeaksWhenTheDiskIsFull) {
    TestHome home;
    // The reader has gone before the program starts.
    EXPECT_EQ(shell(home, "{ sleep 0.3; $B scan; echo status $? >&2; } | true").output, "status 141\n");
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "needs /dev/full";
    const ShellRun full = shell(home, "$B scan > /dev/full");
    EXPECT_EQ(full.status, number(ExitCode::failed));
    EXPECT_TRUE(full.output.starts_with("brindle: could not ")) << full.output;
}

TEST(Program, PrintsCompletionsAndAManualThatTheirReadersAccept) {
    TestHome home;
    for (const std::string name : {"bash", "zsh", "fish"}) {
        if (shell(home, "command -v " + name).status != 0) continue;
        const std::string script = home.path(name);
        EXPECT_EQ(
            shell(home, "$B completion " + name + " > " + script + " && " + name + " -n " + script).output,
            "");
    }
    home.folder("my folder");
    using Case = std::pair<std::string, std::string>;  // the last word of the line is completed
    const Case cases[] = {
        {"scan --only py", "python"},
        {"scan --only = py", "python"},  // as bash separates "--only=py"
        {"scan --only=py", "--only=python"},
        {"--home = / se", "settings"},
        {"--home " + home.path("my"), home.path("my folder")},
        {"settings cade", "cadence"},
        {"settings cadence ca", ""},
        {"settings -- --re", ""},
        {"--on", ""},
    };
    std::string script = "source " + home.path("bash");
    std::string expected;
    for (const auto& [line, offered] : cases) {
        script +=
            "; COMP_WORDS=(brindle " + line +
            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _brindle; printf \"%s|\" \"${COMPREPLY[@]}\"; echo";
        expected += offered + "|\n";
    }
    EXPECT_EQ(shell(home, "bash -c '" + script + "'").output, expected);
    if (shell(home, "command -v groff").status == 0) {
        EXPECT_EQ(shell(home, "$B man | groff -man -Tutf8 -ww -z").output, "");
    }
}

TEST(Program, LeavesNoDebrisOnTheTerminal) {
    if (!test::hasPseudoTerminals()) GTEST_SKIP() << test::kNeedsPseudoTerminals;
    TestHome home;
    home.file("Library/Caches/pip/x");
    for (const unsigned short width : std::array<unsigned short, 2>{40, 100}) {
        const ShellRun run = onTerminal(width, scanOf(home));
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.output.find("modules"), std::string::npos) << "no progress was drawn";
        expectNoProgressLeft(run.output, width);
        EXPECT_TRUE(screen(run.output).front().starts_with("Volume")) << run.output;
    }
}

TEST(Program, EndsAtOnceOnCtrlCWithWhatItHas) {
    if (!test::hasPseudoTerminals()) GTEST_SKIP() << test::kNeedsPseudoTerminals;
    using namespace std::chrono;
    TestHome home;
    home.file("Library/Caches/pip/x");
    ShellRun run{};
    // Ctrl-S holds the program up at its first sign of life, before the scan. A Ctrl-C that comes too early,
    // when the program is not ready for it yet, kills it: then it was given too little time.
    for (auto patience = milliseconds(50); patience < seconds(10); patience *= 3) {
        steady_clock::time_point interrupted;
        run = onTerminal(80, scanOf(home), [&](int terminal) {
            ASSERT_EQ(::write(terminal, "\x13", 1), 1);
            std::this_thread::sleep_for(patience);
            interrupted = steady_clock::now();
            ASSERT_EQ(::write(terminal, "\x03\x11", 2), 2);
        });
        EXPECT_LT(steady_clock::now() - interrupted, seconds(10));
        if (run.status != -SIGINT) break;
    }
    EXPECT_EQ(run.status, number(ExitCode::interrupted)) << run.output;
    EXPECT_NE(run.output.find("Interrupted: this is partial"), std::string::npos) << run.output;
    expectNoProgressLeft(run.output, 80);
}

TEST(StandardStreams, AskOnlyWhereSomebodyCanAnswer) {
    if (!test::hasPseudoTerminals()) GTEST_SKIP() << test::kNeedsPseudoTerminals;
    constexpr int kYes = 7;
    constexpr int kNobody = 8;
    constexpr int kNo = 9;
    const std::tuple<const char*, bool, int> cases[] = {
        {"yes\n", false, kYes}, {"\x04", false, kNo}, {"yes\n", true, kNobody}};
    for (const auto& [typed, isUnseen, status] : cases) {
        const auto ask = [isUnseen] {
            if (isUnseen) ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
            const auto answer = StandardStreams().ask("Push? ");
            return !answer ? kNobody : *answer == "yes" ? kYes : kNo;
        };
        const ShellRun run = onTerminal(80, ask, [typed](int terminal) {
            ASSERT_GT(::write(terminal, typed, std::string_view(typed).size()), 0);
        });
        EXPECT_EQ(run.status, status) << run.output;
        EXPECT_EQ(run.output.contains("Push? "), !isUnseen) << run.output;
    }
}

}  // namespace brindle::test
