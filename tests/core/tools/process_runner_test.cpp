#include "core/tools/process_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <filesystem>
#include <limits>
#include <string>
#include <thread>
#include <tuple>

#include "core/platform/files.h"
#include "core/tools/tool_output.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

using namespace std::chrono_literals;
using Kind = ProcessError::Kind;
using Seconds = std::chrono::duration<double>;
using testing::ElementsAre;
using testing::HasSubstr;

class ProcessRunnerTest : public testing::Test {
  protected:
    // A tool of this home's trusted folder; what it finds in $HOME is the home.
    std::expected<ProcessResult, ProcessError> run(const std::string& script,
                                                   const RunOptions& options = {}) {
        home.script(".local/bin/brindle-tool", script);
        std::filesystem::remove(home.path("pid"));
        const auto start = std::chrono::steady_clock::now();
        auto outcome = runner.run("brindle-tool", {}, options);
        took = std::chrono::steady_clock::now() - start;
        EXPECT_THAT(*listFolder(home.path("tmp")), ElementsAre()) << "the output's folder stayed";
        return outcome;
    }
    bool isAnnounced() const { return std::filesystem::exists(home.path("pid")); }
    // The process that announced itself ends soon.
    bool announcedProcessGoes() const {
        const auto text = readFile(home.path("pid"));
        if (!text) return false;
        for (int tries = 0; tries < 200; ++tries) {
            const auto status = readFile("/proc/" + std::to_string(std::stoi(*text)) + "/stat");
            // Dead and not reaped by whoever has inherited it counts as gone.
            if (::kill(std::stoi(*text), 0) != 0 || (status && status->find(") Z ") != std::string::npos))
                return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

    TestHome home;
    ProcessRunner runner{home.path(),
                         {"HOME=" + home.path(), "TMPDIR=" + home.folder("tmp"), "PATH=/nowhere", "KEPT=1"}};
    Seconds took{};
    // The shell that runs this writes its number into the home's file "pid", whole.
    const std::string announce = "echo $$ > $HOME/pid.new; mv $HOME/pid.new $HOME/pid; ";
    const RunOptions onceAnnounced{.isCancelled = [this] { return isAnnounced(); }};
};

TEST_F(ProcessRunnerTest, GivesTheResultWhateverTheStatus) {
    const auto outcome = run("echo out; echo err >&2; cat; exit 3");
    ASSERT_TRUE(outcome) << outcome.error().errorDescription();
    EXPECT_EQ(*outcome, (ProcessResult{3, "out\n", "err\n"}));
    EXPECT_EQ(run("kill -KILL $$")->status, 137);
    EXPECT_EQ(run("pwd")->output, "/\n");
    EXPECT_EQ(run("ls .local/bin", {.folder = home.path()})->output, "brindle-tool\n");
    EXPECT_EQ(run("pwd", {.folder = home.path("none")}).error().kind, Kind::couldNotRun);
    EXPECT_EQ(run("printf '\\377\\000x'")->output, std::string("\xff\0x", 3));

    const auto failed = requireSuccess(outcome);
    EXPECT_EQ(failed.error().errorDescription(), "Command exited with status 3. err");
    EXPECT_EQ(requireSuccess(run("echo ' why '; exit 1")).error().text, "why");
    EXPECT_EQ(requireSuccess(run("exit 1")).error().errorDescription(), "The command exited with status 1.");
    EXPECT_TRUE(requireSuccess(run("echo warning >&2")));
    const std::string line = std::string(3000, 'x');
    EXPECT_EQ((ProcessResult{1, "", line + "\n" + line}.message()), line);
}

TEST_F(ProcessRunnerTest, StopsWhatDoesNotEndByItself) {
    const RunOptions hasty{.timeout = 0.2s};
    const RunOptions waiting{.timeout = 20s, .waitingPhrases = {"", "Press any key", "Waiting for lock"}};
    const RunOptions never{.timeout = Seconds(std::numeric_limits<double>::quiet_NaN())};
    using Case = std::tuple<const char*, const RunOptions&, Kind, const char*>;
    const RunOptions usual;
    const Case cases[] = {
        {"sleep 60", hasty, Kind::timedOut, ""},
        {"trap '' TERM; sleep 60; sleep 60", hasty, Kind::timedOut, ""},
        {"sleep 60", never, Kind::timedOut, ""},
        {"printf 'Press any key' >&2; sleep 60", waiting, Kind::waiting, "Press any key"},
        {"printf 'Waiting f'; sleep 0.1; printf 'or lock'; sleep 60", waiting, Kind::waiting,
         "Waiting for lock"},
        {"head -c 3000000 /dev/zero; printf Pres; sleep 0.1; echo s any key; sleep 60", waiting,
         Kind::waiting, "Press any key"},
        {"exec cat /dev/zero >&2", usual, Kind::tooMuchOutput, ""},
        {"head -c 67108865 /dev/zero", usual, Kind::tooMuchOutput, ""},
    };
    for (const auto& [script, options, kind, text] : cases) {
        const auto outcome = run(script, options);
        ASSERT_FALSE(outcome) << script;
        EXPECT_EQ(outcome.error().kind, kind) << script << ": " << outcome.error().errorDescription();
        EXPECT_EQ(outcome.error().text, text) << script;
        EXPECT_LT(took, 5s) << script;
    }
}

TEST_F(ProcessRunnerTest, GivesAToolHalfASecondToTidyUp) {
    EXPECT_EQ(run("trap '' TERM; " + announce + "sleep 60; sleep 60", onceAnnounced).error().kind,
              Kind::cancelled);
    EXPECT_GE(took, 0.5s);
    const std::string tidies = "trap 'sleep 0.1; echo > $HOME/tidied; exit' TERM; ";
    EXPECT_FALSE(run(tidies + announce + "while :; do sleep 0.05; done", onceAnnounced));
    EXPECT_TRUE(std::filesystem::exists(home.path("tidied")));
}

TEST_F(ProcessRunnerTest, DoesNotTakeAToolThatEndsForOneThatWaits) {
    const RunOptions options{.waitingPhrases = {"Waiting for lock"}};
    EXPECT_TRUE(run("echo Waiting for lock; sleep 0.05", options));
    EXPECT_TRUE(run("echo Waiting for; echo lock; sleep 0.2", options));
}

TEST_F(ProcessRunnerTest, TakesGrandchildrenAlongOnlyWhenItStops) {
    const std::string leaveBehind = "sh -c 'trap \"\" TERM; " + announce + "sleep 60; sleep 60' & ";
    EXPECT_EQ(run(leaveBehind + "wait", onceAnnounced).error().kind, Kind::cancelled);
    EXPECT_TRUE(announcedProcessGoes());

    EXPECT_TRUE(run(leaveBehind + "while ! [ -e $HOME/pid ]; do sleep 0.01; done"));
    EXPECT_LT(took, 5s);
    const pid_t left = std::stoi(*readFile(home.path("pid")));
    EXPECT_EQ(::kill(left, 0), 0);
    ::kill(left, SIGKILL);
}

TEST_F(ProcessRunnerTest, IsCancelledFromAnotherThreadAndBeforeItStarts) {
    std::atomic<bool> isCancelled = false;
    const RunOptions options{.isCancelled = [&] { return isCancelled.load(); }};
    const std::jthread other([&] {
        while (!isAnnounced()) std::this_thread::sleep_for(1ms);
        isCancelled = true;
    });
    EXPECT_EQ(run(announce + "sleep 60", options).error().kind, Kind::cancelled);
    EXPECT_LT(took, 5s);
    EXPECT_TRUE(announcedProcessGoes());
    EXPECT_EQ(run(announce, options).error().errorDescription(), "The command was cancelled.");
    EXPECT_FALSE(isAnnounced()) << "it was started";
}

TEST_F(ProcessRunnerTest, TidiesUpWhenTheCancellationTestThrows) {
    const RunOptions options{.isCancelled = [&] { return isAnnounced() ? throw 1 : false; }};
    EXPECT_THROW((void)run("trap '' TERM; " + announce + "sleep 60; sleep 60", options), int);
    EXPECT_TRUE(announcedProcessGoes());
    EXPECT_THAT(*listFolder(home.path("tmp")), ElementsAre());
}

TEST_F(ProcessRunnerTest, ShowsTheToolExactlyThePromisedEnvironment) {
    RunOptions options{.removedVariables = {"KEPT", "TMP*", "PATH"},
                       .setVariables = {{"PATH", "/evil"}, {"LANG", "C"}, {"HOMEBREW_NO_ANALYTICS", "0"}}};
    const std::string path =
        "/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin:" + home.path(".local/bin") + ":" +
        home.path(".bun/bin") + ":/Applications/Docker.app/Contents/Resources/bin";
    home.link(".local/bin/print-environment", "/usr/bin/env");
    EXPECT_EQ(runner.run("print-environment", {}, options)->output,
              "HOME=" + home.path() +
                  "\nHOMEBREW_NO_ANALYTICS=0\nHOMEBREW_NO_AUTOREMOVE=1\nHOMEBREW_NO_AUTO_UPDATE=1\n"
                  "HOMEBREW_NO_ENV_HINTS=1\nLANG=C\nPATH=" +
                  path + "\n");
    EXPECT_THAT(runner.run("print-environment", {})->output, HasSubstr("KEPT=1\n"));
}

TEST_F(ProcessRunnerTest, LooksInTrustedFoldersOnlyAndInTheirOrder) {
    home.script(".bun/bin/both", "");
    EXPECT_EQ(runner.locate("both"), home.path(".bun/bin/both"));
    home.text(".local/bin/both", "not executable");
    EXPECT_EQ(runner.locate("both"), home.path(".bun/bin/both"));
    home.script(".local/bin/both", "");
    EXPECT_EQ(runner.locate("both"), home.path(".local/bin/both"));
    const std::string elsewhere = home.script("elsewhere/tool", "");
    EXPECT_EQ(runner.locate(elsewhere), elsewhere);
    home.folder(".local/bin/folder");
    for (const std::string name : {"tool", "", "folder", "../../elsewhere/tool"}) {
        EXPECT_EQ(runner.locate(name), std::nullopt) << name;
        EXPECT_EQ(runner.run(name, {}).error().errorDescription(),
                  "Could not find " + name + " on this Mac.");
    }
    EXPECT_EQ(runner.locate(home.path("none")), std::nullopt);
}

TEST_F(ProcessRunnerTest, SaysWhyARunCouldNotBeSetUpAndNeedsNoTemporaryFolder) {
    home.script(".local/bin/odd", "");
    home.text(".local/bin/odd", "#!/nowhere/sh\n");
    const auto unstartable = runner.run("odd", {}).error();
    EXPECT_EQ(unstartable.kind, Kind::couldNotRun);
    EXPECT_EQ(unstartable.cause->path, home.path(".local/bin/odd"));
    EXPECT_THAT(unstartable.errorDescription(), HasSubstr("No such file or directory"));
    const ProcessRunner nowhere(home.path(), {"TMPDIR=" + home.path("none")});
    EXPECT_TRUE(nowhere.run("true", {}));
}

TEST(ToolOutput, KnowsErrorAndWarningLines) {
    for (const char* line :
         {"error", "error: no space", "fatal: x", "npm error code E404", "npm \t fatal", "npm ERR! code"}) {
        EXPECT_TRUE(isErrorLine(line) && !isWarningLine(line)) << line;
    }
    for (const char* line : {"warn", "npm warn deprecated", "warning: x"}) {
        EXPECT_TRUE(!isErrorLine(line) && isWarningLine(line)) << line;
    }
    const std::string blanks(3'000'000, ' ');
    for (const char* line : {"", "npm", "ERR! code", "npmERR!", "npm notice error", "errors: 3", "error_code",
                             " error", "Error: x", "npm WARN x", "warnings", "warned", blanks.c_str()}) {
        EXPECT_FALSE(isErrorLine(line) || isWarningLine(line)) << line;
    }
}

TEST(ToolOutput, FindsWhatWasReclaimedAndBelievesOnlyALiteralZero) {
    EXPECT_EQ(reclaimedSpace("Deleted\nTotal reclaimed space:  1.2GB \r\nreclaimed space: 3B\n"), "1.2GB");
    EXPECT_EQ(reclaimedSpace("reclaimed space:"), "");
    EXPECT_EQ(reclaimedSpace("Reclaimed 3 GB"), std::nullopt);
    for (const char* zero : {"0", "0B", "0.00 kB", "0 "}) EXPECT_TRUE(isNothingReclaimed(zero)) << zero;
    for (const char* other : {"", "0.", "00", "0.01B", "1B", "0 B (shared)", "zero", "-0B"}) {
        EXPECT_FALSE(isNothingReclaimed(other)) << other;
    }
}

}  // namespace
}  // namespace brindle::test
