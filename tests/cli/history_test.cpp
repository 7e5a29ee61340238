// The history and the way back as a person meets them: on real folders, through the command line.
#ifdef __linux__
#include <gtest/gtest.h>

#include "cli/receipt_lookup.h"
#include "core/model/model_json.h"
#include "core/platform/files.h"
#include "core/removal/history_store.h"
#include "core/text/core_strings.h"
#include "tests/cli/collected_run.h"
#include "tests/support/trashing.h"

namespace brindle {
namespace {

using test::contains;
using test::expectAll;
using test::runIn;
using test::unwrapped;
using Texts = std::vector<std::string>;

Receipt receiptNumbered(std::uint8_t first, std::uint8_t second) {
    Receipt receipt;
    receipt.id.bytes[0] = first;
    receipt.id.bytes[1] = second;
    receipt.performedAt = *timeFromIso8601("2026-11-20T07:19:27Z");
    return receipt;
}

// Two cleanups: one of every outcome, whose second entry lies in the Trash, and after it a rehearsal.
class HistoryCommands : public testing::Test {
  protected:
    test::TestHome home;
    HistoryStore store = HistoryStore::ofHome(home.path());
    std::string path = home.text("Library/odd \xff\x1b[2J", "bytes");

    void SetUp() override {
        Receipt receipt = receiptNumbered(0xAB, 0xCD);
        for (const auto& [method, id] : {std::pair{RemovalMethod::deleted, "rust.cargo"},
                                         {RemovalMethod::trashed, "tools.odd"},
                                         {RemovalMethod::command, "node.npm"},
                                         {RemovalMethod::refused, "system.logs"},
                                         {RemovalMethod::failed, "go.modules"}}) {
            ReceiptEntry& entry = receipt.entries.emplace_back();
            entry.itemID = entry.title = id;
            entry.paths = {home.path(id)};
            entry.bytes = 1'000'000;
            entry.method = method;
        }
        receipt.entries[0].pathFailures = {"~/x: busy"};
        receipt.entries[0].regeneratedBy = Regeneration{Regeneration::Kind::command, "cargo build"};
        test::trashInto(receipt.entries[1], Trash(home.path()), {path});
        ASSERT_TRUE(store.append(receipt));
        Receipt rehearsal = receiptNumbered(0xAB, 0xCE);
        rehearsal.wasDryRun = true;
        rehearsal.entries = {receipt.entries[0]};
        ASSERT_TRUE(store.append(rehearsal));
    }

