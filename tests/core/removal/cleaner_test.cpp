#include "core/removal/cleaner.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/platform/files.h"
#include "core/removal/command_removal.h"
#include "core/removal/tool_report.h"
#include "core/text/core_strings.h"
#include "tests/support/canned_tools.h"
#include "tests/support/sample_item.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::itemOf;
using test::TestHome;

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
    for (const char* file : {".cache/safe/file", ".cache/review/file"}) home.file(file);
    const Receipt receipt =
        clean({pathItem("a", {".cache/safe"}), pathItem("b", {".cache/review"}, Classification::review),
               pathItem("c", {".cache"}, Classification::protected_)});
    EXPECT_FALSE(fs::exists(home.path(".cache/safe")));
    EXPECT_FALSE(fs::exists(home.path(".cache/review")));
    const auto& [deleted, trashed, refused] =
        std::tie(receipt.entries[0], receipt.entries[1], receipt.entries[2]);
    EXPECT_EQ(deleted.method, RemovalMethod::deleted);
    EXPECT_GE(deleted.bytes, 5000U) << "measured just before, not the 1,000 of the scan";
    ASSERT_TRUE(trashed.trashedPaths);
    EXPECT_TRUE(fs::exists(trashed.trashedPaths->at(0) + "/file"));
    EXPECT_EQ(receipt.trashedBytes(), trashed.bytes);
    EXPECT_EQ(refused.note, "classified protected");
    EXPECT_EQ(progress.back(), (CleanProgress{3, 3, "c", receipt.bytesFreed()}));
}

