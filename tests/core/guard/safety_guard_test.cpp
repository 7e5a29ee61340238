#include "core/guard/safety_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>
#include <tuple>

#include "core/guard/safety_tables.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "tests/support/mounted.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

constexpr const char* kAllowed = "";
constexpr const char* kOutside = "outside the home folder";
constexpr const char* kParentLink = "a parent directory is a symlink";

std::string reasonOf(const SafetyVerdict& verdict) {
    return verdict.reason().value_or(kAllowed);
}

std::string treeReason(const TestHome& home, const std::string& path) {
    return reasonOf(SafetyGuard({.home = home.path()}).treeVerdict(path));
}

std::string never(const std::string& name) {
    return "contains " + name + ", which is never removable";
}

CleanupItem itemOf(RemovalStrategy removal, Classification classification = Classification::safe) {
    CleanupItemFields fields;
    fields.classification = classification;
    fields.removal = std::move(removal);
    return CleanupItem(std::move(fields));
}

TEST(SafetyGuard, JudgesAPathByItsNames) {
    const TestHome home;
    const auto below = [&](const std::set<std::string>& places) {
        std::set<std::string> paths;
        for (const std::string& place : places) paths.insert(home.path() + place);
        return paths;
    };
    const std::string app = "/Library/Application Support/org.example.app";
    const SafetyGuard guard(
        {.home = home.path() + "/",
         .projectArtifacts = below({"/Documents/web/node_modules", "/code/.git/node_modules", "/code/odd"}),
         .artifactNames = {"node_modules"},
         .appLeftovers = below({app, app + "/org.example.app", "/Library/Caches/com.apple.app",
                                "/Library/Logs/example.app", "/Library/Preferences/org.example.app"}),
         .exportCopies = below({"/Downloads/a.IPA", "/Documents/b.whl", "/Downloads/c.zip", "/Downloads",
                                "/.config/d.apk", "/code/.git/e.aab", "/Tool.app/t.ipa",
                                "/miniforge/lib/ensurepip/_bundled/s.whl"})});
    for (const auto& [reason, places] : std::vector<std::pair<std::string, std::vector<std::string>>>{
             {kAllowed,
              {"/.npm/_cacache", "//.npm/./_cacache//", "/.npm/caf\xe9", "/Library/Caches", "/go/pkg/mod",
               "/Library/Application Support/Code/Cache/x", "/Documents/web/node_modules", app,
               "/Downloads/a.IPA", "/Documents/b.whl"}},
             {"inside a tool's own folder",
              {"/.config/d.apk", "/miniforge/lib/ensurepip/_bundled/s.whl", "/Tool.app/t.ipa"}},
             {"not a developer export archive", {"/Downloads/c.zip", "/Downloads"}},
             {never("Downloads"), {"/Downloads/other.ipa"}},
             {"invalid path or parent-directory traversal",
              {std::string("/.npm/a\0b", 9), "/Library/Caches/../Documents", "/.."}},
             {"path tries to climb out of its directory", {"/.cache/foo..bar"}},
             {"that is the home folder itself", {"", "//.//"}},
             {kOutside, {"-other/.npm/x"}},
             {"too close to the top of the home folder", {"/.npm", "/.npm/"}},
             {"not inside a location Brindle is allowed to clean",
              {"/.npmx/a", "/Library", "/Library/Cachesx", "/Library/Application Support/Code", "/go/pkg",
               "/Library/Application Support/org.example.other"}},
             {never(".git"),
              {"/Library/Caches/x/.git/objects", "/code/.git/node_modules", "/code/.git/e.aab"}},
             {never("Keychains"), {"/Library/Keychains/x"}},
             {never(".config"), {"/.cache/.config/Music"}},
             {never("Documents"), {"/Documents/web/build", "/Documents/web/node_modules/x"}},
             {"not a recognised generated directory", {"/code/odd"}},
             {"not named like an application's own folder",
              {"/Library/Caches/com.apple.app", "/Library/Logs/example.app"}},
             {"not directly inside a folder applications leave data in",
              {"/Library/Preferences/org.example.app", app + "/org.example.app"}}}) {
        for (const std::string& place : places)
            EXPECT_EQ(reasonOf(guard.verdictForDeleting(home.path() + place)), reason) << place;
    }
    EXPECT_EQ(reasonOf(guard.verdictForDeleting(home.path().substr(1) + "/.npm/x")), "not an absolute path");
    EXPECT_EQ(reasonOf(guard.verdictForDeleting("/")), kOutside);
    for (const std::string& noHome : {std::string("/"), home.path("x/.."), std::string("home")}) {
        const SafetyGuard lost({.home = noHome});
        for (const std::string& path : {home.path(".npm/x"), std::string("/.npm/x")})
            EXPECT_EQ(reasonOf(lost.verdictForDeleting(path)), kOutside) << noHome << " " << path;
        EXPECT_FALSE(lost.verdictForRunning("/.local/bin/go", {"clean", "-modcache"}).isAllowed()) << noHome;
    }
}

