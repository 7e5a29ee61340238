// The Trash that desktops share, on real folders. The Finder's is tried by hand.
#ifdef __linux__
#include "core/platform/trash.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <stop_token>
#include <thread>
#include <vector>

#include "core/platform/files.h"
#include "core/platform/trash_record.h"
#include "tests/support/mounted.h"
#include "tests/support/test_home.h"
#include "tests/support/trashing.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;
using Kind = TrashError::Kind;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::expected<TrashedObject, TrashError> put(const Trash& trash, const std::string& path,
                                             std::optional<std::uint64_t> size = {}) {
    return putInTrash(trash, path, *statusOf(path), size);
}

bool canPut(const Trash& trash, const std::string& folder) {
    OpenFolder parent;
    EXPECT_EQ(parent.openWithoutLinks(folder), 0) << folder;
    return trash.canPut(parent).has_value();
}

std::string infoOf(const std::string& trashed) {
    return folderOf(folderOf(trashed)) + "/info/" + std::string(lastComponent(trashed)) + ".trashinfo";
}

bool lies(const std::string& path) {
    return statusOf(path).has_value();
}

TEST(TrashRecord, CutsNamesOnBytesAndEncodesAllThatIsNotPlain) {
    std::string accents = "a";
    for (int index = 0; index < 127; ++index) accents += "\xc3\xa9";
    EXPECT_EQ(trashName(accents, 1), accents.substr(0, 245));
    EXPECT_EQ(trashName(accents, 2), accents.substr(0, 243) + ".2") << "no half character";
    EXPECT_EQ(trashName(std::string(255, '\x80'), 12), std::string(242, '\x80') + ".12");
    EXPECT_EQ(percentEncoded("/a b/\xff\n%~-_.Z"), "/a%20b/%FF%0A%25~-_.Z");
    constexpr std::string_view kSizes = "16 1 a%20b\nodd\n32 2 a\n64 3 x a\n";
    EXPECT_EQ(withTrashSize(kSizes, "a", {48, 9}), "16 1 a%20b\nodd\n64 3 x a\n48 9 a\n");
    EXPECT_EQ(withoutTrashSize("1 2 a b\n16 1 a%20b", "a b"), "1 2 a b\n");
}

TEST(Trash, KeepsEveryNameApartAndPutsEachBack) {
    TestHome home;
    const Trash trash(home.path());
    EXPECT_TRUE(canPut(trash, home.path()));
    EXPECT_FALSE(lies(home.path(".local"))) << "a rehearsal makes nothing";
    const std::string encodedHome = percentEncoded(home.path());
    for (const auto& [name, encoded] : {std::pair<std::string, std::string>{"plain", "plain"},
                                        {"\xff\xfe", "%FF%FE"},
                                        {"line\nfeed", "line%0Afeed"},
                                        {"-rf 100%", "-rf%20100%25"},
                                        {std::string(255, 'n'), std::string(255, 'n')}}) {
        const std::string one = home.text("one/" + name, "one");
        const std::string two = home.text("two/" + name, "two");
        const FileStatus first = *statusOf(one);
        const FileStatus second = *statusOf(two);
        const auto firstPut = put(trash, one);
        const auto secondPut = put(trash, two);
        ASSERT_TRUE(firstPut && secondPut) << name;
        EXPECT_EQ(folderOf(firstPut->path), home.path(".local/share/Trash/files"));
        EXPECT_THAT(secondPut->path, testing::EndsWith(".2"));
        EXPECT_FALSE(lies(one) || lies(two));
        EXPECT_THAT(*readFile(infoOf(secondPut->path)), StartsWith("[Trash Info]\nPath=" + encodedHome +
                                                                   "/two/" + encoded + "\nDeletionDate=20"));
        EXPECT_EQ(trash.find(second, two), secondPut->path);

        EXPECT_EQ(trash.putBack(secondPut->path, one, first).error().kind, Kind::replaced);
        ASSERT_TRUE(trash.putBack(firstPut->path, one, first));
        ASSERT_TRUE(trash.putBack(secondPut->path, two, second));
        EXPECT_EQ(*readFile(one) + *readFile(two), "onetwo");
        EXPECT_EQ(trash.find(second, two), std::nullopt);
        EXPECT_EQ(trash.putBack(secondPut->path, two, second).error().kind, Kind::missing);
    }
    for (const char* part : {"files", "info"})
        EXPECT_THAT(*listFolder(home.path(std::string(".local/share/Trash/") + part)), IsEmpty());
    for (const char* made : {".local", ".local/share", ".local/share/Trash", ".local/share/Trash/info"})
        EXPECT_EQ(statusOf(home.path(made))->mode & 0777U, 0700U) << made;
}