TEST_F(CleanerTest, LeavesAloneWhatIsNotAsTheScanSawIt) {
    const std::string path = home.path(".cache/x");
    const std::string replaced = "replaced or missing since scan";
    const std::string guarded = "The directory contains protected data: ";
    const std::tuple<std::string, std::string, std::function<void()>> cases[] = {
        {"gone", replaced, [&] { fs::remove_all(path); }},
        {"another folder", replaced, [&] { fs::rename(path, home.path("old")), home.file(".cache/x/file"); }},
        {"another mode", replaced, [&] { home.mode(".cache/x", 0711); }},
        {"a secret", guarded + ".env.local.", [&] { home.file(".cache/x/deep/.env.local"); }},
        {"a repository", guarded + ".git.", [&] { home.folder(".cache/x/y/.git"); }}};
    for (const auto& [name, failure, change] : cases) {
        home.file(".cache/x/file");
        const CleanupItem item = pathItem("x", {".cache/x"});
        change();
        for (const bool isDryRun : {true, false}) {
            const ReceiptEntry entry = cleanOne(item, isDryRun);
            EXPECT_EQ(entry.method, RemovalMethod::failed) << name;
            ASSERT_TRUE(entry.pathFailures) << name;
            EXPECT_EQ(entry.pathFailures->at(0), path + ": " + failure) << name;
        }
        EXPECT_EQ(fs::exists(path), name != "gone");
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
    std::vector<RemovalMethod> methods;
    for (const ReceiptEntry& entry : entries) {
        methods.push_back(entry.method);
        EXPECT_TRUE(entry.bytes == 1000 && entry.note->starts_with("dry run: "));
    }
    using enum RemovalMethod;
    EXPECT_EQ(methods, (std::vector{deleted, trashed, command}));
    EXPECT_TRUE(fs::exists(home.path(".cache/a/file")));
    EXPECT_FALSE(fs::exists(home.path(".local/share/Trash")));
}

TEST_F(CleanerTest, GoesOnAfterAPathThatStays) {
    home.file(".cache/a/file");
    home.file(".cache/b/file");
    const CleanupItem item = pathItem("two", {".cache/a", ".cache/b"});
    fs::remove_all(home.path(".cache/a"));
    const ReceiptEntry entry = cleanOne(item);
    EXPECT_TRUE(entry.method == RemovalMethod::deleted && entry.isPartialFailure());
    EXPECT_EQ(entry.note, "1 path missing since scan");
    EXPECT_FALSE(fs::exists(home.path(".cache/b")));
}

TEST_F(CleanerTest, TakesAProjectsFoldersOnlyWhileTheyAreStillOffered) {
    home.file("web/node_modules/x");
    CleanupItem item = pathItem("projects." + home.path("web"), {"web/node_modules"});
    item.moduleID = ModuleID::projects;
    item.projectPath = home.path("web");
    const ReceiptEntry entry = cleanOne(item);
    EXPECT_EQ(entry.note, "The project changed since the scan. Scan and review it again.");
    EXPECT_TRUE(fs::exists(home.path("web/node_modules/x")));
}

TEST_F(CleanerTest, RunsAToolAndBelievesWhatItSays) {
    using enum RemovalMethod;
    struct Case {
        std::string line;
        test::CannedAnswer answer;
        RemovalMethod method;
        std::uint64_t bytes;
        std::string note = "";
        std::string endpoint = "unix:///var/run/docker.sock";
    };
    const test::CannedAnswer denied = {"npm warn using --force\nnpm error code EACCES\nnpm error path x\n",
                                       243};
    const std::string elsewhere = "Docker no longer talks to the engine of this machine. Scan again.";
    const test::CannedAnswer inUse = {"Cache is currently in-use, wait\n", 2};
    const Case cases[] = {
        {"npm cache clean --force", {""}, command, 0},
        {"npm cache clean --force", denied, failed, 1000,
         "Command exited with status 243. npm error code EACCES"},
        {"docker builder prune -af", {"Total reclaimed space: 1.5kB\n"}, command, 1500},
        {"docker builder prune -af", {"ID\tSIZE\nTotal:\t2kB\n"}, command, 2000},
        {"docker builder prune -af", {"done\n"}, command, 1000},
        {"docker image prune -a", {""}, refused, 1000, "docker image prune -a is not an approved invocation"},
        {"uv cache clean", inUse, failed, 1000, CommandRemoval::uvCacheInUse()},
        {"docker builder prune -af", {""}, refused, 1000, elsewhere, "ssh://a@b"},
    };
    for (const Case& each : cases) {
        home.file(".npm/_cacache/x");
        const std::vector<std::string> words = test::wordsOf(each.line);
        const RunCommand run{words.front(), {words.begin() + 1, words.end()}};
        const auto tools =
            test::cannedTools({{each.line, each.answer},
                               {"docker context inspect --format {{json .Endpoints.docker.Host}}",
                                {'"' + each.endpoint + "\"\n"}},
                               {"npm config get cache", {home.path(".npm") + "\n"}},
                               {"uv cache dir", {home.path(".cache/uv") + "\n"}}});
        const ReceiptEntry entry = cleanOne(itemOf("t", {run}), false, tools);
        EXPECT_EQ(entry.method, each.method) << each.line << each.answer.output;
        EXPECT_EQ(entry.bytes, each.bytes) << each.line << each.answer.output;
        EXPECT_EQ(entry.note.value_or(""), each.note);
    }
}

TEST_F(CleanerTest, MeasuresWhatAToolTookBeforeItFailedAndBeginsNothingAfterACancellation) {
    const std::string data = home.path(".cache/uv");
    home.file(".cache/uv/x");
    const std::map<std::string, test::CannedAnswer> answers = {{"uv cache dir", {data + "\n"}},
                                                               {"uv cache clean", {"error: x\n", 2}}};
    Toolbox tools = test::cannedTools(answers);
    tools.run = [&](auto executable, const auto& arguments, const RunOptions& options) {
        if (arguments.back() == "clean") fs::remove_all(data);
        return test::cannedTools(answers).run(executable, arguments, options);
    };
    const CleanupItem item = itemOf("t", {RunCommand{"uv", {"cache", "clean"}}});
    const ReceiptEntry entry = cleanOne(item, false, tools);
    EXPECT_EQ(entry.method, RemovalMethod::command);
    EXPECT_GE(entry.bytes, 5000U);
    EXPECT_TRUE(entry.isPartialFailure());

    // Asked where its data lies, the tool has no time to answer.
    int asked = 0;
    isCancelled = [&] { return asked++ > 0; };
    EXPECT_TRUE(clean({item}, false, test::cannedTools({})).entries.empty());
}

TEST(ToolReport, ReadsReasonsAndSizes) {
    const std::pair<std::string, std::optional<std::string>> reasons[] = {
        {"npm warn x\nnpm ERR! code E\n  at a\n\tat b\nnpm ERR! more\n", "npm ERR! code E at a at b"},
        {"error: a\n 1\n 2\n\n 3\n 4\n 5\n", "error: a 1 2 3 4"},
        {"Error: No such keg\n", "Error: No such keg"},
        {"errors happened\nnpm errno\nwarning: error\n", std::nullopt},
        {"fatal\nerror\n", "fatal"}};
    for (const auto& [output, reason] : reasons) EXPECT_EQ(failureReason(output), reason) << output;
    const std::pair<std::string, std::optional<std::uint64_t>> sizes[] = {
        {"x\nTotal reclaimed space: 1.2GB\n", 1200000000U},
        {"Total reclaimed space: 0.00 kB", 0U},
        {"Total reclaimed space: 0 of 3 things", std::nullopt},
        {"Total reclaimed space: much", std::nullopt},
        {"Total: 3GB", std::nullopt}};
    for (const auto& [output, bytes] : sizes) EXPECT_EQ(reclaimedBytes(output), bytes) << output;
}

}  // namespace
}  // namespace brindle
