#include "core/platform/appending_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <utility>

#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;

TEST(AppendingFile, IsPrivateAndGrowsByWholeLines) {
    TestHome home;
    const std::string path = home.path("journal");
    const mode_t before = ::umask(0777);
    auto file = AppendingFile::create(path, "first");
    ::umask(before);
    ASSERT_TRUE(file) << file.error().describe();
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    AppendingFile moved = *std::move(file);
    EXPECT_TRUE(moved.append("second"));
    EXPECT_EQ(readFile(path), "first\nsecond\n");

    EXPECT_TRUE(removeFileSynced(path));
    EXPECT_EQ(removeFileSynced(path).error().kind, Error::Kind::missing);
    EXPECT_FALSE(removeFileSynced(home.path())) << "a folder stays";
}

TEST(AppendingFile, TakesNobodysPlace) {
    TestHome home;
    home.text("old", "old");
    for (const std::string& path : {home.path("old"), home.link("link", "nowhere"), home.link("to", "old")}) {
        EXPECT_EQ(AppendingFile::create(path, "line").error().kind, Error::Kind::alreadyExists) << path;
    }
    EXPECT_EQ(AppendingFile::create(home.path("no/folder"), "line").error().kind, Error::Kind::missing);
    EXPECT_EQ(readFile(home.path("old")), "old");
    EXPECT_FALSE(fs::exists(home.path("nowhere")));
    EXPECT_TRUE(removeFileSynced(home.path("to")));
    EXPECT_TRUE(fs::exists(home.path("old"))) << "the link went, not where it led";
}

TEST(AppendingFile, LeavesNoHalfLineWhenTheDiskIsFull) {
    TestHome home;
    auto file = AppendingFile::create(home.path("journal"), "first");
    ASSERT_TRUE(file);
    // A file may grow to some size only: the system then takes a part of a line.
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const auto heeded = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_FALSE(file->append("a long second line"));
    EXPECT_FALSE(AppendingFile::create(home.path("other"), "a long first line"));
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, heeded);
    EXPECT_FALSE(fs::exists(home.path("other")));
    EXPECT_FALSE(file->append("third")) << "what came after a lost line would be misread";
    EXPECT_EQ(readFile(home.path("journal")), "first\n");
}

}  // namespace
}  // namespace brindle::test
