#include "core/platform/volume.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>

#ifdef __linux__
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "core/platform/machine.h"
#include "core/platform/mount_points.h"
#include "core/platform/user_folders.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Paths = std::vector<std::string>;

TEST(Volume, FindsTheMountPointThatHoldsAPath) {
    constexpr std::string_view kTable =
        "21 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "22 21 8:2 / /home rw - ext4 /dev/sda2 rw\n"
        "23 22 8:3 / /home/a\\040b rw - ext4 /dev/sdb1 rw\n"
        "24 21 8:4 / /odd\\134040\\011x rw - ext4 /dev/sdc1 rw\n"
        "cut off\n"
        "25 21 8:5 / /last rw - tmpfs tmpfs rw";
    using Case = std::pair<const char*, std::string_view>;
    for (const auto& [path, mountPoint] :
         {Case{"/", "/"}, Case{"/homely/x", "/"}, Case{"/home", "/home"}, Case{"/home/a", "/home"},
          Case{"/home/a b/c", "/home/a b"}, Case{"/home/a bc", "/home"},
          Case{"/odd\\040\tx/y", "/odd\\040\tx"}, Case{"/last/x", "/last"}}) {
        EXPECT_EQ(mountPointHolding(path, kTable), mountPoint) << path;
    }
    const MountPoints mounts = MountPoints::fromTable(kTable);
    EXPECT_EQ(mounts.below("/"), (Paths{"/home", "/home/a b", "/last", "/odd\\040\tx"}));
    EXPECT_EQ(mounts.below("/home"), Paths{"/home/a b"});
    for (const char* none : {"/home/a", "/home/a b", "/hom", "/odd"}) EXPECT_EQ(mounts.below(none), Paths());
    EXPECT_TRUE(MountPoints::fromTable("").areKnown() && MountPoints::current().areKnown());
    EXPECT_FALSE(MountPoints().areKnown());
    EXPECT_EQ(mountPointHolding("/etc", "22 21 8:2 / /home rw\n"), std::nullopt);
    constexpr std::string_view kSubvolumes =
        "21 1 0:24 /@ / rw shared:1 - btrfs /dev/a\\040b rw,subvol=/@\n"
        "22 21 0:24 /@home /home rw - btrfs /dev/a\\040b rw,subvol=/@home\n"
        "23 22 8:2 / /home/x rw - ext4 /dev/sda2 rw\n24 23 0:30 / /home/x rw - tmpfs tmpfs rw\n25 1 0:1 / "
        "/cut rw";
    for (const auto& [path, device] :
         {Case{"/opt", "/dev/a b"}, Case{"/home/u", "/dev/a b"}, Case{"/home/x", ""}, Case{"/cut", ""}}) {
        EXPECT_EQ(mountedDeviceHolding(path, kSubvolumes).value_or(""), device) << path;
    }
}

TEST(Volume, TellsTheCapacityBehindALink) {
    test::TestHome home;
    home.folder("real");
    const auto capacity = volumeCapacity(home.link("link", "real"));
    ASSERT_TRUE(capacity) << capacity.error().describe();
    EXPECT_NE(capacity->name.value_or(""), "");
    EXPECT_GT(capacity->availableBytes, 0U);
    EXPECT_LE(capacity->availableBytes, capacity->totalBytes);
#ifndef __APPLE__
    struct statvfs volume = {};
    ASSERT_EQ(statvfs(home.path().c_str(), &volume), 0);
    EXPECT_EQ(capacity->totalBytes, std::uint64_t{volume.f_blocks} * volume.f_frsize);
    EXPECT_EQ(volumeCapacity("/proc").error().code, ENOTSUP);
#endif
    EXPECT_TRUE(isOnOneVolume(home.path(), home.path("real")));
    EXPECT_FALSE(isOnOneVolume(home.path(), "/proc") || isOnOneVolume(home.path(), home.path("none")));
    EXPECT_EQ(volumeCapacity(home.link("dangling", "none")).error().kind, Error::Kind::missing);
}

// A yes where there are none costs a note; a no where there are some would be a false promise.
TEST(Volume, DeniesClonesOnlyWhereTheSystemRefusesToMakeOne) {
    test::TestHome home;
    EXPECT_TRUE(canCloneFiles(home.path("none")));
#ifdef __linux__
    EXPECT_TRUE(canCloneFiles("/proc"));
    const int source = open(home.file("source").c_str(), O_RDONLY);
    const int clone = open(home.file("clone").c_str(), O_WRONLY);
    EXPECT_TRUE(ioctl(clone, FICLONE, source) != 0 || canCloneFiles(home.path()));
    close(source);
    close(clone);
#endif
}

