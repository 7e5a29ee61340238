#include "core/projects/project_collector.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <iterator>
#include <latch>
#include <sstream>
#include <thread>

#include "tests/support/mounted.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Paths = std::vector<std::string>;
using Reason = UnreachableLocation::Reason;

// All paths are separated by spaces.
struct Tree {
    const char* name;
    const char* files;  // "a/b" is a file, "a->b" a link to b
    const char* roots;  // "@" is the home
    const char* projects;
    std::map<std::string, Reason> reported = {};
};

Paths listed(const char* text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// Two levels deep.
ProjectSearch searchOf(const test::TestHome& home, const char* roots) {
    ProjectSearch search{.home = home.path(), .roots = listed(roots), .maximumDepth = 2};
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
    EXPECT_EQ(found, listed(tree.projects));
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
        for (const std::string& file : listed(tree.files)) {
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

}  // namespace
}  // namespace brindle