TEST(Trash, KeepsTheSizesOfFoldersAndMovesLinksAsLinks) {
    TestHome home;
    const Trash trash(home.path(), home.folder("data"));
    const std::string sizes = home.text("data/Trash/directorysizes", "7 8 other\n");
    const std::string path = home.folder("a b");
    const FileStatus status = *statusOf(path);
    const auto done = put(trash, path, 4096);
    ASSERT_TRUE(done) << done.error().describe();
    const std::string recorded = std::to_string(statusOf(infoOf(done->path))->modified);
    EXPECT_EQ(readFile(sizes), "7 8 other\n4096 " + recorded + " a%20b\n");
    ASSERT_TRUE(trash.putBack(done->path, path, status));
    EXPECT_EQ(readFile(sizes), "7 8 other\n");
    EXPECT_THAT(*listFolder(home.path("data/Trash")),
                testing::UnorderedElementsAre("directorysizes", "files", "info"));
    const auto link = put(trash, home.link("link", "a b"), 4096);
    ASSERT_TRUE(link) << link.error().describe();
    EXPECT_TRUE(fs::is_symlink(link->path));
    EXPECT_TRUE(lies(path));
    EXPECT_EQ(readFile(sizes), "7 8 other\n") << "of folders only";
}

TEST(Trash, TakesTheVolumesOwnForAnotherVolume) {
    TestHome home;
    const Trash trash(home.path());
    const std::string user = std::to_string(::geteuid());
    const std::string own = ".Trash-" + user;
    using Case = std::tuple<const char*, std::string, void (*)(TestHome&)>;  // no folder: no Trash
    for (const auto& [what, folder, prepare] :
         {Case{"nothing there", own, [](TestHome&) {}},
          Case{"sticky", ".Trash/" + user,
               [](TestHome& at) { at.folder("v/.Trash"), at.mode("v/.Trash", 01777); }},
          Case{"not sticky", own, [](TestHome& at) { at.folder("v/.Trash"), at.mode("v/.Trash", 0777); }},
          Case{"a link", own,
               [](TestHome& at) { at.folder("v/t"), at.mode("v/t", 01777), at.link("v/.Trash", "t"); }},
          Case{"ours is a link", "", [](TestHome& at) { at.folder("v/t"), at.link("v/.Trash-0", "t"); }},
          Case{"a part is a link", "", [](TestHome& at) { at.link("v/.Trash-0/info", "../t"); }},
          Case{"somebody else's", "",
               [](TestHome& at) { (void)!::chown(at.folder("v/.Trash-0").c_str(), 65534, 65534); }}}) {
        const Mount volume("", home.folder("v"));
        if (!volume.isMounted()) GTEST_SKIP() << kNeedsMounts;
        prepare(home);
        const std::string path = home.text("v/sub folder/object", "x");
        const FileStatus status = *statusOf(path);
        EXPECT_EQ(canPut(trash, folderOf(path)), !folder.empty()) << what;
        const auto done = put(trash, path);
        EXPECT_EQ(done.has_value(), !folder.empty()) << what;
        EXPECT_EQ(lies(path), !done) << what;
        EXPECT_FALSE(lies(home.path("v/t/files"))) << what;
        if (!done) {
            EXPECT_EQ(done.error().kind, Kind::noTrash) << done.error().describe();
            continue;
        }
        EXPECT_EQ(done->path, home.path("v/" + folder + "/files/object")) << what;
        EXPECT_THAT(*readFile(infoOf(done->path)), HasSubstr("\nPath=sub%20folder/object\n"));
        EXPECT_EQ(trash.find(status, path), done->path);
        EXPECT_TRUE(trash.putBack(done->path, path, status));
    }
    EXPECT_FALSE(lies(home.path(".local/share/Trash"))) << "nothing is made in the home";
}

