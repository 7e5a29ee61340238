#include "core/platform/files.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>
#include <utility>

#include "core/platform/appending_file.h"
#include "core/platform/child_process.h"
#include "core/platform/posix/link_move.h"
#include "core/platform/rename.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

struct stat systemStatusOf(const std::string& path) {
    struct stat status{};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    status.st_mode &= 07777U;
    return status;
}

TEST(WriteFileAtomically, ReplacesWhereLinksPointAndLeavesNothingBeside) {
    TestHome home;
    home.text("real/old", "old");
    home.link("links/relative", "../real/old");
    home.link("links/chain", "relative");
    home.link("links/dangling", "../real/fresh");
    const std::string longName(255, 'n');
    using Case = std::pair<std::string, std::string>;
    const mode_t before = ::umask(0077);
    for (const auto& [written, landsIn] :
         {Case{"links/chain", "real/old"}, Case{"links/dangling", "real/fresh"},
          Case{"made/on/the/way", "made/on/the/way"}, Case{"long/" + longName, "long/" + longName}}) {
        const auto done = writeFileAtomically(home.path(written), "new", 0644);
        ASSERT_TRUE(done) << done.error().describe();
        EXPECT_EQ(systemStatusOf(home.path(landsIn)).st_mode, 0644U) << "whatever the umask";
        EXPECT_EQ(readFile(home.path(landsIn)), "new") << written;
    }
    ::umask(before);
    EXPECT_EQ(systemStatusOf(home.path("made/on")).st_mode, 0700U);
    EXPECT_TRUE(fs::is_symlink(home.path("links/chain")));
    EXPECT_THAT(*listFolder(home.path("real")), UnorderedElementsAre("old", "fresh"));
    EXPECT_THAT(*listFolder(home.path("long")), ElementsAre(longName));
}

TEST(WriteFileAtomically, LeavesEverythingAsItWasWhenItFails) {
    TestHome home;
    home.text("folder/kept", "kept");
    home.link("a", "b");
    home.link("b", "a");
    EXPECT_EQ(writeFileAtomically(home.path("folder/"), "x").error().code, EISDIR);
    EXPECT_EQ(writeFileAtomically(home.path("folder/kept/below"), "x").error().kind, Error::Kind::missing);
    EXPECT_EQ(writeFileAtomically(home.path("a"), "x").error().code, ELOOP);
    EXPECT_EQ(readFile(home.path("folder/kept")), "kept");
    EXPECT_THAT(*listFolder(home.path()), UnorderedElementsAre("folder", "a", "b"));
}

TEST(WriteFileAtomically, LeavesTheRemnantsOfTheKilledToBeClearedAway) {
    TestHome home;
    const std::string ours = ".brindle-" + std::to_string(::getpid()) + "-7.tmp";
    for (const std::string& name : {std::string(".brindle-999999999-0.tmp"), ours, std::string("a.tmp"),
                                    std::string(".brindle-999999999.tmp"), std::string(".brindle-0-0.tmp"),
                                    std::string(".brindle-999999999-0-0.tmp")})
        home.text(name, "half");
    home.folder(".brindle-999999999-1.tmp");
    removeAbandonedFiles(home.path());
    removeAbandonedFiles(home.path("missing"));
    EXPECT_THAT(listFolder(home.path()).value(),
                UnorderedElementsAre(ours, "a.tmp", ".brindle-999999999.tmp", ".brindle-0-0.tmp",
                                     ".brindle-999999999-0-0.tmp", ".brindle-999999999-1.tmp"));
}

