#include "core/projects/project_detector.h"

#include <gtest/gtest.h>

#include "core/projects/git_inspector.h"
#include "core/projects/lockfile_search.h"
#include "core/projects/project_activity.h"
#include "tests/support/disk_usage.h"
#include "tests/support/git_home.h"
#include "tests/support/mounted.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using test::GitHome;

constexpr std::int64_t kLongAgo = 1'700'000'000;

ProjectSearch searchIn(const GitHome& home) {
    return {.home = home.path(),
            .roots = {"P"},
            .now = TimePoint(std::chrono::seconds(kLongAgo) + std::chrono::days(100))};
}

std::expected<Project, Error> inspect(const GitHome& home, const std::string& folder) {
    return ProjectDetector(home.tools()).inspect(home.path(folder), searchIn(home));
}

TEST(ProjectDetector, TellsWhatEachProjectHoldsAndHowItComesBack) {
    GitHome home;
    test::speakEnglish();
    home.shell("P/web", R"(
echo '{"name": "lantern"}' > package.json; printf '[package]\nname = "other"\n' > Cargo.toml
printf 'node_modules\n.next\nbuild\n' > .gitignore; mkdir -p packages/ui
touch pnpm-lock.yaml packages/ui/yarn.lock packages/ui/package-lock.json)");
    home.pushed("P/web");
    home.file("P/web/node_modules/a/index.js", 90'000);
    home.file("P/web/packages/ui/node_modules/b/index.js", 50'000);
    home.file("P/web/node_modules/a/shared", 100);
    home.hardLink("P/web/packages/ui/node_modules/b/shared", "P/web/node_modules/a/shared");
    home.file("P/web/.next/cache", 20'000);
    home.file("P/web/build/_deps/x/.git/HEAD", 500'000);
    home.file("P/plain/requirements.txt", 10);
    home.file("P/plain/src/__pycache__/x.pyc", 10);
    HardlinkTracker tracker;
    ProjectTimes times;
    ProjectSearch search = searchIn(home);
    search.artifactHardlinks = &tracker;
    const auto projects = ProjectDetector(home.tools()).discover(search, &times);

    ASSERT_EQ(projects.size(), 2U);
    const Project& web = projects[0];
    EXPECT_EQ(web.name + web.declaredName.value_or(""), "weblantern");
    EXPECT_EQ(web.kinds, (std::vector{ProjectKind::node, ProjectKind::rust}));
    EXPECT_EQ(web.totalBytes(), test::diskUsage(web.path));
    EXPECT_GT(times.git, 0);
    std::vector<std::string> commands;
    for (const ProjectArtifact& each : web.rebuildableArtifacts())
        commands.push_back(each.regeneratedBy.storedText);
    EXPECT_EQ(commands, (std::vector<std::string>{"pnpm install", "yarn install", "next build"}));
    ASSERT_EQ(web.artifacts.size(), 4U) << "and what is called build: a clone lies in it";
    const ProjectArtifact& modules = web.artifacts[1];
    EXPECT_EQ(modules.bytes() + web.artifacts[2].bytes(),
              test::diskUsage({web.path + "/node_modules", web.path + "/packages/ui/node_modules"}))
        << "a file with names in both counts once";
    EXPECT_EQ(tracker.count(), 1U);
    EXPECT_FALSE(web.safety->git.inspectionComplete) << "the clone is broken";
    EXPECT_EQ(projects[1].artifacts.front().regeneratedBy.kind, Regeneration::Kind::automatic);
    EXPECT_EQ(projects[1].safety->confidence, ProjectSafety::Confidence::risky);
}

TEST(ProjectDetector, KeepsARepositoryThatLiesInAGeneratedFolder) {
    GitHome home;
    home.text("P/web/.gitignore", "build\nout\ndist\n");
    home.pushed("P/web");
    home.shell("P/web",
               "mkdir build; mv .git build/data; echo gitdir: build/data > .git; git init -q --bare "
               "out/store; mkdir -p dist/tried/.hg");
    const auto project = inspect(home, "P/web");
    ASSERT_TRUE(project && project->safety->git.inspectionComplete);
    EXPECT_TRUE(project->artifacts.size() == 3 && project->rebuildableArtifacts().empty());
    GitUse use(home.tools(), [] { return false; });
    GitInspector inspector(home.path("P/web"), std::vector<std::string>(), use);
    EXPECT_TRUE(inspector.ignoredPaths({home.path("P/web/build")}).empty());
}

TEST(ProjectDetector, KeepsWhatTheUsersFilesAreMountedIn) {
    GitHome home;
    home.file("Documents/letter");
    home.untouchedProject("P/web", kLongAgo);
    const std::string place = home.folder("P/web/node_modules/x/documents");
    const auto body = [&] {
        const auto project = inspect(home, "P/web");
        ASSERT_TRUE(project);
        EXPECT_EQ(project->artifacts.at(0).measurement.fileCount, 1);
        EXPECT_TRUE(project->rebuildableArtifacts().empty());
    };
    if (!test::isRunWithMount(home.path("Documents"), place, body)) GTEST_SKIP() << test::kNeedsMounts;
}

TEST(ProjectDetectorUnprivileged, ClaimsNothingWhereItCouldNotLook) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    for (const char* closed : {"P/web/src/closed", "P/web/build/closed"}) {
        GitHome home;
        home.text("P/web/.gitignore", "build\n");
        home.pushed("P/web");
        home.file("P/web/build/x");
        home.folder(closed);
        home.mode(closed, 0);
        const auto project = inspect(home, "P/web");
        ASSERT_TRUE(project);
        EXPECT_FALSE(project->safety->git.inspectionComplete) << "a repository may lie there";
        const bool isInBuild = std::string(closed).contains("build");
        EXPECT_EQ(project->rebuildableArtifacts().empty(), isInBuild) << "and anything else";
    }
}

TEST(LockfileSearch, TakesTheNearestLockfile) {
    test::TestHome home;
    for (const char* lockfile : {"uv.lock", "p/go.mod", "p/a/bun.lock", "p/a/package-lock.json"})
        home.text(lockfile, "");
    LockfileSearch search(home.path("p"));
    const auto command = [&](const std::string& relative) {
        const auto found =
            search.regeneration(relative.substr(relative.rfind('/') + 1), home.path("p/" + relative));
        return found ? found->storedText : "";
    };
    EXPECT_EQ(command("a/b/c/node_modules"), "bun install");
    EXPECT_EQ(command("b/vendor"), "go mod vendor");
    EXPECT_EQ(command("b/.venv"), "") << "above the project nothing counts";
    EXPECT_EQ(command("b/target"), "");
}

TEST(LastActivity, IsTheLatestOfItsSources) {
    GitHome home;
    home.pushed("p");
    home.shell("p", "git worktree add -q --detach $home/linked");
    home.text("p/README.md", "x");
    home.text("p/notes", "x");
    const auto seconds = [&](const std::string& folder) {
        return std::chrono::system_clock::to_time_t(*lastActivity(home.path(folder)));
    };
    std::int64_t moment = kLongAgo;
    const auto sources = {"p", "p/.git/HEAD", "p/.git/index", "p/.git/FETCH_HEAD", "p/README.md"};
    for (const char* source : sources) home.modified(source, moment);
    EXPECT_EQ(seconds("p"), kLongAgo) << "other files do not count";
    for (const char* source : sources) {
        home.modified(source, ++moment);
        EXPECT_EQ(seconds("p"), moment) << source;
    }
    home.modified("linked", kLongAgo);
    home.modified("p/.git/worktrees/linked/HEAD", kLongAgo);
    home.modified("p/.git/worktrees/linked/index", kLongAgo + 7);
    EXPECT_EQ(seconds("linked"), kLongAgo + 7);
    EXPECT_FALSE(lastActivity(home.path("nowhere")));
}

}  // namespace
}  // namespace brindle