TEST(Trash, TakesTheMountsOwnWhereOneVolumeIsMountedTwice) {
    TestHome home;
    const Mount volume(home.folder("source"), home.folder("bound"));
    if (!volume.isMounted()) GTEST_SKIP() << kNeedsMounts;
    const auto done = put(Trash(home.path()), home.text("bound/object", "x"));
    ASSERT_TRUE(done) << done.error().describe();
    EXPECT_THAT(done->path, StartsWith(home.path("bound/.Trash-")));
    EXPECT_THAT(*listFolder(home.path(".local/share/Trash/info")), IsEmpty());
}

TEST(Trash, TrustsNoPartThatIsALink) {
    using Case = std::pair<const char*, const char*>;
    for (const auto& [part, target] :
         {Case{".local/share/Trash", "lure"}, Case{".local/share/Trash/files", "lure"},
          Case{".local/share/Trash/info", "lure"}, Case{".local", "none"}, Case{"", ""}}) {
        TestHome home;
        home.folder("lure");
        if (*part != '\0') home.link(part, home.path(target));
        const Trash trash(*part != '\0' ? home.path() : home.path("none"));
        const std::string path = home.text("object", "x");
        EXPECT_FALSE(canPut(trash, home.path())) << part;
        const auto done = put(trash, path);
        ASSERT_FALSE(done) << part;
        EXPECT_EQ(done.error().kind, Kind::noTrash) << part;
        EXPECT_EQ(readFile(path), "x") << part;
        EXPECT_FALSE(lies(home.path("none"))) << part;
        EXPECT_THAT(*listFolder(home.path("lure")), IsEmpty()) << part;
    }
}

TEST(Trash, BelongsToTheHomesOwnerWhenRootMakesIt) {
    if (::geteuid() != 0) GTEST_SKIP() << "runs only as root";
    TestHome home;
    const std::string path = home.text("object", "x");
    ASSERT_EQ(::chown(home.path().c_str(), 65534, 65534), 0);
    const auto done = put(Trash(home.path()), path);
    ASSERT_TRUE(done) << done.error().describe();
    for (std::string made = infoOf(done->path); made != home.path(); made = folderOf(made)) {
        struct stat status{};
        ASSERT_EQ(::lstat(made.c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, 65534U) << made;
    }
}

TEST(Trash, LeavesWhatIsNotTheApprovedObject) {
    TestHome home;
    const Trash trash(home.path());
    const std::string path = home.text("object", "x");
    FileStatus otherMode = *statusOf(path);
    otherMode.mode ^= 0100U;
    EXPECT_EQ(putInTrash(trash, path, *statusOf(home.text("other", "y"))).error().kind, Kind::replaced);
    EXPECT_EQ(putInTrash(trash, path, otherMode).error().kind, Kind::replaced);
    EXPECT_EQ(putInTrash(trash, home.path("none"), otherMode).error().kind, Kind::missing);
    EXPECT_EQ(readFile(path), "x");
    EXPECT_THAT(*listFolder(home.path(".local/share/Trash/info")), IsEmpty());
    EXPECT_EQ(put(trash, home.path(".local")).error().cause.code, EINVAL) << "into itself";
}

TEST(Trash, NeverKeepsWhatWasSwappedInAtTheLastMoment) {
    TestHome home;
    const Mount volume("", home.folder("v"));
    const int rounds = volume.isMounted() ? 10'000 : 100;  // on a disk each is synced
    const Trash trash(home.path("v"));
    const std::string path = home.text("v/leaf/object", "approved");
    const FileStatus approved = *statusOf(path);
    const std::string decoy = home.text("v/leaf/decoy", "sentinel");
    std::jthread attacker([&](const std::stop_token& stop) {
        while (!stop.stop_requested())
            ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, decoy.c_str(), RENAME_EXCHANGE);
    });
    int moved = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto done = putInTrash(trash, path, approved);
        if (!done) {
            ASSERT_EQ(done.error().kind, Kind::replaced);
            ASSERT_EQ(done.error().liesAt, "");
            continue;
        }
        ++moved;
        ASSERT_EQ(readFile(done->path), "approved");
        // It may be exchanged as soon as it is back.
        const auto back = trash.putBack(done->path, path, approved);
        ASSERT_TRUE(back || back.error().liesAt == path) << back.error().describe();
    }
    attacker.request_stop();
    attacker.join();
    EXPECT_GT(moved, 0);
    EXPECT_THAT((std::vector{*readFile(path), *readFile(decoy)}),
                testing::UnorderedElementsAre("approved", "sentinel"));
    EXPECT_THAT(*listFolder(home.path("v/.local/share/Trash/files")), IsEmpty());
}

