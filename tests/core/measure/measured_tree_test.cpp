#include "core/measure/measured_tree.h"

#include <gtest/gtest.h>

#include "core/measure/directory_sizer.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

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
