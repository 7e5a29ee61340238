#include "core/projects/project_detector.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <latch>
#include <thread>

#include "core/projects/git_inspector.h"
#include "core/projects/lockfile_search.h"
#include "core/projects/project_activity.h"
#include "core/projects/project_collector.h"
#include "core/projects/project_manifest.h"
#include "core/projects/toml_nesting.h"
#include "tests/support/disk_usage.h"
#include "tests/support/git_home.h"
#include "tests/support/mounted.h"
#include "tests/support/sample_project.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Reader = std::optional<std::string> (*)(std::string_view);
using Paths = std::vector<std::string>;
using Reason = UnreachableLocation::Reason;
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

// All paths are separated by spaces.
struct Tree {
    const char* name;
    const char* files;  // "a/b" is a file, "a->b" a link to b
    const char* roots;  // "@" is the home
    const char* projects;
    std::map<std::string, Reason> reported = {};
};

// Two levels deep.
ProjectSearch searchOf(const test::TestHome& home, const char* roots) {
    ProjectSearch search{.home = home.path(), .roots = test::wordsOf(roots), .maximumDepth = 2};
    for (std::string& root : search.roots)
        if (root.starts_with('@')) root = home.path() + root.substr(1);
    return search;
}

// Relative to the home.
void expectFound(const test::TestHome& home, const Tree& tree) {
    SCOPED_TRACE(tree.name);
    const auto relative = [&](const std::string& path) { return path.substr(home.path().size() + 1); };
    std::map<std::string, Reason> reported;
    ProjectSearch search = searchOf(home, tree.roots);
    search.report = [&](const std::string& path, Reason why) { reported[relative(path)] = why; };
    Paths found;
    for (const ProjectFolder& each : collectProjects(search)) found.push_back(relative(each.path));
    EXPECT_EQ(found, test::wordsOf(tree.projects));
    EXPECT_EQ(reported, tree.reported);
}

TEST(ProjectCollector, FindsProjectsByTheirMarkers) {
    const Tree trees[] = {
        {"each kind of marker",
         "P/a/package.json P/b/App.xcodeproj/x P/c/W.xcworkspace/x P/d/main.tf P/e/pom.xml P/f/.git/HEAD "
         "P/g/.git "
         "P/h/package.json5 P/i/tf P/j/notes",
         "P", "P/a P/b P/c P/d P/e P/f P/g"},
        {"a root is a project itself", "P/go.mod P/x/go.mod", "P", "P"},
        {"none inside another", "P/a/go.mod P/a/b/Cargo.toml P/a-b/go.mod", "P P/a/b", "P/a P/a-b"},
        {"hidden and generated folders", "P/.x/go.mod P/node_modules/a/go.mod P/build/go.mod", "P", ""},
        {"a hidden root is a root", ".x/a/go.mod", ".x", ".x/a"},
        {"links", "far/a/go.mod P/link->../far Q->far P/loop->. P/dead->nowhere", "P Q", "far/a"},
        {"roots given twice, spelled otherwise, or not there", "P/a/go.mod Q->P",
         "P P/ ./P Q @/P P/../P none @/none", "P/a"},
        {"the home is no project", ".git/HEAD package.json P/a/go.mod b/go.mod", "@ P", "P/a b"},
        {"depth", "P/1/2/go.mod P/1/3/4/go.mod", "P", "P/1/2", {{"P/1/3/4", Reason::searchDepth}}},
        {"nothing is said of what became a root", "P/1/3/4/go.mod", "P P/1/3/4", "P/1/3/4"},
        {"nor of what lies below one", "P/1/3/4/5/go.mod", "P P/1/3", "P/1/3/4/5"},
    };
    for (const Tree& tree : trees) {
        test::TestHome home;
        for (const std::string& file : test::wordsOf(tree.files)) {
            const std::size_t arrow = file.find("->");
            if (arrow != std::string::npos) home.link(file.substr(0, arrow), file.substr(arrow + 2));
            if (arrow == std::string::npos) home.file(file, 1);
        }
        expectFound(home, tree);
    }
}

