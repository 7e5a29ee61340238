#include "core/removal/tree_remover.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <thread>

#include "core/platform/path_text.h"
#include "tests/support/mounted.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;
using End = RemovalOutcome::End;

RemovalOutcome removeAt(const std::string& path, const PathIdentity& approved) {
    OpenFolder parent;
    EXPECT_EQ(parent.openWithoutLinks(folderOf(path)), 0);
    return TreeRemover().remove(parent, std::string(lastComponent(path)), approved, path);
}

RemovalOutcome removeAt(const std::string& path) {
    return removeAt(path, PathIdentity::read(path).value_or(PathIdentity()));
}

TEST(TreeRemover, RemovesEveryKindOfEntryAndNothingBeyondLinks) {
    TestHome home;
    home.file("outside/keep");
    home.file("cache/a/b/file");
    home.file("cache/" + std::string(255, 'n') + "/line\nfeed");
    home.file("cache/caf\xe9/x");
    home.link("cache/to-folder", home.path("outside"));
    home.link("cache/a/to-nothing", "nowhere");
    home.hardLink("cache/hard", "outside/keep");
    ASSERT_EQ(::mkfifo(home.path("cache/pipe").c_str(), 0600), 0);
    for (int number = 0; number < 3000; ++number) home.file("cache/many/f" + std::to_string(number), 0);
    home.mode("cache/a/b", 0500);
    EXPECT_EQ(removeAt(home.path("cache")), RemovalOutcome());
    EXPECT_FALSE(fs::exists(fs::symlink_status(home.path("cache"))));
    EXPECT_EQ(fs::file_size(home.path("outside/keep")), 5000U);
}

TEST(TreeRemover, NeedsNeitherStackNorDescriptorsForDepth) {
    TestHome home;
    home.folder("deep");
    OpenFolder folder;
    ASSERT_EQ(folder.openPath(home.path("deep")), 0);
    for (int level = 0; level < 2000; ++level) {
        OpenFolder below;
        ASSERT_EQ(::mkdirat(folder.descriptor(), "a-folder-with-a-longer-name", 0700), 0);
        ASSERT_EQ(::mkdirat(folder.descriptor(), "beside", 0700), 0);
        ASSERT_EQ(below.openAt(folder, "a-folder-with-a-longer-name"), 0);
        folder = std::move(below);
    }
    EXPECT_EQ(removeAt(home.path("deep")), RemovalOutcome());
    EXPECT_FALSE(fs::exists(home.path("deep")));
}

TEST(TreeRemover, TouchesOnlyTheObjectThatWasApproved) {
    TestHome home;
    for (const char* kind : {"folder", "file"}) {
        const bool isFolder = kind == std::string("folder");
        const std::string path = home.path(kind);
        const auto make = [&] { isFolder ? home.file(std::string(kind) + "/inside") : home.file(kind); };
        make();
        const PathIdentity approved = *PathIdentity::read(path);
        fs::rename(path, path + "-moved");
        EXPECT_EQ(removeAt(path, approved).end, End::replaced) << "gone";
        make();
        EXPECT_EQ(removeAt(path, approved).end, End::replaced) << "another object";
        fs::remove_all(path);
        fs::create_symlink(path + "-moved", path);
        EXPECT_EQ(removeAt(path, approved).end, End::replaced) << "a link to it";
        EXPECT_TRUE(fs::exists(isFolder ? path + "-moved/inside" : path + "-moved"));
        PathIdentity otherMode = *PathIdentity::read(path + "-moved");
        otherMode.mode ^= 01U;
        EXPECT_EQ(removeAt(path + "-moved", otherMode).end, End::replaced) << "its mode changed";
    }
}

TEST(TreeRemover, EndsWhereSomethingIsMounted) {
    TestHome home;
    home.file("outside/keep");
    home.file("cache/gone");
    home.folder("cache/a/mounted");
    const bool isRun = test::isRunWithMount(home.path("outside"), home.path("cache/a/mounted"), [&] {
        const RemovalOutcome outcome = removeAt(home.path("cache"));
        EXPECT_TRUE(outcome.end == End::partly && outcome.failures == 1);
        EXPECT_EQ(outcome.first.path, home.path("cache/a/mounted"));
    });
    if (!isRun) GTEST_SKIP() << test::kNeedsMounts;
    EXPECT_TRUE(fs::exists(home.path("outside/keep")));
    EXPECT_FALSE(fs::exists(home.path("cache/gone")));
}

