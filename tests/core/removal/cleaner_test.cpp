#include "core/removal/cleaner.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/platform/files.h"
#include "core/removal/command_removal.h"
#include "core/removal/tool_report.h"
#include "core/text/core_strings.h"
#include "tests/support/canned_tools.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

CleanupItem itemOf(const std::string& id, RemovalStrategy removal,
                   Classification classification = Classification::safe) {
    CleanupItemFields fields;
    fields.id = id;
    fields.title = id;
    fields.measurement.allocatedBytes = 1000;
    fields.classification = classification;
    fields.removal = std::move(removal);
    return CleanupItem(std::move(fields));
}

class CleanerTest : public ::testing::Test {
  protected:
    CleanerTest() { CoreStrings::setBundles(ResourceBundle(test::resourcesFolder(), "core", {"en"}), {}); }
    ~CleanerTest() override { CoreStrings::setBundles({}, {}); }

    CleanupItem pathItem(const std::string& id, const std::vector<std::string>& relative,
                         Classification classification = Classification::safe) {
        DeletePaths paths;
        for (const std::string& each : relative) paths.paths.push_back(home.path(each));
        return itemOf(id, {paths}, classification);
    }

    Receipt clean(std::vector<CleanupItem> items, bool isDryRun = false, const Toolbox& tools = {}) {
        return Cleaner({tools, Trash(home.path()), home.path()})
            .clean({.items = std::move(items),
                    .safety = SafetyGuard({.home = home.path()}),
                    .isDryRun = isDryRun,
                    .isCancelled = isCancelled,
                    .onProgress = [this](const CleanProgress& now) { progress.push_back(now); }});
    }

    ReceiptEntry cleanOne(const CleanupItem& item, bool isDryRun = false, const Toolbox& tools = {}) {
        return clean({item}, isDryRun, tools).entries.at(0);
    }

    TestHome home;
    CancellationTest isCancelled = [] { return false; };
    std::vector<CleanProgress> progress;
};

TEST_F(CleanerTest, DeletesWhatIsSafeAndTrashesWhatIsToBeReviewed) {
    home.file(".cache/safe/file", 5000);
    home.file(".cache/review/file", 5000);
    const Receipt receipt =
        clean({pathItem("a", {".cache/safe"}), pathItem("b", {".cache/review"}, Classification::review),
               pathItem("c", {".cache"}, Classification::protected_)});
    EXPECT_FALSE(fs::exists(home.path(".cache/safe")));
    EXPECT_FALSE(fs::exists(home.path(".cache/review")));
    const auto& [deleted, trashed, refused] =
        std::tie(receipt.entries[0], receipt.entries[1], receipt.entries[2]);
    EXPECT_EQ(deleted.method, RemovalMethod::deleted);
    EXPECT_GE(deleted.bytes, 5000U) << "measured just before, not the 1,000 of the scan";
    EXPECT_EQ(trashed.method, RemovalMethod::trashed);
    ASSERT_TRUE(trashed.trashedPaths);
    EXPECT_TRUE(fs::exists(trashed.trashedPaths->at(0) + "/file"));
    EXPECT_EQ(receipt.trashedBytes(), trashed.bytes);
    EXPECT_EQ(refused.method, RemovalMethod::refused);
    EXPECT_EQ(refused.note, "classified protected");
    EXPECT_EQ(progress.back(), (CleanProgress{3, 3, "c", receipt.bytesFreed()}));
}

