// brindle clean on homes that the tests declare: what it takes, what it refuses, what it says, how it ends.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "cli/answer.h"
#include "cli/clean_page.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/removal/cleanup_journal.h"
#include "core/removal/history_store.h"
#include "tests/cli/collected_run.h"
#include "tests/support/sample_item.h"

namespace brindle::test {

namespace {

using nlohmann::json;

constexpr const char* kPip = "Library/Caches/pip";
constexpr const char* kHub = ".cache/huggingface/hub";

// A home with what is safe, to review and protected; none of it needs a tool that may not be there.
class CleanCommand : public testing::Test {
  protected:
    CleanCommand() {
        home.file(std::string(kPip) + "/wheel", 300'000);
        home.modified(std::string(kPip) + "/wheel", 1'000'000'000);
        home.file(".cargo/registry/index", 50'000);
        home.file(std::string(kHub) + "/model", 900'000);
        home.file(".claude/projects/session", 70'000);
    }
    bool isUntouched() const {
        return exists(home.path(std::string(kPip) + "/wheel")) &&
               exists(home.path(".cargo/registry/index")) &&
               exists(home.path(std::string(kHub) + "/model")) &&
               exists(home.path(".claude/projects/session"));
    }
    TestHome home;
};
using CleanExplainCommand = CleanCommand;

CollectedRun answering(const TestHome& home, std::vector<std::string> arguments,
                       std::deque<std::string> answers) {
    arguments.insert(arguments.begin(), {"--no-color", "clean"});
    return runIn(home, std::move(arguments), {.terminal = 100, .answers = std::move(answers)});
}

CollectedRun cleanIn(const TestHome& home, std::vector<std::string> arguments,
                     const RunSettings& settings = {}) {
    arguments.insert(arguments.begin(), "clean");
    return runIn(home, std::move(arguments), settings);
}

using Ids = std::vector<std::string>;

}  // namespace

TEST_F(CleanCommand, TakesWhatIsChosenAndNothingElse) {
    const std::tuple<std::string, Ids> cases[] = {
        {"--safe", {"python.pip", "rust.cargoRegistry"}},
        {"--older-than 30d", {"python.pip"}},
        {"--older-than 4w --min-size 1GB", {}},
        {"--module tools --include-review", {"tools.hf"}},
        {"--include-review --min-size 100KB", {"python.pip", "tools.hf"}},
        {"tools.hf rust.cargoRegistry tools.hf", {"rust.cargoRegistry", "tools.hf"}},
        {"cargoReg", {"rust.cargoRegistry"}},
        {"~/.cache/huggingface/hub", {"tools.hf"}},
        {"./Library/Caches/pip/", {"python.pip"}},
    };
    for (const auto& [line, expected] : cases) {
        const CollectedRun run = cleanIn(home, wordsOf(line + " --dry-run --json"));
        EXPECT_EQ(run.code, expected.empty() ? ExitCode::kNothingToDo : ExitCode::success) << run.messages;
        Ids ids;
        if (!expected.empty()) {
            const json document = json::parse(run.result);
            for (const json& entry : document["entries"]) ids.push_back(entry["itemID"]);
        }
        std::ranges::sort(ids);
        EXPECT_EQ(ids, expected) << line;
    }
    EXPECT_TRUE(isUntouched());
}

TEST_F(CleanCommand, RefusesWhatIsUnclearUnsafeOrUnasked) {
    home.text("notes.txt", "mine");
    home.text("plan.json", "{\"version\": 1");
    using enum ExitCode;
    const std::tuple<const char*, ExitCode, std::string> cases[] = {
        {"", usage, "say what to clean"},
        {"ai.claudeCodeSessions --yes", kSomeFailed, "classified protected: "},
        {"tools.hf --safe --yes", kSomeFailed, "it is judged \"review\""},
        {"python.pip --min-size 1TB --yes", kSomeFailed, "smaller than 1.0 TB"},
        {"rust.cargoRegistry --older-than 9d --yes", kSomeFailed, "less than 9 days ago"},
        {"--module tools --yes", kNothingToDo, "1 item to review is left out."},
        {"--module go --yes", kNothingToDo, "there is nothing to clean"},
        {"--safe", failed, "no terminal on which to ask first"},
        {"python.pup --yes", notFound, "did you mean python.pip?"},
        {"cargoReg --yes", usage, "--yes takes only whole names"},
        {"o --yes", notFound, "this scan found no item o"},
        {".cache --yes", usage, "~/.cache is no item itself; it holds tools.hf"},
        {".cache/huggingface/hub/model --yes", usage, "a part of the item tools.hf"},
        {"--safe --include-review", usage, "contradict each other"},
        {"--older-than -3d", usage, "-3d"},
        {"--json --safe", usage, "it needs --yes or --dry-run"},
        {"--plan plan.json --safe", usage, "the plan says what to clean"},
        {"--plan nowhere.json --yes", failed, "could not read the plan"},
        {"--plan plan.json --yes", failed, "not JSON"},
        {"--safe --dry-run --plan notes.txt", failed, "what lies there is no plan"},
    };
    for (const auto& [line, code, said] : cases) {
        const CollectedRun run = cleanIn(home, wordsOf(line));
        EXPECT_EQ(run.code, code) << said << " in\n" << run.messages;
        expectAll({said}, run.result + run.messages);
    }
    EXPECT_TRUE(isUntouched());
    EXPECT_EQ(readFile(home.path("notes.txt")), "mine");
}

TEST_F(CleanCommand, ShowsAsksAndTellsWhatCameOfIt) {
    const std::vector<std::string> both = {"python.pip", "tools.hf"};
    for (const std::string no : {"", "n", "yeah", "1"})
        EXPECT_EQ(answering(home, both, {no}).result, "Nothing was removed.\n");
    EXPECT_TRUE(isUntouched());
    const CollectedRun run = answering(home, both, {"Yes"});
    EXPECT_EQ(run.code, ExitCode::success) << run.result;
    expectAll({"deleted outright:", "      " + home.path(kPip) + "\n",
               "moved to the Trash:", "      " + home.path(kHub) + "\n", "comes back with: pip install",
               " only after the Trash is emptied.", "Clean 2 items? [y/N] "},
              run.messages);
    expectAll({"deleted: ", "in the Trash: ", "Freed ", " lie in the Trash, and are free once it is emptied.",
               " were free before, ", "2 items cleaned, 0 refused or failed. Recorded in History.\n"},
              run.result);
    EXPECT_FALSE(exists(home.path(kPip)) || exists(home.path(kHub)));
    const auto history = HistoryStore::ofHome(home.path()).loadChecked();
    ASSERT_TRUE(history && history->size() == 1U);
    EXPECT_TRUE(exists(history->front().entries.back().trashedPaths.value().front() + "/model"));
}

TEST_F(CleanCommand, LetsOnePickByNumber) {
    const CollectedRun none = answering(home, {}, {"9", "all", "0-1"});
    EXPECT_EQ(none.code, ExitCode::kNothingToDo);
    expectAll(
        {"1  ", "tools.hf", "2  ", "python.pip", "3  ", "rust.cargoRegistry", "all was not understood."},
        none.messages);
    EXPECT_FALSE(contains(none.messages, "claudeCode"));
    EXPECT_EQ(answering(home, {}, {}).code, ExitCode::usage) << "nobody is there";
    EXPECT_EQ(answering(home, {}, {"1-2", "no"}).code, ExitCode::success);
    EXPECT_TRUE(isUntouched());
    EXPECT_EQ(answering(home, {}, {"all safe", "y"}).code, ExitCode::success);
    EXPECT_FALSE(exists(home.path(kPip)) || exists(home.path(".cargo/registry")));
    EXPECT_TRUE(exists(home.path(kHub)));
    EXPECT_EQ(answering(home, {"--yes"}, {"1"}).code, ExitCode::success) << "whoever picks it names it";
    EXPECT_FALSE(exists(home.path(kHub)));
}

TEST_F(CleanCommand, UnderstandsNumbersAndRanges) {
    using List = std::vector<std::size_t>;
    const std::pair<std::string, std::optional<List>> cases[] = {
        {"1 3-5", List{1, 3, 4, 5}}, {" 5-5 , 1,1", List{1, 5}}, {"", List{}},
        {"0", std::nullopt},         {"6", std::nullopt},
    };
    for (const auto& [answer, expected] : cases) EXPECT_EQ(numbersIn(answer, 5), expected) << answer;
    for (const char* no : {"3-1", "1-", "-1", "1-2-3", "one", "1x", "99999999999999999999"})
        EXPECT_EQ(numbersIn(no, 5), std::nullopt) << no;
}

TEST_F(CleanCommand, StopsWhereItIsToldTo) {
    const RunSettings atOnce{.isInterrupted = [] { return true; }};
    EXPECT_EQ(cleanIn(home, {"--safe", "--yes"}, atOnce).code, ExitCode::interrupted);
    EXPECT_TRUE(isUntouched());
    const RunSettings afterTheFirst{.isInterrupted = [&] { return !exists(home.path(kPip)); }};
    const CollectedRun run = cleanIn(home, {"python.pip", "tools.hf", "--yes"}, afterTheFirst);
    EXPECT_EQ(run.code, ExitCode::interrupted);
    expectAll(
        {"The cleanup was cut short. 1 item was not begun.", "1 item cleaned, 0 refused or failed. Recorded"},
        run.result);
    EXPECT_TRUE(exists(home.path(kHub)));
}

TEST_F(CleanCommand, StartsOnlyWhenItCanBeRecordedAndIsAlone) {
    const std::string directory = HistoryStore::ofHome(home.path()).directory();
    {
        const auto lock = FileLock::acquire(directory + "/cleanup.lock");
        EXPECT_EQ(cleanIn(home, {"--safe", "--yes"}).code, ExitCode::kBusy);
    }
    ASSERT_TRUE(CleanupJournal::begin(directory, {.id = *Uuid::fresh(),
                                                  .performedAt = std::chrono::system_clock::now(),
                                                  .items = {plannedItem(itemOf("docker.images", {}))}}));
    EXPECT_TRUE(contains(runIn(home, {"modules"}).messages, "an earlier cleanup was interrupted"));
    EXPECT_EQ(runIn(home, {"modules"}).messages, "") << "told once";
    ASSERT_TRUE(writeFileAtomically(journalPath(directory), "broken\n"));
    EXPECT_TRUE(contains(runIn(home, {"modules"}).messages, "could not be recorded"));
    EXPECT_EQ(cleanIn(home, {"--safe", "--yes"}).code, ExitCode::kHistoryUnreadable);
    ASSERT_TRUE(removeJournal(directory));
    ASSERT_TRUE(writeFileAtomically(directory + "/history.json", "broken"));
    EXPECT_EQ(cleanIn(home, {"--safe", "--dry-run"}).code, ExitCode::kHistoryUnreadable);
    home.text(".config/brindle/preferences.json", "{ broken");
    EXPECT_EQ(cleanIn(home, {"--safe", "--yes"}).code, ExitCode::failed);
    EXPECT_TRUE(isUntouched());
}

TEST_F(CleanCommand, DoesExactlyWhatAPlanSays) {
    const std::vector<std::string> writing = {"--include-review", "--dry-run", "--plan", "plan.json"};
    expectAll({home.path(kPip), "would be deleted", "would go to the Trash", "3 items would go, 0 refused"},
              cleanIn(home, writing).result);
    EXPECT_EQ(cleanIn(home, writing).code, ExitCode::success);
    home.file(".cache/uv/later", 10'000);  // offered, but not planned
    home.mode(".cargo/registry", 0711);
    const CollectedRun run = cleanIn(home, {"--plan", "plan.json", "--yes", "--json"});
    EXPECT_EQ(run.code, ExitCode::kSomeFailed) << run.messages;
    const json document = json::parse(run.result);
    EXPECT_EQ(document["entries"].size(), 2U);
    EXPECT_EQ(document["isRecorded"], true);
    EXPECT_EQ(document["bytesFreed"], document["trashedBytes"].get<std::uint64_t>() +
                                          document["reclaimedBytes"].get<std::uint64_t>());
    EXPECT_EQ(document["leftAlone"][0]["itemID"], "rust.cargoRegistry");
    EXPECT_TRUE(contains(document["leftAlone"][0]["reason"], "changed since the plan was made: "));
    EXPECT_TRUE(exists(home.path(".cargo/registry/index")) && exists(home.path(".cache/uv/later")));
    EXPECT_FALSE(exists(home.path(kPip)) || exists(home.path(kHub)));
    TestHome other;
    other.text("plan.json", *readFile(home.path("plan.json")));
    EXPECT_TRUE(contains(cleanIn(other, {"--plan", "plan.json"}).messages, "not for this home"));
}

TEST(CleanPage, SaysWhyTheVolumeGainedSomethingElse) {
    CleanupItem item = itemOf("docker.images", {}, Classification::safe, 2'000'000'000);
    item.measurement.hardLinkedBytes = 5;
    const std::tuple<std::uint64_t, std::string, std::string> cases[] = {
        {2'999'000'000, "The volume gained 2.0 GB", ""},
        {1'500'000'000, "The volume gained 500.0 MB",
         "less than was freed. It may be that files with further names"},
        {1'500'000'000, "500.0 MB", "gives its space back later; blocks that clones"},
        {400'000'000, "The volume lost 600.0 MB", "other programs were writing meanwhile."},
        {9'000'000'000, "The volume gained 8.0 GB", "more than was freed"},
    };
    for (const auto& [after, said, reason] : cases) {
        CleanOutcome outcome;
        outcome.receipt.entries = {plannedItem(item).entry};
        outcome.before = VolumeCapacity{.name = {}, .availableBytes = 1'000'000'000};
        outcome.after = VolumeCapacity{.name = {}, .availableBytes = after};
        const std::string text = outcomeText({outcome, {item}, {}, true},
                                             {.width = 1000, .palette = Palette(false), .glyphs = {}});
        expectAll({said, reason, "0 refused or failed. History could not be saved."}, text);
        EXPECT_EQ(contains(text, "That is "), !reason.empty()) << text;
    }
}

TEST_F(CleanExplainCommand, TellsWhatTheSafetyGuardWouldSay) {
    home.file(".ssh/id", 10);
    home.file(".cache/unknown/x", 10);
    home.file(std::string(kPip) + "/.env", 10);
    const std::tuple<std::string, std::string> cases[] = {
        {"rust.cargoRegistry", "would let it go now"},
        {"python.pip", "would refuse it now: The directory contains protected data: .env."},
        {"ai.claudeCodeSessions", "would refuse it now: classified protected"},
        {".ssh", "would refuse it, too: contains .ssh, which is never removable"},
        {".cache/unknown", "has nothing against the path; but"},
        {"/usr", "would refuse it, too: outside the home folder"},
    };
    for (const auto& [subject, said] : cases) {
        expectAll({said}, runIn(home, {"explain", subject}, {.terminal = 300}).result);
        const json guard = json::parse(runIn(home, {"explain", subject, "--json"}).result)["guard"];
        EXPECT_EQ(guard["isAllowed"], !contains(said, "would refuse")) << subject;
    }
}

}  // namespace brindle::test