TEST(TreeRemoverUnprivileged, GoesOnBesideWhatItMayNotRemove) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    TestHome home;
    for (const char* file : {"cache/open/file", "cache/readonly/a/file", "cache/shut/file"}) home.file(file);
    home.mode("cache/readonly/a", 0555);
    home.mode("cache/readonly", 0555);
    home.mode("cache/shut", 0);
    const RemovalOutcome outcome = removeAt(home.path("cache"));
    EXPECT_TRUE(outcome.end == End::partly && outcome.failures == 1 && outcome.first.code == EACCES);
    EXPECT_EQ(outcome.first.path, home.path("cache/shut"));
    EXPECT_FALSE(fs::exists(home.path("cache/open")) || fs::exists(home.path("cache/readonly")));

    home.file("locked/cache/file");
    home.mode("locked", 0555);
    EXPECT_EQ(removeAt(home.path("locked/cache")).first.code, EACCES);
    EXPECT_TRUE(fs::exists(home.path("locked/cache/file"))) << "what cannot go is not emptied";
}

TEST(TreeRemover, BringsBackWhatWasSetAside) {
    TestHome home;
    home.file("log");
    const PathIdentity identity = *PathIdentity::read(home.path("log"));
    bringBackSetAside(home.path("log"), identity);
    EXPECT_TRUE(fs::exists(home.path("log")));
    fs::rename(home.path("log"), home.path(fmt::format(".brindle-removes-{:x}", identity.inode)));
    bringBackSetAside(home.path("log"), identity);
    EXPECT_EQ(PathIdentity::read(home.path("log")), identity);
}

// Somebody exchanges the leaf and the folder above it, for links to what must stay and for other folders, all the while.
TEST(TreeRemover, IsLedNowhereByNamesThatAreExchanged) {
    TestHome home;
    for (int number = 0; number < 20; ++number) home.file("sentinel/cache/f" + std::to_string(number), 10);
    home.folder("spare/cache");
    home.folder("parent");
    std::atomic<bool> isOver = false;
    std::atomic<int> swaps = 0;
    std::thread attacker([&] {
        std::error_code ignored;
        while (!isOver) {
            fs::rename(home.path("parent/cache"), home.path("aside"), ignored);
            fs::create_symlink(home.path("sentinel/cache"), home.path("parent/cache"), ignored);
            fs::remove(home.path("parent/cache"), ignored);
            fs::rename(home.path("aside"), home.path("parent/cache"), ignored);
            // Another has come meanwhile: or nothing moves any more.
            fs::remove_all(home.path("aside"), ignored);
            fs::rename(home.path("parent"), home.path("parent-aside"), ignored);
            fs::create_symlink(home.path("sentinel"), home.path("parent"), ignored);
            fs::remove(home.path("parent"), ignored);
            fs::rename(home.path("parent-aside"), home.path("parent"), ignored);
            swaps += 8;
        }
    });
    int removed = 0;
    for (int round = 0; swaps < 100000 || (removed == 0 && swaps < 3000000); ++round) {
        std::error_code failed;
        fs::create_directories(home.path("made/inside"), failed);
        std::ofstream(home.path("made/inside/file")) << "x";
        const auto approved = PathIdentity::read(home.path("made"));
        fs::rename(home.path("made"), home.path("parent/cache"), failed);
        if (failed || !approved) continue;
        OpenFolder parent;
        if (parent.openWithoutLinks(home.path("parent")) != 0) continue;
        removed +=
            TreeRemover().remove(parent, "cache", *approved, home.path("parent/cache")).end == End::removed;
    }
    isOver = true;
    attacker.join();
    EXPECT_GT(removed, 0);
    const auto isWhole = [](const fs::directory_entry& entry) { return entry.file_size() == 10; };
    EXPECT_EQ(std::ranges::count_if(fs::directory_iterator(home.path("sentinel/cache")), isWhole), 20);
}

}  // namespace
}  // namespace brindle