    std::string trashed() const { return store.load().at(1).entries.at(1).trashedPaths->at(0); }
};

TEST_F(HistoryCommands, ListAndPageTellWhatWentAndHowItComesBack) {
    const auto list = runIn(home, {"history"}, {.terminal = 120});
    EXPECT_EQ(list.code, ExitCode::success) << list.messages;
    expectAll({"1 2026-11-20 07:19 UTC - - rehearsal · 1 item · 1 failed",
               "2 2026-11-20 07:19 UTC 2.0 MB 1.0 MB 5 items · 1 refused · 2 failed · can be put back"},
              unwrapped(list.result));
    const auto page = runIn(home, {"history", "abcd0", "--no-color"}, {.terminal = 120});
    expectAll({"2.0 MB freed, 1.0 MB moved to the Trash: free once it is emptied.",
               "deleted, but not all of it 1.0 MB", "by running: cargo build", "What went wrong ~/x: busy",
               "odd \\xFF\\x1B[2J: can be put back to ~/Library/odd \\xFF\\x1B[2J",
               "refused: nothing was touched 1.0 MB", "brindle restore ABCD0000"},
              unwrapped(page.result));
    EXPECT_FALSE(contains(page.result, "\x1b[2J"));
    const std::string rehearsal = unwrapped(runIn(home, {"history", "1"}).result);
    expectAll({"A rehearsal: nothing was removed.", "would be deleted"}, rehearsal);
    EXPECT_FALSE(contains(rehearsal, "brindle restore"));

    const Json json = Json::parse(runIn(home, {"history", "2", "--json"}).result);
    EXPECT_EQ(json["reclaimedBytes"], 2'000'000);
    EXPECT_EQ(bytesOfJsonText(json["entries"][1]["trashed"][0]["from"].get<std::string>()), path);
    EXPECT_EQ(json["entries"][1]["trashed"][0]["canBePutBack"], true);
}

TEST_F(HistoryCommands, EndAsTheirCodeSays) {
    using enum ExitCode;
    const std::tuple<const char*, std::deque<std::string>, ExitCode, const char*, bool> cases[] = {
        {"history 3", {}, notFound, "there is no cleanup 3", false},
        {"restore 2 no\x1b", {}, notFound, "no entry no\\x1B", false},
        {"restore 1", {}, kNothingToDo, "Nothing of it lies in the Trash.", false},
        {"restore 2 --json", {}, usage, "needs --yes or --dry-run", false},
        {"restore 2 --dry-run", {}, success, "would be put back", false},
        {"restore 2", {}, failed, "no terminal on which to ask", false},
        {"restore 2", {"n"}, success, "Nothing was put back.", false},
        {"restore 2 --as Library --yes", {}, kSomeFailed, "restore ABCD0000 2 --as PATH", false},
        {"restore 2 tools.odd 2", {"y"}, success, "Put it back? [y/N] ", true},
        {"restore abcd --yes", {}, kNothingToDo, "", true},
    };
    for (const auto& [line, answers, code, expected, isBack] : cases) {
        const auto run = runIn(home, test::wordsOf(line), {.answers = answers});
        const std::string said = run.messages + run.result;
        EXPECT_EQ(run.code, code) << said;
        expectAll({expected}, said);
        EXPECT_FALSE(contains(said, "\x1b"));
        EXPECT_EQ(readFile(path).has_value(), isBack) << said;
    }
    expectAll({"Since then Put back on 20"}, unwrapped(runIn(home, {"history", "2"}).result));
}

TEST_F(HistoryCommands, RestoreSaysWhatBecameOfEachThing) {
    const auto run = [this](const Texts& more) {
        Texts arguments = {"restore", "2", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const auto ran = runIn(home, arguments);
        return std::pair{ran.code, Json::parse(ran.result)["results"][0]["outcome"].get<std::string>()};
    };
    using Said = std::pair<ExitCode, std::string>;
    home.text("Library/odd \xff\x1b[2J", "new");
    EXPECT_EQ(run({"--yes"}), (Said{ExitCode::kSomeFailed, "occupied"}));
    EXPECT_EQ(readFile(path), "new");
    EXPECT_EQ(run({"--dry-run", "--as", "made/copy"}), (Said{ExitCode::success, "putBack"}));
    EXPECT_EQ(run({"--yes", "--as", "made/copy"}), (Said{ExitCode::success, "putBack"}));
    EXPECT_EQ(readFile(home.path("made/copy")), "bytes");
}

TEST_F(HistoryCommands, StopBeforeAnythingIsTouched) {
    {
        const auto lock = FileLock::tryAcquire(store.directory() + "/cleanup.lock");
        EXPECT_EQ(runIn(home, {"restore", "2", "--yes"}).code, ExitCode::kBusy);
        EXPECT_EQ(runIn(home, {"history"}).code, ExitCode::success);
    }
    const auto stopped = runIn(home, {"restore", "2", "--yes"}, {.isInterrupted = [] { return true; }});
    EXPECT_EQ(stopped.code, ExitCode::interrupted);
    EXPECT_TRUE(statusOf(trashed()));
    const std::string there = trashed();
    home.text("Library/Application Support/Brindle/history.json", "[{");
    for (const Texts& arguments : {Texts{"history"}, {"history", "2"}, {"restore", "2", "--yes"}}) {
        const auto unreadable = runIn(home, arguments);
        EXPECT_EQ(unreadable.code, ExitCode::kHistoryUnreadable);
        expectAll({"The original file has been preserved; repair or restore it"}, unreadable.messages);
    }
    EXPECT_TRUE(statusOf(there));
    EXPECT_EQ(readFile(store.url()), "[{");

    const test::TestHome fresh;
    EXPECT_EQ(runIn(fresh, {"restore", "1"}).code, ExitCode::notFound);
    EXPECT_FALSE(statusOf(fresh.path("Library"))) << "looking makes nothing";
}

TEST(ReceiptLookup, TakesANumberOrAUniqueBeginning) {
    std::vector<Receipt> receipts = {receiptNumbered(0xAB, 0xCD), receiptNumbered(0xAB, 0xCE),
                                     receiptNumbered(0x12, 0x34), receiptNumbered(0xAB, 0xCD)};
    receipts[3].id.bytes[15] = 1;
    const std::pair<const char*, int> cases[] = {{"1", 0},     {"4", 3},    {"5", -1},   {"0", -1},
                                                 {"ABCE", 1},  {"abce", 1}, {"1234", 2}, {"abc", -1},
                                                 {"abcd", -1}, {"", -1},    {"-1", -1},  {"1 ", -1}};
    for (const auto& [typed, expected] : cases) {
        const auto found = receiptNamed(typed, receipts);
        EXPECT_EQ(found ? static_cast<int>(*found) : -1, expected) << typed;
    }
    EXPECT_EQ(shortIdentity(receipts[1], receipts), "ABCE0000");
    EXPECT_EQ(receiptNamed(shortIdentity(receipts[3], receipts), receipts), 3U);
    receipts.resize(2000, receiptNumbered(0xFF, 0));
    EXPECT_FALSE(receiptNamed("1234", receipts)) << "a number, and a beginning";
}

}  // namespace
}  // namespace brindle
#endif
