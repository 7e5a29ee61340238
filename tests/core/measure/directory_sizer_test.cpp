#include "core/measure/directory_sizer.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "core/measure/measured_tree.h"
#include "core/platform/file_status.h"
#include "tests/support/disk_usage.h"
#include "tests/support/mounted.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::TestHome;

// Folders nested by name, deeper than one path may be long.
void makeChain(const std::string& top, int depth, bool hasSiblings) {
    const auto start = std::filesystem::current_path();
    std::filesystem::current_path(top);
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(mkdir("a-folder", 0700), 0);
        ASSERT_TRUE(!hasSiblings || mkdir("sibling", 0700) == 0);
        ASSERT_EQ(chdir("a-folder"), 0);
    }
    std::filesystem::current_path(start);
}

void makeStore(TestHome& home, const std::string& top) {
    for (int package = 0; package < 40; ++package) {
        const std::string folder = top + "/package" + std::to_string(package) + "/lib";
        home.file(folder + "/index", static_cast<std::size_t>(package) * 700);
        home.hardLink(folder + "/same", folder + "/index");
        home.link(folder + "/link", "index");
        home.folder(folder + "/empty");
    }
    home.sparse(top + "/image", 50'000'000, 10'000);
}

// Far more entries than one portion of a listing holds, with folders among the later ones.
void makeWide(TestHome& home, const std::string& top) {
    for (int entry = 0; entry < 4000; ++entry)
        home.file(top + "/a-file-with-a-name-" + std::to_string(entry), 10);
    for (int entry = 0; entry < 200; ++entry)
        home.file(top + "/z-folder-" + std::to_string(entry) + "/inside", 9000);
}

// Without the home folder itself.
std::uint64_t usageBelow(const TestHome& home) {
    return test::diskUsage(home.path()) - statusOf(home.path())->blocks * 512;
}

TEST(DirectorySizer, CountsWhatDuCountsAloneAndConcurrently) {
    TestHome home;
    home.folder("empty");
    makeStore(home, "store");
    makeWide(home, "wide");
    makeChain(home.folder("chain"), 2000, false);
    makeChain(home.folder("chain with siblings"), 700, true);
    for (const char* name : {"empty", "store", "wide", "chain", "chain with siblings"}) {
        const std::string tree = home.path(name);
        const auto descriptors = test::openDescriptors();
        HardlinkTracker forSerial;
        HardlinkTracker forParallel;
        const DirectoryMeasurement serial = DirectorySizer().measure(tree, {&forSerial, {}});
        const DirectoryMeasurement parallel = DirectorySizer().measureConcurrently(tree, {&forParallel, {}});

        EXPECT_EQ(serial.allocatedBytes, test::diskUsage(tree)) << name;
        EXPECT_TRUE(serial == parallel && serial.isComplete()) << name;
        EXPECT_EQ(forSerial.count(), forParallel.count()) << name;
        EXPECT_EQ(test::openDescriptors(), descriptors) << name;
    }
}

TEST(DirectorySizer, CountsAFileOfSeveralCachesOncePerScan) {
    TestHome home;
    home.file("first/data", 100'000);
    home.file("first/alone", 30'000);
    home.hardLink("second/data", "first/data");
    const DirectorySizer sizer;

    HardlinkTracker tracker;
    const auto first = sizer.measureConcurrently(home.path("first"), {&tracker, {}});
    const auto second = sizer.measureConcurrently(home.path("second"), {&tracker, {}});
    EXPECT_TRUE(first.fileCount == 2 && first.hardLinkedBytes == 102'400);
    EXPECT_EQ(second.deduplicatedBytes, 102'400U);
    EXPECT_TRUE(second.fileCount == 0 && second.hardLinkedBytes == 0 && !second.newestModified);
    EXPECT_EQ(first.allocatedBytes + second.allocatedBytes, usageBelow(home));
}

TEST(DirectorySizer, CountsRootsThatAreNoFoldersAndRootsThatAreGone) {
    TestHome home;
    home.file("big/data", 1'000'000);
    home.file("big/new");
    home.modified("big/data", -86'400);
    home.modified("big/new", 4'000'000'000);
    home.link("link", "big");
    const DirectorySizer sizer;
    EXPECT_EQ(sizer.measure(home.path("big")).oldestModified->time_since_epoch().count(), -86'400);
    EXPECT_EQ(sizer.measure(home.path("big")).newestModified->time_since_epoch().count(), 4'000'000'000);
    const DirectoryMeasurement link = sizer.measureConcurrently(home.path("link"));
    EXPECT_TRUE(link.fileCount == 1 && link.allocatedBytes < 8192);
    EXPECT_EQ(sizer.measure(home.path("big/data")).logicalBytes, 1'000'000U);
    const DirectoryMeasurement gone = sizer.measureConcurrently(home.path("gone"));
    EXPECT_EQ(gone.unreadablePaths, std::vector{home.path("gone")});
    EXPECT_EQ(gone.allocatedBytes, 0U);
}

TEST(DirectorySizer, ReturnsWhatItHadWhenCancelled) {
    TestHome home;
    makeStore(home, "tree");
    makeWide(home, "tree/wide");
    const std::string tree = home.path("tree");
    const auto descriptors = test::openDescriptors();
    const std::int64_t whole = DirectorySizer().measure(tree).fileCount;
    for (const int allowed : {0, 1, 50, 2000}) {
        std::atomic<int> polls = 0;
        const CancellationTest test = [&polls, allowed] { return ++polls > allowed; };
        EXPECT_LT(DirectorySizer().measure(tree, {nullptr, test}).fileCount, whole);
        polls = 0;
        EXPECT_LT(DirectorySizer().measureConcurrently(tree, {nullptr, test}).fileCount, whole);
    }
    EXPECT_EQ(test::openDescriptors(), descriptors);
}

TEST(DirectorySizer, MeasuresManyPathsAtOnceWithOneTracker) {
    TestHome home;
    std::vector<std::string> paths;
    home.file("original", 50'000);
    for (int cache = 0; cache < 5; ++cache) {
        const std::string name = "cache" + std::to_string(cache);
        makeStore(home, name);
        home.hardLink(name + "/shared", "original");
        paths.push_back(home.path(name));
    }
    HardlinkTracker tracker;
    const auto measurements = DirectorySizer().measure(paths, {&tracker, {}});
    DirectoryMeasurement sum;
    for (const auto& [path, measurement] : measurements) sum += measurement;
    EXPECT_EQ(measurements.size(), paths.size());
    sum += DirectorySizer().measure(home.path("original"), {&tracker, {}});
    EXPECT_EQ(sum.allocatedBytes, usageBelow(home));
}

TEST(DirectorySizer, TakesWhatVanishesMeanwhileForGone) {
    TestHome home;
    home.file("tree/a/deep/data");
    home.file("tree/b/data");
    int polls = 0;
    const CancellationTest removeAll = [&] {
        if (++polls == 1) std::filesystem::remove_all(home.path("tree/a"));
        return false;
    };
    const DirectoryMeasurement measurement =
        DirectorySizer().measure(home.path("tree"), {nullptr, removeAll});
    EXPECT_TRUE(measurement.isComplete() && measurement.fileCount == 1);
}

TEST(HardlinkTracker, GivesEachFileToOneClaimerOfMany) {
    constexpr std::uint64_t kFiles = 20'000;
    HardlinkTracker tracker;
    std::atomic<std::size_t> granted = 0;
    std::vector<std::jthread> claimers;
    for (int claimer = 0; claimer < 4; ++claimer) {
        claimers.emplace_back([&] {
            for (std::uint64_t inode = 0; inode < kFiles; ++inode)
                granted += int{tracker.claim(1, inode)} + int{tracker.claim(-1, inode)};
        });
    }
    claimers.clear();
    EXPECT_EQ(granted, 2 * kFiles);
    EXPECT_EQ(tracker.count(), 2 * kFiles);
}

// In a process of its own: how many descriptors may be kept is settled at the first walk.
template <typename Body>
void withFewDescriptors(Body body) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto run = [&body] {
        const rlimit few{60, 60};
        const bool isRight = setrlimit(RLIMIT_NOFILE, &few) == 0 && body();
        std::_Exit(isRight ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(DirectorySizerDeathTest, CountsTheSameWithFewDescriptors) {
    withFewDescriptors([] {
        TestHome home;
        makeChain(home.folder("tree"), 300, true);
        const std::string tree = home.path("tree");
        return DirectorySizer().measure(tree).allocatedBytes == test::diskUsage(tree) &&
               DirectorySizer().measureConcurrently(tree).allocatedBytes == test::diskUsage(tree);
    });
}

// The swap comes at every instant of the walk in turn.
TEST(DirectorySizerDeathTest, IsNotLedAwayByAParentSwappedForALink) {
    withFewDescriptors([] {
        std::uint64_t most = 0;
        for (int instant = 1; instant <= 16; ++instant) {
            TestHome home;
            home.file("tree/x/deep/y/data", 1000);
            home.file("outside/deep/y/data", 1'000'000);
            int polls = 0;
            const CancellationTest swap = [&] {
                if (++polls == instant) {
                    std::filesystem::rename(home.path("tree/x"), home.path("moved"));
                    home.link("tree/x", "../outside");
                }
                return false;
            };
            most = std::max(most, DirectorySizer().measure(home.path("tree"), {nullptr, swap}).logicalBytes);
        }
        return most < 1'000'000;
    });
}

TEST(DirectorySizerUnprivileged, ListsWhatItCannotReadAndCountsTheRest) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    TestHome home;
    for (const char* file : {"tree/readable/data", "tree/closed/data", "tree/unsearchable/data"})
        home.file(file);
    home.mode("tree/closed", 0000);
    home.mode("tree/unsearchable", 0400);
    for (const bool isParallel : {false, true}) {
        const std::string tree = home.path("tree");
        const DirectoryMeasurement measurement =
            isParallel ? DirectorySizer().measureConcurrently(tree) : DirectorySizer().measure(tree);
        EXPECT_EQ(measurement.unreadablePaths,
                  (std::vector{home.path("tree/closed"), home.path("tree/unsearchable/data")}));
        EXPECT_TRUE(measurement.fileCount == 1 && measurement.directoryCount == 3);
    }
    EXPECT_EQ(DirectorySizer().measure(home.path("tree/closed")).unreadablePaths.size(), 1U);
}

// A second place of the same volume has the same device number, and a file can be mounted as well as a folder.
TEST(DirectorySizer, ListsWhatIsMountedAndDoesNotEnterIt) {
    for (const std::string source : {"", "far", "far/elsewhere"}) {
        TestHome home;
        home.file("far/elsewhere", 100'000);
        home.file("real/tree/data", 5000);
        home.file("real/tree/target/x/mounted-not", 5000);
        home.link("tree", "real");
        const std::string place = "real/tree/target/mounted";
        source == "far/elsewhere" ? home.file(place) : home.folder(place);
        const std::string seen = home.path("tree/tree/target/mounted");
        const AreaRule rule{.isArea = [](std::string_view name) { return name == "target"; },
                            .isMark = [](std::string_view, bool) { return false; }};
        const auto body = [&] {
            const DirectoryMeasurement alone = DirectorySizer().measure(home.path("tree/tree"));
            EXPECT_EQ(alone.otherVolumePaths, std::vector{seen});
            EXPECT_TRUE(alone.fileCount == 2 && alone.directoryCount == 3);
            EXPECT_EQ(DirectorySizer().measure(seen).fileCount, source.empty() ? 0 : 1) << "its own root";
            const MeasuredTree tree = DirectorySizer().measureWithAreas(home.path("tree/tree"), {}, rule);
            EXPECT_EQ(tree.areas.at(0).measurement.otherVolumePaths, std::vector{seen});
        };
        const std::string from = source.empty() ? source : home.path(source);
        if (!test::isRunWithMount(from, home.path(place), body)) GTEST_SKIP() << test::kNeedsMounts;
    }
}

AreaRule ruleWith(HardlinkTracker& tracker) {
    return {.isArea = [](std::string_view name) { return name == "target" || name == ".venv"; },
            .isMark = [](std::string_view name, bool) { return name == ".git"; },
            .hardlinks = &tracker};
}

std::vector<std::string> relative(const test::TestHome& home, std::vector<std::string> paths) {
    for (std::string& path : paths) path.erase(0, home.path("project/").size());
    return paths;
}

TEST(MeasuredTree, GivesTheNumbersOfSeparateWalks) {
    test::TestHome home;
    for (int file = 0; file < 3000; ++file)
        home.file("project/target/debug/large/name-" + std::to_string(file), 100);
    home.hardLink("project/target/again", "project/target/debug/large/name-0");
    home.file("project/a/target/x", 9000);
    home.hardLink("project/a/target/linked", "project/target/debug/large/name-1");
    home.file("project/a/b/c/d/.venv/lib/deepest", 7000);
    home.file("project/a/b/c/d/e/target/too-deep");
    home.file("project/.hidden/target/not-looked-for");
    home.file("project/target/.venv/part-of-the-outer-area");
    home.text("project/a/.git", "gitdir: elsewhere\n");
    home.file("project/target/debug/_deps/.git/HEAD", 20);
    home.file("project/.hidden/clone/.git/HEAD", 20);
    home.file("project/dist", 10);
    home.link("project/b/target", "../target");

    const DirectorySizer sizer;
    HardlinkTracker whole, shared;
    const MeasuredTree tree =
        sizer.measureWithAreas(home.path("project"), {.hardlinks = &whole}, ruleWith(shared));
    HardlinkTracker again;
    EXPECT_EQ(tree.whole, sizer.measure(home.path("project"), {.hardlinks = &again}));

    std::vector<std::string> paths;
    DirectoryMeasurement sum;
    for (const MeasuredArea& area : tree.areas) {
        paths.push_back(area.path);
        sum += area.measurement;
        HardlinkTracker own;
        DirectoryMeasurement alone = sizer.measure(area.path, {.hardlinks = &own});
        const std::uint64_t elsewhere = area.measurement.deduplicatedBytes - alone.deduplicatedBytes;
        EXPECT_EQ(area.measurement.allocatedBytes + elsewhere, alone.allocatedBytes) << area.path;
        EXPECT_EQ(area.measurement.directoryCount, alone.directoryCount) << area.path;
        EXPECT_EQ(area.measurement.newestModified, alone.newestModified) << area.path;
    }
    EXPECT_EQ(relative(home, paths), (std::vector<std::string>{"a/b/c/d/.venv", "a/target", "target"}));
    EXPECT_EQ(sum.deduplicatedBytes, 2U * 4096U) << "two names of files already counted, in whichever area";
    EXPECT_EQ(relative(home, tree.marks), (std::vector<std::string>{".hidden/clone/.git", "a/.git"}));
    EXPECT_EQ(relative(home, tree.areas[2].marks), std::vector<std::string>{"target/debug/_deps/.git"});
}

TEST(MeasuredTreeUnprivileged, KeepsAnAreaThatCannotBeRead) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    test::TestHome home;
    home.file("project/target/closed/x");
    home.file("project/a/target/x");
    home.mode("project/target/closed", 0);
    home.mode("project/a/target", 0);
    HardlinkTracker shared;
    const MeasuredTree tree = DirectorySizer().measureWithAreas(home.path("project"), {}, ruleWith(shared));
    ASSERT_EQ(tree.areas.size(), 2U);
    EXPECT_EQ(tree.areas[0].measurement.unreadablePaths, std::vector{home.path("project/a/target")});
    EXPECT_EQ(tree.areas[1].measurement.unreadablePaths, std::vector{home.path("project/target/closed")});
    EXPECT_EQ(tree.whole.unreadablePaths.size(), 2U);
}

}  // namespace
}  // namespace brindle