TEST_F(CleanerTest, LeavesAloneWhatIsNotAsTheScanSawIt) {
    struct Case {
        std::string name;
        std::function<void()> change;
        std::string failure;
    };
    const std::string path = home.path(".cache/x");
    for (const Case& each : std::vector<Case>{
             {"gone", [&] { fs::remove_all(path); }, "replaced or missing since scan"},
             {"another folder",
              [&] {
                  fs::rename(path, home.path("old"));
                  home.file(".cache/x/file");
              },
              "replaced or missing since scan"},
             {"another mode", [&] { home.mode(".cache/x", 0711); }, "replaced or missing since scan"},
             {"a secret", [&] { home.file(".cache/x/deep/.env.local"); },
              "The directory contains protected data: .env.local."},
             {"a repository", [&] { home.folder(".cache/x/y/.git"); },
              "The directory contains protected data: .git."}}) {
        home.file(".cache/x/file");
        const CleanupItem item = pathItem("x", {".cache/x"});
        each.change();
        for (const bool isDryRun : {true, false}) {
            const ReceiptEntry entry = cleanOne(item, isDryRun);
            EXPECT_EQ(entry.method, RemovalMethod::failed) << each.name;
            ASSERT_TRUE(entry.pathFailures) << each.name;
            EXPECT_EQ(entry.pathFailures->at(0), path + ": " + each.failure);
        }
        EXPECT_EQ(fs::exists(path), each.name != "gone");
        fs::remove_all(path);
        fs::remove_all(home.path("old"));
    }
}

TEST_F(CleanerTest, RehearsesWithoutTouchingAndSaysWhatWouldHappen) {
    home.file(".cache/a/file");
    home.file(".cache/b/file");
    const auto entries =
        clean({pathItem("a", {".cache/a"}), pathItem("b", {".cache/b"}, Classification::review),
               itemOf("n", {RunCommand{"npm", {"cache", "clean", "--force"}}})},
              true, test::cannedTools({{"npm config get cache", {home.path(".npm")}}}))
            .entries;
    const std::vector<RemovalMethod> methods = {RemovalMethod::deleted, RemovalMethod::trashed,
                                                RemovalMethod::command};
    for (std::size_t index = 0; index < methods.size(); ++index) {
        EXPECT_EQ(entries[index].method, methods[index]);
        EXPECT_EQ(entries[index].bytes, 1000U);
        EXPECT_TRUE(entries[index].note->starts_with("dry run: "));
    }
    EXPECT_TRUE(fs::exists(home.path(".cache/a/file")));
    EXPECT_FALSE(fs::exists(home.path(".local/share/Trash")));
}

TEST_F(CleanerTest, GoesOnAfterAPathThatStays) {
    home.file(".cache/a/file");
    home.file(".cache/b/file");
    const CleanupItem item = pathItem("two", {".cache/a", ".cache/b"});
    fs::remove_all(home.path(".cache/a"));
    const ReceiptEntry entry = cleanOne(item);
    EXPECT_EQ(entry.method, RemovalMethod::deleted);
    EXPECT_TRUE(entry.isPartialFailure());
    EXPECT_EQ(entry.note, "1 path missing since scan");
    EXPECT_FALSE(fs::exists(home.path(".cache/b")));
}

TEST_F(CleanerTest, ReachesNothingMoreOnceCancelled) {
    std::vector<CleanupItem> items;
    for (const char* name : {"a", "b", "c", "d"}) {
        home.file(std::string(".cache/") + name + "/file");
        items.push_back(pathItem(name, {std::string(".cache/") + name}));
    }
    isCancelled = [this] { return progress.size() == 2; };
    EXPECT_EQ(clean(items).entries.size(), 2U);
    EXPECT_FALSE(fs::exists(home.path(".cache/b")));
    EXPECT_TRUE(fs::exists(home.path(".cache/c/file")));
}

TEST_F(CleanerTest, TakesAProjectsFoldersOnlyWhileTheyAreStillOffered) {
    home.file("web/node_modules/x");
    CleanupItem item = pathItem("projects." + home.path("web"), {"web/node_modules"});
    item.moduleID = ModuleID::projects;
    item.projectPath = home.path("web");
    const ReceiptEntry entry = cleanOne(item);
    EXPECT_EQ(entry.method, RemovalMethod::refused);
    EXPECT_EQ(entry.note, "The project changed since the scan. Scan and review it again.");
    EXPECT_TRUE(fs::exists(home.path("web/node_modules/x")));
}