TEST(ProjectCollector, LeavesMountsAloneThatAreNoRoots) {
    test::TestHome home;
    home.file("far/go.mod");
    home.folder("P/a");
    const auto body = [&] {
        expectFound(home, {"bound", "", "P", "", {{"P/a", Reason::differentVolume}}});
        expectFound(home, {"bound and a root", "", "P P/a", "P/a"});
    };
    if (!test::isRunWithMount(home.path("far"), home.path("P/a"), body)) GTEST_SKIP() << test::kNeedsMounts;
}

TEST(ProjectCollector, WaitsForADescriptor) {
    test::TestHome home;
    home.file("P/a/go.mod");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    // A hard limit above what the kernel allows by now cannot be set again.
    const rlim_t enough = std::min<rlim_t>(before.rlim_cur, 1024);
    const rlimit none{0, enough};
    // The sanitizers want descriptors themselves, when a thread begins and where a stream is made.
    const ProjectSearch search = searchOf(home, "P");
    std::latch begun(1);
    std::latch limited(1);
    const std::jthread other([&] {
        begun.count_down();
        limited.wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        const rlimit again{enough, enough};
        setrlimit(RLIMIT_NOFILE, &again);
    });
    begun.wait();
    const int failure = setrlimit(RLIMIT_NOFILE, &none);
    limited.count_down();
    const auto found = collectProjects(search);
    ASSERT_EQ(failure, 0);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].path, home.path("P/a"));
}

TEST(ProjectCollectorUnprivileged, ReportsWhatItCannotList) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    test::TestHome home;
    for (const char* file : {"P/closed/go.mod", "P/open/go.mod", "R/inside/x"}) home.file(file);
    home.mode("P/closed", 0);
    home.mode("R", 0);
    constexpr Reason kDenied = Reason::permissionDenied;
    expectFound(home, {"", "", "P R/inside", "P/open", {{"P/closed", kDenied}, {"R/inside", kDenied}}});
}

std::string repeated(std::string_view piece, std::size_t bytes) {
    std::string text;
    while (text.size() < bytes) text += piece;
    return text;
}

TEST(ProjectManifest, ReadsTheNameWhereEachFormatHasIt) {
    const std::tuple<Reader, std::string, std::string> named[] = {
        {nameInJsonManifest, R"({"a":{"name":"in"},"l":[{"name":"in"}],"name":" @acme/web ","z":1})",
         "@acme/web"},
        {nameInJsonManifest, R"({"name":"one","name":"tw\u00f6"})", "twö"},
        {nameInJsonManifest, "\xEF\xBB\xBF{\"name\":\"marked\"}", "marked"},
        {nameInJsonManifest, R"({"name":")" + std::string(214, 'n') + "\"}", std::string(214, 'n')},
        {nameInCargoManifest, "[workspace.package]\nname='no'\n[package]\nname = \"tool\" # so\n", "tool"},
        {nameInCargoManifest, "package.name='dotted'\n", "dotted"},
        {nameInPythonManifest, "[tool.poetry]\nname='old'\n[project]\nname='new'\n", "new"},
        {nameInPythonManifest, "[tool.poetry]\nname='old'\n[project]\nname=''\n", "old"},
        {nameInPubspec, "# app\nenvironment: {name: in}\n? [a, name]\n: name\nname: lantern\na: b\n]",
         "lantern"},
        {nameInPubspec, "\xEF\xBB\xBFname: \"12\"\n", "12"},
        {nameInSwiftManifest, "let p = Package(rename:3, name:\"\", name: \n\t\"Kit\", name: \"Late\")",
         "Kit"},
    };
    for (const auto& [read, text, name] : named) EXPECT_EQ(read(text), name) << text;
    const std::pair<Reader, std::vector<std::string>> nameless[] = {
        {nameInJsonManifest,
         {"", R"({"name":"one","name":{"name":"in"}})", R"([{"name":"in"}])", R"({"name":"cut")",
          "{\"name\":\"\xFF\"}", R"({"name":"e\u001b[1m"})", R"({"name":"   "})",
          R"({"name":")" + std::string(215, 'n') + "\"}"}},
        {nameInCargoManifest,
         {"", "[package]\nname = 7\n", "package = 'name'\n", "[package]\nname = 'tool'\nbroken\n"}},
        {nameInPythonManifest, {""}},
        {nameInPubspec,
         {"", "name: 12\n", "name: True\n", "name: ~\n", "name: [a]\nname: late\n", "a: &n x\nname: *n\n",
          "- name: in\n", "a: b\n---\nname: second\n", "a: \xFF\nname: x\n"}},
        {nameInSwiftManifest, {"", "name: \"a\\(b)\", name: \"line\n\"", "name: \"open"}},
    };
    for (const auto& [read, texts] : nameless)
        for (const std::string& text : texts) EXPECT_EQ(read(text), std::nullopt) << text;
}