// What paths are made of.
std::vector<std::string> pieces() {
    std::vector<std::string> pieces = {"\n", " ", std::string(1, '\0')};
    std::istringstream words(
        "/ // /./ /../ . .. .npm _cacache .npmx Library Caches library CACHES .cache real inward outward "
        "upward "
        ".git .ssh .aws Keychains .GIT Documents .config \xff\xfe caf\xe9 a..b \xcc\x81 .gradle go/pkg/mod "
        "go/pkg "
        "file .pyenv/versions Library/Caches .cargo/registry Library/Containers/com.docker.docker");
    for (std::string word; words >> word;) pieces.push_back(word);
    return pieces;
}

const std::vector<std::string> kPieces = pieces();

std::string pathFrom(std::mt19937& random, const std::string& home) {
    std::string path = random() % 8 == 0 ? "" : home;
    for (auto pieces = random() % 7; pieces > 0; --pieces) {
        if (random() % 4 != 0) path += '/';
        path += kPieces[random() % kPieces.size()];
    }
    return path;
}

// Where deleting it would really delete: the folder that holds it with every link resolved, and its name in there.
std::string objectOf(const std::string& path) {
    const std::string plain = standardisedPath(path);
    std::string parent = folderOf(plain);
    std::string missing;
    for (auto real = canonicalPath(parent);; real = canonicalPath(parent)) {
        if (real) return *real + missing + "/" + std::string(lastComponent(plain));
        missing = "/" + std::string(lastComponent(parent)) + missing;
        parent = folderOf(parent);
    }
}

// Thousands of paths, over folders and links that really lie there.
TEST(SafetyGuard, AllowsNothingWhoseObjectLiesElsewhere) {
    TestHome home;
    for (const std::string folder : {".npm/_cacache", ".cache/real", "Library/Caches", "Documents"})
        home.file(folder + "/real/file", 10);
    home.link(".cache/inward", home.path(".npm/_cacache"));
    home.link(".cache/outward", home.path("Documents"));
    home.link(".npm/_cacache/upward", "../..");
    home.link("Library/Caches/outward", "/");
    const SafetyGuard guard({.home = home.path()});
    std::mt19937 random(20261121);
    int allowed = 0;
    for (int round = 0; round < 50000; ++round) {
        const std::string path = pathFrom(random, home.path());
        if (!guard.verdictForDeleting(path).isAllowed()) continue;
        ++allowed;
        const std::string object = objectOf(path);
        ASSERT_TRUE(object.starts_with(home.path() + "/")) << path;
        const std::string place = object.substr(home.path().size() + 1);
        ASSERT_TRUE(std::ranges::any_of(kAllowedRoots, [&](auto root) { return isAtOrBelow(place, root); }))
            << path;
        ASSERT_FALSE(fs::is_symlink(object)) << path;
        for (const std::string_view name : pathComponents(place))
            ASSERT_EQ(std::ranges::find(kForbiddenComponents, name), kForbiddenComponents.end()) << path;
    }
    EXPECT_GT(allowed, 500) << "the paths are too odd to test anything";
}

TEST(SafetyGuard, FollowsNoLinkAndTakesWhatItCannotSeeForANo) {
    TestHome home;
    home.folder("user-files/uv");
    home.file("me/.cache/real/data");
    home.link("me/.cache/link", "real");
    home.link("me/.cache/dangling", "nowhere");
    home.link("me/.cache/loop", "loop");
    home.link("me/.npm", "../user-files");
    home.link("alias", "me");
    const SafetyGuard guard({.home = home.path("me")});
    for (const auto& [reason, places] : std::vector<std::pair<std::string, std::vector<std::string>>>{
             {kAllowed, {".cache/real", ".cache/real/data", ".cache/gone/deep/down"}},
             {"that path is a symlink", {".cache/link", ".cache/dangling"}},
             {kParentLink, {".cache/link/data", ".cache/dangling/a/b", ".npm/uv"}},
             {"The path is no longer readable. Scan again.", {".cache/loop/a"}}}) {
        for (const std::string& place : places)
            EXPECT_EQ(reasonOf(guard.verdictForDeleting(home.path("me/" + place))), reason) << place;
    }
    const SafetyGuard aliased({.home = home.path("alias")});
    EXPECT_EQ(reasonOf(aliased.verdictForDeleting(home.path("alias/.cache/real"))), kParentLink);
}