TEST_F(CleanerTest, RunsAToolAndBelievesWhatItSays) {
    struct Case {
        std::string command;
        std::vector<std::string> arguments;
        test::CannedAnswer answer;
        RemovalMethod method;
        std::uint64_t bytes;
        std::string note;
    };
    const std::string endpoint = "docker context inspect --format {{json .Endpoints.docker.Host}}";
    const test::CannedAnswer local{"\"unix:///var/run/docker.sock\"\n"};
    for (const Case& each : std::vector<Case>{
             {"npm", {"cache", "clean", "--force"}, {"", 0}, RemovalMethod::command, 0, ""},
             {"npm",
              {"cache", "clean", "--force"},
              {"npm warn using --force\nnpm error code EACCES\nnpm error path x\n", 243},
              RemovalMethod::failed,
              1000,
              "Command exited with status 243. npm error code EACCES"},
             {"docker",
              {"builder", "prune", "-af"},
              {"Total reclaimed space: 1.5kB\n", 0},
              RemovalMethod::command,
              1500,
              ""},
             {"docker",
              {"builder", "prune", "-af"},
              {"ID\tSIZE\nTotal:\t2kB\n", 0},
              RemovalMethod::command,
              2000,
              ""},
             {"docker", {"builder", "prune", "-af"}, {"done\n", 0}, RemovalMethod::command, 1000, ""},
             {"docker",
              {"image", "prune", "-a"},
              {"", 0},
              RemovalMethod::refused,
              1000,
              "docker image prune -a is not an approved invocation"},
             {"uv",
              {"cache", "clean"},
              {"Cache is currently in-use, waiting for other uv processes\n", 2},
              RemovalMethod::failed,
              1000,
              CommandRemoval::uvCacheInUse()}}) {
        home.file(".npm/_cacache/x");
        std::string line = each.command;
        for (const std::string& argument : each.arguments) line += " " + argument;
        const auto tools = test::cannedTools({{line, each.answer},
                                              {endpoint, local},
                                              {"npm config get cache", {home.path(".npm") + "\n"}},
                                              {"uv cache dir", {home.path(".cache/uv") + "\n"}}});
        const ReceiptEntry entry =
            cleanOne(itemOf("t", {RunCommand{each.command, each.arguments}}), false, tools);
        EXPECT_EQ(entry.method, each.method) << line << each.answer.output;
        EXPECT_EQ(entry.bytes, each.bytes) << line << each.answer.output;
        EXPECT_EQ(entry.note.value_or(""), each.note);
    }
    const auto remote =
        test::cannedTools({{"docker builder prune -af", {"", 0}}, {endpoint, {"\"ssh://a@b\"\n"}}});
    EXPECT_EQ(
        cleanOne(itemOf("t", {RunCommand{"docker", {"builder", "prune", "-af"}}}), false, remote).method,
        RemovalMethod::refused);
}

TEST(ToolReport, ReadsReasonsAndSizes) {
    for (const auto& [output, reason] : std::vector<std::pair<std::string, std::optional<std::string>>>{
             {"npm warn x\nnpm ERR! code E\n  at a\n\tat b\nnpm ERR! more\n", "npm ERR! code E at a at b"},
             {"error: a\n 1\n 2\n\n 3\n 4\n 5\n", "error: a 1 2 3 4"},
             {"Error: No such keg\n", "Error: No such keg"},
             {"errors happened\nnpm errno\nwarning: error\n", std::nullopt},
             {"fatal\nerror\n", "fatal"},
             {"", std::nullopt}}) {
        EXPECT_EQ(failureReason(output), reason) << output;
    }
    for (const auto& [output, bytes] : std::vector<std::pair<std::string, std::optional<std::uint64_t>>>{
             {"x\nTotal reclaimed space: 1.2GB\n", 1200000000U},
             {"Total reclaimed space: 0B\n", 0U},
             {"Total reclaimed space: 0.00 kB", 0U},
             {"Total reclaimed space: 0 of 3 things", std::nullopt},
             {"Total reclaimed space: much", std::nullopt},
             {"Total: 3GB", std::nullopt}}) {
        EXPECT_EQ(reclaimedBytes(output), bytes) << output;
    }
}

}  // namespace
}  // namespace brindle
