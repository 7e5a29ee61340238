#include <gtest/gtest.h>

#include "tests/support/sample_project.h"
#include "tests/support/time_zone.h"

namespace brindle {
namespace {

using enum ArtifactCategory;
using test::artifact;

TEST(Project, GroupsWhatIsRebuiltByNameTheLargestGroupFirst) {
    Project project;
    project.artifacts = {artifact("/p/vendor", 60, sourceAndHistory), artifact("/p/.next", 50, build),
                         artifact("/p/node_modules", 40, dependencies, "one"), artifact("/p/dist", 50, build),
                         artifact("/p/a/node_modules", 20, dependencies, "two")};
    std::string labels;
    for (const ArtifactGroup& group : project.rebuildableGroups()) labels += group.label() + " ";
    EXPECT_EQ(labels, "node_modules ×2 .next dist ");
    const ArtifactGroup packages = project.artifactGroups().at(1);  // no larger than vendor, which was first
    EXPECT_EQ(packages.bytes, 60U);
    EXPECT_EQ(packages.regeneratedBy.storedText, "one");
    EXPECT_EQ(packages.paths, (std::vector<std::string>{"/p/node_modules", "/p/a/node_modules"}));
    for (const auto& [whole, kept] : {std::pair{200U, 40U}, {161U, 1U}, {160U, 0U}, {10U, 0U}}) {
        project.measurement.allocatedBytes = whole;
        EXPECT_EQ(project.keptBytes(), kept) << whole;
    }
}

TEST(Project, IsDormantAfterNinetyCalendarDaysWhateverTheClocksDo) {
    const test::TimeZone zone("Europe/Berlin");
    const std::tuple<const char*, const char*, int> cases[] = {
        {"2025-01-10T12:00:00+01:00", "2025-04-10T11:59:59+02:00", 89},
        {"2025-01-10T12:00:00+01:00", "2025-04-10T12:00:00+02:00", 90},  // an hour short of 90 x 24
        {"2025-08-10T12:00:00+02:00", "2025-11-08T11:30:00+01:00", 89},  // half an hour more than that
        {"2025-08-10T12:00:00+02:00", "2025-08-09T11:00:00+02:00", -1},
    };
    for (const auto& [used, now, days] : cases) {
        Project project;
        project.lastUsed = timeFromIso8601(used);
        EXPECT_EQ(project.daysSinceUse(*timeFromIso8601(now)), days) << now;
        EXPECT_EQ(project.isDormant(*timeFromIso8601(now)), days == 90) << now;
    }
    EXPECT_FALSE(Project().isDormant(*timeFromIso8601("2025-11-08T12:00:00Z")));
}

TEST(Worktree, SaysOnlyWhatIsKnown) {
    test::speakEnglish();
    Worktree tree;
    tree.path = "/w/a b's";
    EXPECT_EQ(tree.state(), "Brindle could not finish reading this worktree, so it makes no claim about it");
    EXPECT_FALSE(tree.isSpent());
    tree.inspectionComplete = true;
    EXPECT_EQ(tree.state(), "Clean, and every commit is on a remote");
    EXPECT_TRUE(tree.isSpent());
    tree.modifiedFiles = 1;
    tree.localOnlyCommits = 2;
    EXPECT_EQ(tree.state(), "1 uncommitted change, 2 commits");
    EXPECT_FALSE(tree.isSpent());
    tree.isLocked = true;
    EXPECT_EQ(tree.state(), "Locked, so git will not remove it: 1 uncommitted change, 2 commits");
    EXPECT_EQ(tree.removalCommand(), R"(git worktree remove '/w/a b'\''s')");
    tree.path = "/w/a\nb";
    EXPECT_EQ(tree.removalCommand(), std::nullopt);
    tree.prunableReason = "gitdir file points to non-existent location";
    EXPECT_EQ(tree.state(), "The folder is gone; only git's record of it is left");
    EXPECT_EQ(tree.removalCommand(), "git worktree prune");
}

}  // namespace
}  // namespace brindle