// As large as a manifest may be: a parser that called itself for every level would end the program.
TEST(ProjectManifest, SurvivesWhatIsMadeToExhaustIt) {
    for (const char* piece :
         {"[", "{\"a\":", "[[],", "{", "a.", "[a.", "a={", "- ", "? ", "&a ", "*a ", "[a: b,", "\"", "name:"})
        for (const std::string head : {"", "a=", "[", "a=[\n", "name: "})
            for (const Reader read :
                 {nameInJsonManifest, nameInCargoManifest, nameInPubspec, nameInSwiftManifest})
                EXPECT_EQ(read(head + repeated(piece, kManifestLimit / 8)), std::nullopt) << head << piece;
    EXPECT_EQ(nameInJsonManifest(repeated("[", kManifestLimit)), std::nullopt);
    EXPECT_EQ(nameInCargoManifest("package.name='x'\n" + repeated("a.", kManifestLimit) + "a=1\n"),
              std::nullopt);

    std::string bomb = "a: &a [x]\n";
    for (char letter = 'b'; letter < 'z'; ++letter)
        bomb += std::string(1, letter) + ": &" + letter + " [" +
                repeated(std::string("*") + char(letter - 1) + ",", 30) + "]\n";
    EXPECT_EQ(nameInPubspec(bomb + "name: x\n"), "x");
}

TEST(ProjectManifest, CountsOnlyTheNestingOfTomlItself) {
    const std::string dots = repeated(".", kTomlDots + 1);
    for (const std::string& harmless :
         {"a='" + dots + "'", R"(a="\")" + dots + '"', "a=\"\"\"\"x\n\\\"\"\"" + dots + R"(""""")",
          "#\"" + dots, "a='''''x\n'''''\nb='" + dots + "'", repeated("a.b=1.5\n", 4000),
          repeated("[a]\n", 4000), "a=[#" + dots + "\n]"})
        EXPECT_TRUE(isShallowToml(harmless)) << harmless;
    for (const std::string& deep : {dots, "a='\\'" + dots, "a=\"\"\"\\\"\"\"\"\n#\n" + dots, "#'\n" + dots,
                                    "a=['#',\n" + dots, repeated("{[", 66)})
        EXPECT_FALSE(isShallowToml(deep)) << deep;
}

TEST(ProjectManifest, TakesTheFirstManifestThatYieldsAName) {
    test::TestHome home;
    const auto named = [&](const std::vector<std::string>& entries) {
        return declaredName(home.path(), entries).value_or("");
    };
    home.text("Package.swift", R"(name: "swift")");
    home.text("pubspec.yaml", "name: yaml");
    home.text("Cargo.toml", "[package]\nname='cargo'");
    home.text("composer.json", "broken");
    const std::vector<std::string> all = {"Package.swift", "pubspec.yaml", "Cargo.toml", "composer.json",
                                          "package.json"};
    EXPECT_EQ(named(all), "cargo");
    EXPECT_EQ(named({"pubspec.yaml", "Package.swift", "x"}), "yaml");
    EXPECT_EQ(named({}), "");
    home.text("package.json", R"({"name":"node"})" + std::string(kManifestLimit, ' '));
    EXPECT_EQ(named(all), "cargo");
    home.link("pyproject.toml", "pipe");
    ASSERT_EQ(::mkfifo(home.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(named({"pyproject.toml", "Package.swift"}), "swift");  // and nobody waited for the pipe
}

}  // namespace
}  // namespace brindle