TEST(Trash, PutsBackOverNothingAndThroughNoLink) {
    TestHome home;
    const Trash trash(home.path());
    const std::string path = home.folder("gone/deep/object");
    home.text("gone/deep/object/inside", "kept");
    home.modified("gone/deep/object", 1'000'000'000);
    const FileStatus status = *statusOf(path);
    const auto done = put(trash, path);
    ASSERT_TRUE(done) << done.error().describe();

    home.folder("gone/deep/object");  // empty, and still not to be replaced
    EXPECT_EQ(trash.putBack(done->path, path, status).error().kind, Kind::occupied);
    fs::remove_all(home.path("gone"));
    home.folder("elsewhere");
    home.link("gone", "elsewhere");
    EXPECT_EQ(trash.putBack(done->path, path, status).error().kind, Kind::failed);
    EXPECT_THAT(*listFolder(home.path("elsewhere")), IsEmpty());
    EXPECT_TRUE(lies(infoOf(done->path)));

    fs::remove(home.path("gone"));
    const mode_t before = ::umask(0022);
    ASSERT_TRUE(trash.putBack(done->path, path + "/", status));
    ::umask(before);
    EXPECT_EQ(readFile(path + "/inside"), "kept");
    EXPECT_EQ(statusOf(path)->modified, 1'000'000'000);
    EXPECT_EQ(statusOf(home.path("gone/deep"))->mode & 0777U, 0755U);
    EXPECT_FALSE(lies(infoOf(done->path)));
}

TEST(TrashUnprivileged, MovesAFolderThatMayNotBeWrittenAndKeepsItsMode) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    TestHome home;
    const Trash trash(home.path());
    const std::string path = home.folder("in/sealed");
    home.text("in/sealed/inside", "kept");
    home.mode("in/sealed", 0555);
    const FileStatus status = *statusOf(path);
    const auto done = put(trash, path);
    ASSERT_TRUE(done) << done.error().describe();
    EXPECT_EQ(statusOf(done->path)->mode, status.mode);
    home.folder("in/sealed");
    EXPECT_EQ(trash.putBack(done->path, path, status).error().kind, Kind::occupied);
    EXPECT_EQ(statusOf(done->path)->mode, status.mode) << "after a failure too";
    fs::remove(path);
    ASSERT_TRUE(trash.putBack(done->path, path, status));
    EXPECT_TRUE(isSameObject(*statusOf(path), status));
}

TEST(TrashUnprivileged, SaysWhatMayNotBeWritten) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    for (const char* sealed : {".local/share/Trash/info", ".local/share/Trash/files", ".local", "in"}) {
        TestHome home;
        const Trash trash(home.path());
        const std::string path = home.text("in/object", "x");
        if (sealed != std::string(".local"))
            home.folder(".local/share/Trash/info"), home.folder(".local/share/Trash/files");
        home.folder(sealed);
        home.mode(sealed, 0500);
        EXPECT_EQ(canPut(trash, home.path("in")), sealed == std::string("in")) << sealed;
        const auto done = put(trash, path);
        ASSERT_FALSE(done) << sealed;
        EXPECT_THAT(done.error().describe(), HasSubstr("Permission denied")) << sealed;
        EXPECT_EQ(readFile(path), "x") << sealed;
        EXPECT_THAT(listFolder(home.path(".local/share/Trash/info")).value_or(std::vector<std::string>()),
                    IsEmpty());
    }
}

}  // namespace
}  // namespace brindle::test
#endif