TEST(SafetyGuard, HoldsToWhatTheUserProtects) {
    TestHome home;
    home.file(".cache/models/one/data");
    home.link("code", ".cache/models");
    for (const auto& [chosen, path, shown] : std::vector<std::array<std::string, 3>>{
             {home.path(".npm/"), home.path(".npm/a/b"), "~/.npm"},
             {home.path(".gradle/x/../caches"), home.path(".gradle/caches"), "~/.gradle/caches"},
             {home.path(".cache/a/b"), home.path(".cache/a"), "~/.cache/a/b"},
             {home.path("code"), home.path(".cache/models/one"), "~/code"},
             {home.path("code/new"), home.path(".cache/models/new"), "~/code/new"},
             {home.path("code/one/data"), home.path(".cache/models"), "~/code/one/data"},
             {home.path(), home.path(".cache/a"), "~"},
             {"/", home.path(".cache/a"), "/"}}) {
        const SafetyGuard guard({.home = home.path(), .protectedPaths = {chosen}});
        EXPECT_EQ(reasonOf(guard.verdictForDeleting(path)), "inside a protected path: " + shown);
    }
    const SafetyGuard guard(
        {.home = home.path(), .protectedPaths = {home.path(".npm"), home.path(".cache/a")}});
    EXPECT_TRUE(guard.verdictForDeleting(home.path(".cache/ab")).isAllowed());

    const RunCommand npm{"/usr/bin/env", {"npm", "cache", "clean", "--force"}};
    const RunCommand docker{"docker", {"volume", "prune", "-f"}};
    const std::string good = home.path(".bun/x");
    const std::pair<CleanupItem, std::string> items[] = {
        {itemOf({npm}), "inside a protected path: ~/.npm"},
        {itemOf({docker}), kAllowed},
        {itemOf({docker}, Classification::protected_), "classified protected"},
        {itemOf({RunCommand{"/usr/bin/env", {}}}), "no command given"},
        {itemOf({DeletePaths{}}), "nothing to remove"},
        {itemOf({DeletePaths{{good}}}), kAllowed},
        {itemOf({DeletePaths{{good, "/etc", home.path()}}}), kOutside}};
    for (const auto& [item, reason] : items) EXPECT_EQ(reasonOf(guard.verdictForItem(item)), reason);
}

TEST(SafetyGuard, RunsApprovedInvocationsOnly) {
    const TestHome home;
    const SafetyGuard guard({.home = home.path()});
    for (const auto& [command, approved] : allowedCommands()) {
        for (ArgumentList arguments : approved) {
            EXPECT_TRUE(guard.verdictForRunning(command, arguments).isAllowed()) << command;
            arguments.emplace_back("--more");
            EXPECT_FALSE(guard.verdictForRunning(command, arguments).isAllowed()) << command;
        }
    }
    constexpr const char* kUntrusted = "untrusted executable location";
    using Invocation = std::tuple<std::string, ArgumentList, std::string>;
    for (const auto& [executable, arguments, reason] : std::vector<Invocation>{
             {"brew", {"cleanup"}, "brew cleanup is not an approved invocation"},
             {"pnpm", {}, "pnpm is not an approved invocation"},
             {"xcrun", {"simctl", "delete", "unavailable"}, kAllowed},
             {"/usr/bin/env", {"uv", "cache", "clean"}, kAllowed},
             {"/usr/bin/env", {"uv", "cache clean"}, "uv cache clean is not an approved invocation"},
             {"env", {"env", "uv", "cache", "clean"}, "env is not a command Brindle may run"},
             {"env", {"PATH=/evil", "go", "clean"}, "PATH=/evil is not a command Brindle may run"},
             {"xcrun", {}, "no command given"},
             {home.path(".local/bin/uv"), {"cache", "clean"}, kAllowed},
             {home.path("bin/uv"), {"cache", "clean"}, kUntrusted},
             {"/usr/bin/../bin/uv", {"cache", "clean"}, kUntrusted},
             {"./uv", {"cache", "clean"}, kUntrusted},
             {"/usr/bin/", {}, kUntrusted},
             {"rm", {"-rf", "/"}, "rm is not a command Brindle may run"},
             {"", {}, " is not a command Brindle may run"}}) {
        EXPECT_EQ(reasonOf(guard.verdictForRunning(executable, arguments)), reason) << executable;
    }
}

