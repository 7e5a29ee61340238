#include "core/platform/child_process.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

using testing::HasSubstr;

class ChildProcessTest : public testing::Test {
  protected:
    ChildProcessOptions shell(const std::string& script, std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), {"-c", script, "sh"});
        return {"/bin/sh",        std::move(arguments), {"PATH=/usr/bin:/bin"},
                home.path("out"), home.path("err"),     "/"};
    }
    TestHome home;
};

TEST_F(ChildProcessTest, HandsOverArgumentsAndEnvironmentByteForByte) {
    auto options = shell("printf '%s|' \"$@\" \"$ODD\"; env", {"", "a b", "*", "\xff\n", "$HOME"});
    options.environment = {"ODD=\xfe=x"};
    ASSERT_EQ(ChildProcess::start(options)->wait(), 0);
    EXPECT_THAT(*readFile(home.path("out")), testing::StartsWith("|a b|*|\xff\n|$HOME|\xfe=x|"));
    EXPECT_THAT(*readFile(home.path("out")), testing::Not(HasSubstr("HOME=")));
    options.arguments.emplace_back("cut\0off", 7);
    EXPECT_EQ(ChildProcess::start(options).error().code, EINVAL);
}

TEST_F(ChildProcessTest, LetsNothingOfOursLeakIn) {
    if (!std::filesystem::exists("/proc/self/fd")) GTEST_SKIP() << "needs /proc";
    const int leak = ::open("/", O_RDONLY);  // on purpose without close-on-exec
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto oldAction = ::signal(SIGPIPE, SIG_IGN);
    auto child = ChildProcess::start(
        shell("ls /proc/$$/fd; readlink /proc/$$/fd/0; pwd; grep -E '^Sig(Blk|Ign)' /proc/self/status; "
              "exec cut -d' ' -f1,5,6,7 /proc/$$/stat"));
    ::signal(SIGPIPE, oldAction);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::close(leak);
    ASSERT_TRUE(child);
    child->wait();
    const std::string seen = *readFile(home.path("out"));
    EXPECT_THAT(seen, testing::StartsWith("0\n1\n2\n/dev/null\n/\n"));
    EXPECT_THAT(seen, HasSubstr("SigBlk:\t0000000000000000\n"));
    // The C library may have its own two ignored, 32 and 33; they are not ours.
    EXPECT_THAT(seen, testing::ContainsRegex("SigIgn:\t0000000[01][08]0000000\n"));
    const std::string id = seen.substr(seen.rfind('\n', seen.size() - 2) + 1);
    const std::string number = id.substr(0, id.find(' '));
    EXPECT_EQ(id, number + " " + number + " " + number + " 0\n") << "its own session, without a terminal";
}

TEST_F(ChildProcessTest, WorksWhereTheProgramItselfHasNoStandardDescriptors) {
    const pid_t program = ::fork();
    if (program == 0) {
        for (const int standard : {0, 1, 2}) ::close(standard);
        auto child = ChildProcess::start(shell("echo out; echo err >&2"));
        ::_exit(child && child->wait() == 0 ? 0 : 1);
    }
    int status = -1;
    ::waitpid(program, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(*readFile(home.path("out")) + *readFile(home.path("err")), "out\nerr\n");
}

TEST_F(ChildProcessTest, LearnsTheEndAlsoWhereTheProgramWasStartedWithChildrenIgnored) {
    const auto before = ::signal(SIGCHLD, SIG_IGN);
    auto child = ChildProcess::start(shell("exit 3"));
    EXPECT_EQ(child->wait(), 3);
    ::signal(SIGCHLD, before);
}

}  // namespace
}  // namespace brindle::test
