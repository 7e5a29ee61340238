#include "core/platform/rename.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "core/platform/files.h"
#include "core/platform/posix/link_move.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;

TEST(OpenWithoutLinks, RefusesALinkAnywhereOnTheWay) {
    TestHome home;
    const std::string deep = home.folder("real/deep");
    home.link("link", "real");
    home.link("real/last", "deep");
    home.text("file", "x");
    home.folder("sealed/inside");
    home.mode("sealed", 0300);
    OpenFolder folder;
    for (const auto& [path, isOpened] : {std::pair{deep, true},
                                         {std::string("/"), true},
                                         {home.path("/real//deep/"), true},
                                         {home.path("sealed/inside"), true},
                                         {home.path("link/deep"), false},
                                         {home.path("real/last"), false},
                                         {home.path("real/../real"), false},
                                         {home.path("./real"), false},
                                         {home.path("file"), false},
                                         {home.path("file/x"), false},
                                         {std::string("relative"), false},
                                         {std::string(), false}}) {
        const int failure = folder.openWithoutLinks(path);
        EXPECT_EQ(failure == 0, isOpened) << path << ": " << failure;
        EXPECT_EQ(folder.isOpen(), isOpened) << path;
    }
}

TEST(OpenWithoutLinks, MakesWhatIsMissingBelowAFolder) {
    TestHome home;
    home.folder("elsewhere");
    home.link("link", "elsewhere");
    OpenFolder top;
    OpenFolder made;
    ASSERT_EQ(top.openWithoutLinks(home.path()), 0);
    EXPECT_EQ(made.openBelow(top, "a/b"), ENOENT);
    const mode_t before = ::umask(0027);
    EXPECT_EQ(made.openBelow(top, "a/b", 0755), 0);
    ::umask(before);
    EXPECT_EQ(statusOf(home.path("a"))->mode & 0777U, 0750U);
    FileStatus opened;
    ASSERT_EQ(made.status(opened), 0);
    EXPECT_TRUE(isSameObject(opened, *statusOf(home.path("a/b"))));
    EXPECT_NE(made.openBelow(top, "link/b", 0755), 0);
    EXPECT_FALSE(exists(home.path("elsewhere/b")));
}

TEST(RenameWithoutReplacing, NeverTakesAnothersPlace) {
    using Rename = int (*)(const OpenFolder&, const std::string&, const OpenFolder&, const std::string&);
    for (const Rename rename : {Rename{renameWithoutReplacing}, Rename{moveByLink}}) {
        TestHome home;
        home.text("from/file", "moved");
        home.link("from/link", "nowhere");
        home.folder("from/folder");
        home.text("to/taken", "stays");
        home.folder("to/empty");
        home.link("to/dangling", "nowhere");
        OpenFolder from;
        OpenFolder to;
        ASSERT_EQ(from.openWithoutLinks(home.path("from")), 0);
        ASSERT_EQ(to.openWithoutLinks(home.path("to")), 0);
        for (const char* name : {"file", "link", "folder"}) {
            const bool canMove = rename != Rename{moveByLink} || name != std::string("folder");
            for (const char* taken : {"taken", "empty", "dangling"})
                EXPECT_EQ(rename(from, name, to, taken), canMove ? EEXIST : EINVAL) << name << taken;
            EXPECT_EQ(rename(from, name, to, name), canMove ? 0 : EINVAL) << name;
            EXPECT_EQ(fs::exists(fs::symlink_status(home.path("from/" + std::string(name)))), !canMove);
        }
        EXPECT_EQ(rename(from, "none", to, "new"), ENOENT);
        EXPECT_EQ(readFile(home.path("to/file")), "moved");
        EXPECT_EQ(readFile(home.path("to/taken")), "stays");
        EXPECT_TRUE(fs::is_symlink(home.path("to/link")));
    }
}

}  // namespace
}  // namespace brindle::test