TEST(SafetyGuard, KnowsApplicationsFoldersAndVendoredPackagesByName) {
    for (const char* name :
         {"org.example.app", "org.example.app.plist", "com.example.x.savedState", "a.b-c.d_1",
          "jp.caf\xc3\xa9.\xd9\xa3", "com.applesauce.app", "x.y.z.binarycookies"})
        EXPECT_TRUE(SafetyGuard::looksLikeBundleIdentifier(name)) << name;
    for (const char* name :
         {"", "example.app", "example.app.plist", "com.apple.app", "com.apple", "a..b", "a.b.", ".a.b",
          "a.b.c d", "a.b.c/d", "a.b.caf\xe9", "com.apple.plist", "a.b.\xe2\x80\xae"})
        EXPECT_FALSE(SafetyGuard::looksLikeBundleIdentifier(name)) << name;
    const SafetyGuard guard({.home = "/home/me"});
    const std::string checkouts =
        "/home/me/Library/Developer/Xcode/DerivedData/App-x/SourcePackages/checkouts";
    EXPECT_TRUE(guard.isInsideVendoredPackage(checkouts + "/package"));
    EXPECT_TRUE(guard.isInsideVendoredPackage(checkouts + "/package/.git"));
    EXPECT_TRUE(guard.isInsideVendoredPackage("/home/me/.cargo/registry/src/index/crate-1/.env"));
    for (const std::string& path :
         {checkouts, checkouts + "/../.git", checkouts + "/package/../../.git", checkouts + "/./.git",
          std::string("/home/me/.cargo/registry/src/index"), "/x" + checkouts + "/package"})
        EXPECT_FALSE(guard.isInsideVendoredPackage(path)) << path;
}

TEST(SafetyGuard, JudgesATreeByWhatLiesInIt) {
    TestHome home;
    const std::string checkout = "Library/Developer/Xcode/DerivedData/App-x/SourcePackages/checkouts/lib";
    const auto contains = [](const std::string& name) {
        return "The directory contains protected data: " + name + ".";
    };
    for (const auto& [root, entry, reason] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {".cache/plain", "a/b/.environment", kAllowed},
             {".cache/env", "a/.env", contains(".env")},
             {".cache/envlocal", "a/b/.env.local", contains(".env.local")},
             {".cache/git", "deep/down/.git/HEAD", contains(".git")},
             {".cache/keys", "x/.ssh/id", contains(".ssh")},
             {".cache/chain", "Keychains/x", contains("Keychains")},
             {"Library/Developer/Xcode/DerivedData", checkout.substr(36) + "/.git/HEAD", kAllowed},
             {".cargo/registry/src/index/crate-1.0", ".env.example", kAllowed},
             {".cargo/registry/src/index/crate-2.0", ".ssh/id", contains(".ssh")},
             {"venvs/.env", "pyvenv.cfg", contains(".env")}}) {
        home.file(root + "/" + entry, 9000);
        const JudgedTree judged = SafetyGuard({.home = home.path()}).judgedTree(home.path(root));
        EXPECT_EQ(reasonOf(judged.verdict), reason) << root;
        if (reason == kAllowed) {
            EXPECT_EQ(judged.object, PathIdentity::read(home.path(root)));
            EXPECT_GE(judged.measurement.allocatedBytes, 9000U);
        }
    }
    EXPECT_EQ(treeReason(home, home.path("nowhere")), "The path is no longer readable. Scan again.");
    EXPECT_EQ(treeReason(home, "/proc/self"), "The path is on another volume.");
}

TEST(SafetyGuard, LetsNoTreeGoWithAMountInIt) {
    TestHome home;
    home.file("outside/x");
    home.folder(".cache/x/mounted");
    const bool isRun = test::isRunWithMount(home.path("outside"), home.path(".cache/x/mounted"), [&] {
        EXPECT_EQ(treeReason(home, home.path(".cache/x")), "A mounted volume is inside this directory.");
    });
    if (!isRun) GTEST_SKIP() << test::kNeedsMounts;
}

TEST(SafetyGuardUnprivileged, LetsNoTreeGoThatItCannotRead) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    TestHome home;
    home.folder(".cache/x/shut");
    home.mode(".cache/x/shut", 0);
    EXPECT_EQ(treeReason(home, home.path(".cache/x")), "Part of the directory cannot be validated.");
}

}  // namespace
}  // namespace brindle
