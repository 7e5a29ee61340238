// Thousands of paths, put together from what paths are made of, over folders and links that really lie there.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "core/guard/safety_guard.h"
#include "core/guard/safety_tables.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

const std::vector<std::string> kPieces = {"/",
                                          "//",
                                          "/./",
                                          "/../",
                                          ".",
                                          "..",
                                          ".npm",
                                          "_cacache",
                                          ".npmx",
                                          "Library",
                                          "Caches",
                                          "library",
                                          "CACHES",
                                          ".cache",
                                          "real",
                                          "inward",
                                          "outward",
                                          "upward",
                                          ".git",
                                          ".ssh",
                                          ".aws",
                                          "Keychains",
                                          ".GIT",
                                          "Documents",
                                          ".config",
                                          "\xff\xfe",
                                          "caf\xe9",
                                          "a..b",
                                          "\n",
                                          " ",
                                          "\xcc\x81",
                                          ".gradle",
                                          "go/pkg/mod",
                                          "go/pkg",
                                          "file",
                                          std::string(1, '\0'),
                                          ".pyenv/versions",
                                          "Library/Caches",
                                          ".cargo/registry",
                                          "Library/Containers/com.docker.docker"};

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

TEST(SafetyGuard, AllowsNothingWhoseObjectLiesElsewhere) {
    TestHome home;
    for (const char* folder :
         {".npm/_cacache/real", ".cache/real/real", "Library/Caches/real", "Documents/real"}) {
        home.file(std::string(folder) + "/file", 10);
    }
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
        for (const std::string_view name : pathComponents(place)) {
            ASSERT_EQ(std::ranges::find(kForbiddenComponents, name), kForbiddenComponents.end()) << path;
        }
    }
    EXPECT_GT(allowed, 500) << "the paths are too odd to test anything";
}

}  // namespace
}  // namespace brindle
