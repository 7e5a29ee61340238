#include "core/projects/project_outline.h"

#include <gtest/gtest.h>

#include "core/projects/project_collector.h"
#include "core/projects/project_detector.h"
#include "core/projects/project_place.h"
#include "core/projects/project_relations.h"
#include "tests/support/git_home.h"

namespace brindle {
namespace {

ProjectSearch outlineSearchIn(const test::GitHome& home) {
    return {.home = home.path(), .roots = {"P"}};
}

TEST(ProjectOutlines, RelateAProjectAsWholeInspectionsDo) {
    test::GitHome home;
    home.text("P/lantern/package.json", R"({"name": "@me/lantern"})");
    home.text("P/other/package.json", R"({"name": "@me/lantern"})");
    home.pushed("P/lantern");
    home.shell("P", "git clone -q ../remotes/P/lantern.git clone; cp -R clone lantern-copy");
    home.shell("P/lantern", "git worktree add -q --detach ../lantern-wip");
    home.shell("P/lantern-copy", "git remote remove origin");
    home.folder("P/broken/.git");
    const ProjectSearch search = outlineSearchIn(home);
    const auto found = collectProjects(search);
    ASSERT_EQ(found.size(), 6U);
    const ProjectDetector detector(home.tools());
    const auto whole = relatedProjects(detector.discover(search));
    EXPECT_EQ(whole.at(home.path("P/lantern")).strongest.size(), 3U) << "clone, copy, name; no worktree";
    for (const ProjectFolder& each : found) {
        const Project project = *detector.inspect(each.path, search);
        const auto outlines = outlinesFor(project, found, search, home.tools());
        EXPECT_EQ(outlines.size(), 5U);
        const auto expected = whole.find(each.path);
        EXPECT_EQ(relationsOf(project, outlines),
                  expected == whole.end() ? RelatedProjects() : expected->second)
            << each.path;
    }
}

TEST(ProjectPlace, IsTheRepositoryOrTheOutermostProject) {
    test::GitHome home;
    for (const char* path : {"package.json", "P/a/package.json", "P/a/b/package.json", "P/a/b/c/go.mod",
                             "Q/go.mod", "Q/r/.git/HEAD", "Q/r/s/t/go.mod", "Q/r/s/u/.git"})
        home.text(path, "{}");
    home.folder("P/a/src/node_modules/x");
    const std::tuple<std::string, bool, const char*, std::size_t> cases[] = {
        {"P", false, "", 1},
        {"P/a", true, "", 0},
        {"P/a/b/c", false, "P/a", 0},
        {"Q", true, "", 0},
        {"Q/r", true, "Q", 0},
        {"Q/r/s", false, "Q/r", 0},
        {"Q/r/s/t", false, "Q/r", 0},
        {"Q/r/s/u", true, "Q/r", 0},
        {"P/a/src/node_modules/x", false, "P/a", 0},
        {"P/a/package.json", false, "P/a", 0}};
    for (const auto& [path, isProject, enclosing, contained] : cases) {
        const ProjectPlace place = placeAmongProjects(home.path(path), outlineSearchIn(home));
        EXPECT_TRUE(place.isProject == isProject && place.contained.size() == contained) << path;
        EXPECT_EQ(place.enclosing.value_or(""), *enclosing == 0 ? "" : home.path(enclosing)) << path;
    }
}

}  // namespace
}  // namespace brindle