TEST(WriteFileAtomically, NeverShowsAReaderAMixture) {
    TestHome home;
    const std::string path = home.text("file", std::string(200'000, 'a'));
    std::atomic<bool> isDone = false;
    const std::jthread writer([&] {
        for (int round = 0; round < 40; ++round)
            (void)writeFileAtomically(path, std::string(200'000, "ab"[round % 2]));
        isDone = true;
    });
    while (!isDone) {
        const auto content = readFile(path);
        ASSERT_TRUE(content);
        EXPECT_EQ(content->size(), 200'000U);
        EXPECT_EQ(content->find_first_not_of(content->front()), std::string::npos);
    }
}

TEST(WriteFileAtomically, GivesWhatRootWritesToTheOwnerOfTheFolder) {
    if (permissionsApply()) GTEST_SKIP() << "only root can write for somebody else";
    constexpr uid_t kSomebody = 65534;
    TestHome home;
    ASSERT_EQ(::chown(home.path().c_str(), kSomebody, kSomebody), 0);
    ASSERT_TRUE(writeFileAtomically(home.path("config/brindle/file"), "new"));
    ASSERT_TRUE(FileLock::acquire(home.path("config/brindle/file.lock")));
    for (const char* made : {"config", "config/brindle", "config/brindle/file", "config/brindle/file.lock"}) {
        EXPECT_EQ(systemStatusOf(home.path(made).c_str()).st_uid, kSomebody) << made;
    }
}

TEST(ReadFile, TellsApartWhatCannotBeReadAndNeverWaits) {
    TestHome home;
    home.text("ten", "0123456789");
    home.folder("folder");
    ASSERT_EQ(::mkfifo(home.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readFile(home.path("ten"), 10), "0123456789");
    EXPECT_EQ(readFile(home.path("ten"), 9).error().code, EFBIG);
    EXPECT_EQ(readFile(home.path("folder")).error().code, EISDIR);
    EXPECT_EQ(readFile(home.path("none")).error().kind, Error::Kind::missing);
    EXPECT_EQ(readFile(home.path("pipe")).error().kind, Error::Kind::malformed);
    EXPECT_EQ(readFileFrom(home.path("ten"), 7, 2), "78");
    EXPECT_EQ(readFileFrom(home.path("ten"), 11), "");
    EXPECT_TRUE(!fs::exists("/proc") || readFile("/proc/self/status")->contains("Pid:"));
}

TEST(CreateFolders, AgreesWithWhatIsThereAndWithOthersAtWork) {
    TestHome home;
    home.text("file", "");
    home.folder("real");
    home.link("link", "real");
    EXPECT_TRUE(createFolders(home.path("link/below//deeper/")));
    EXPECT_TRUE(fs::is_directory(home.path("real/below/deeper")));
    EXPECT_EQ(createFolders(home.path("file")).error().kind, Error::Kind::alreadyExists);
    EXPECT_EQ(createFolders(home.path("file/below")).error().kind, Error::Kind::missing);

    std::atomic<int> failures = 0;
    const auto make = [&] {
        for (int n = 0; n < 50; ++n)
            failures += createFolders(home.path("race/" + std::to_string(n) + "/x")) ? 0 : 1;
    };
    std::thread other(make);
    make();
    other.join();
    EXPECT_EQ(failures, 0);
}

TEST(TemporaryFolder, GoesWithItsContentAndOnlyOnce) {
    TestHome home;
    std::string first;
    {
        auto folder = TemporaryFolder::create("one", home.path());
        ASSERT_TRUE(folder);
        first = folder->path();
        EXPECT_EQ(systemStatusOf(first).st_mode, 0700U);
        ASSERT_TRUE(writeFileAtomically(first + "/deep/file", "x"));
        ASSERT_EQ(::symlink(home.path().c_str(), (first + "/home").c_str()), 0);
        auto second = TemporaryFolder::create("two", home.path());
        *folder = std::move(*second);
        EXPECT_FALSE(fs::exists(first));
        EXPECT_TRUE(fs::exists(folder->path()));
    }
    EXPECT_THAT(*listFolder(home.path()), ElementsAre());
    EXPECT_EQ(TemporaryFolder::create("x", home.path("none")).error().kind, Error::Kind::missing);
}

TEST(FileLock, ExcludesEverybodyUntilItsHolderIsGone) {
    TestHome home;
    const std::string path = home.path("made/lock");
    int ready[2] = {};
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t holder = ::fork();
    if (holder == 0) {
        const auto held = FileLock::acquire(path);
        (void)!::write(ready[1], held ? "y" : "n", 1);
        ::pause();
        ::_exit(0);
    }
    char answer = 0;
    ASSERT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    EXPECT_EQ(FileLock::tryAcquire(path).error().kind, Error::Kind::busy);
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ::kill(holder, SIGKILL);
    });
    auto mine = FileLock::acquire(path);
    killer.join();
    ::waitpid(holder, nullptr, 0);
    for (const int end : ready) ::close(end);
    ASSERT_TRUE(mine);
    EXPECT_EQ(FileLock::tryAcquire(path).error().kind, Error::Kind::busy);

    // A child that outlives the lock must not hold it.
    const auto child =
        ChildProcess::start({"/bin/sleep", {"60"}, {}, home.path("out"), home.path("err"), "/"});
    ASSERT_TRUE(child);
    mine = std::unexpected(Error{});
    EXPECT_TRUE(FileLock::tryAcquire(path));
}

TEST(FileLock, CanBeAskedAboutWithoutATrace) {
    TestHome home;
    const std::string path = home.text("lock", "");
    home.link("link", path);
    for (const char* no : {"gone", "link", "."}) EXPECT_FALSE(isFileLocked(home.path(no)).has_value()) << no;
    EXPECT_FALSE(fs::exists(home.path("gone")));
    EXPECT_FALSE(isFileLocked(path).value());
    {
        const auto held = FileLock::tryAcquire(path);
        EXPECT_TRUE(isFileLocked(path).value());
    }
    EXPECT_TRUE(FileLock::tryAcquire(path));
}

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

TEST(OpenWithoutLinks, RefusesALinkAnywhereOnTheWay) {
    TestHome home;
    home.folder("real/deep");
    home.link("link", "real");
    home.link("real/last", "deep");
    home.text("file", "x");
    home.folder("sealed/inside");
    home.mode("sealed", 0300);
    OpenFolder folder;
    for (const char* path : {"/real/deep", "//real//deep/", "/sealed/inside"})
        EXPECT_EQ(folder.openWithoutLinks(home.path() + path), 0) << path;
    EXPECT_EQ(folder.openWithoutLinks("/"), 0);
    for (const std::string& path :
         {home.path("link/deep"), home.path("real/last"), home.path("real/../real"), home.path("./real"),
          home.path("file"), home.path("file/x"), std::string("relative"), std::string()}) {
        EXPECT_NE(folder.openWithoutLinks(path), 0) << path;
        EXPECT_FALSE(folder.isOpen()) << path;
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