TEST(Machine, KnowsItsOwnProgram) {
    const auto program = executablePath();
    ASSERT_TRUE(program);
    EXPECT_TRUE(program->ends_with("/test_platform")) << *program;
    EXPECT_EQ(canonicalPath(*program + "/..").error().kind, Error::Kind::missing);
}

TEST(Machine, TakesTheHomeFromTheUserDatabaseAndNotFromTheEnvironment) {
    const auto before = currentUserHome();
    ASSERT_TRUE(before && before->starts_with('/'));
    const char* old = getenv("HOME");
    const std::string kept = old != nullptr ? old : "";
    ASSERT_EQ(setenv("HOME", "/elsewhere", 1), 0);
    EXPECT_EQ(currentUserHome(), before);
    const auto variables = currentEnvironment();
    EXPECT_NE(std::ranges::find(variables, "HOME=/elsewhere"), variables.end());
    setenv("HOME", kept.c_str(), 1);
}

TEST(UserFolders, UnderstandsWhatNamesTheDocuments) {
    const std::pair<std::string_view, Paths> cases[] = {
        {"", {"/h/Documents", "/h/Desktop", "/h/Downloads"}},
        {"# XDG_DESKTOP_DIR=\"/no\"\n\t XDG_DESKTOP_DIR = \"$HOME/Schreib tisch//\"  # x\r\n"
         "XDG_DOCUMENTS_DIR=\"/data/Dok\\\"u\\\\m\\$\"\nXDG_DOWNLOAD_DIR=\"$HOME\"",
         {"/data/Dok\"u\\m$", "/h/Schreib tisch", "/h"}},
        {"XDG_DESKTOP_DIR=\"$HOME/a\"\nXDG_DESKTOP_DIR=\"$HOME/b/../c\"\nXDG_DESKTOP_DIR=\"$HOMER/d\"\n"
         "XDG_DESKTOP_DIRS=\"/e\"\nXDG_DESKTOP_DIR=\"relative\"\nXDG_DESKTOP_DIR=\"/open\nXDG_DESKTOP_DIR='/"
         "f'\n"
         "XDG_DESKTOP_DIR\nXDG_DESKTOP_DIR=\"/g\\",
         {"/h/Documents", "/h/c", "/h/Downloads"}},
    };
    for (const auto& [text, folders] : cases) EXPECT_EQ(documentFoldersIn(text, "/h"), folders) << text;
}

#ifndef __APPLE__
TEST(UserFolders, ResolvesLinksAndTellsEachPlaceOnce) {
    using Row = std::tuple<std::string, std::string, std::string, Paths>;  // these relative to the home
    for (const auto& [desktop, documents, download, folders] :
         {Row{"$HOME/desk", "$HOME/docs", "$HOME/down", {"docs", "desk", "down"}},
          Row{"$HOME/docs/desk", "$HOME/docs", "$HOME/link", {"docs"}}, Row{"$HOME", "/", "$HOME/toHome", {}},
          Row{"$HOME/none", "$HOME/Applications/x", "$HOME/nowhere", {}},
          Row{"$HOME/docs-2", "$HOME/docs", "$HOME/docs/../down", {"docs", "down", "docs-2"}}}) {
        test::TestHome home;
        for (const char* folder : {"desk", "docs/desk", "docs-2", "down", "Applications/x"})
            home.folder(folder);
        home.link("link", "docs");
        home.link("toHome", ".");
        home.link("nowhere", "gone");
        home.text("conf/user-dirs.dirs", "XDG_DESKTOP_DIR=\"" + desktop + "\"\nXDG_DOCUMENTS_DIR=\"" +
                                             documents + "\"\nXDG_DOWNLOAD_DIR=\"" + download + "\"\n");
        Paths expected;
        for (const std::string& folder : folders) expected.push_back(home.path(folder));
        UserFolders found = userFolders(home.path(), {"A=b", "XDG_CONFIG_HOME=" + home.path("conf")});
        std::ranges::sort(found.documents);
        std::ranges::sort(expected);
        EXPECT_EQ(found.documents, expected) << documents;
        EXPECT_EQ(found.applications.back(), home.path("Applications"));
        home.folder("Documents");
        EXPECT_EQ(userFolders(home.path(), {"XDG_CONFIG_HOME=conf"}).documents,
                  Paths{home.path("Documents")});
    }
}
#endif

}  // namespace
}  // namespace brindle
