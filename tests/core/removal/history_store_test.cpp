#include "core/removal/history_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "core/model/receipt_json.h"
#include "core/platform/files.h"
#include "core/removal/interrupted_cleanup.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

Receipt receiptOf(int number) {
    Receipt receipt;
    receipt.id.bytes[0] = static_cast<std::uint8_t>(number);
    receipt.entries.emplace_back().paths = {"/no utf-8 \xff"};
    return receipt;
}

TEST(HistoryStore, KeepsReceiptsNewestFirstAndForTheUserAlone) {
    TestHome home;
    HistoryStore store = HistoryStore::ofHome(home.path());
    EXPECT_EQ(store.url(), home.path("Library/Application Support/Brindle/history.json"));
    EXPECT_TRUE(store.loadChecked().value().empty());
    for (const int number : {1, 2, 1}) EXPECT_TRUE(store.append(receiptOf(number)));
    EXPECT_EQ(*store.loadChecked(), (std::vector{receiptOf(2), receiptOf(1)})) << "each identity once";
    EXPECT_EQ(fs::status(store.url()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(store.directory()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(listFolder(store.directory())->size(), 1U) << "nothing is left beside it";

    Receipt older = receiptOf(1);
    older.wasDryRun = true;
    ASSERT_TRUE(writeFileAtomically(store.url(), receiptsText({receiptOf(1), receiptOf(2), older})));
    EXPECT_TRUE(store.append(receiptOf(3)));
    EXPECT_EQ(store.load(), (std::vector{receiptOf(3), receiptOf(1), receiptOf(2)})) << "the first counts";
}

TEST(HistoryStore, ReplacesAReceiptWhereItStands) {
    TestHome home;
    HistoryStore store(home.path());
    for (const int number : {1, 2, 3}) EXPECT_TRUE(store.append(receiptOf(number)));
    Receipt changed = receiptOf(2);
    changed.entries.front().action = "Put back";
    EXPECT_TRUE(store.replaceChecked(changed));
    EXPECT_EQ(*store.loadChecked(), (std::vector{receiptOf(3), changed, receiptOf(1)}));
    EXPECT_EQ(store.replaceChecked(receiptOf(4)).error().kind, Error::Kind::missing);
    home.text("history.json", "[{");
    EXPECT_FALSE(store.replaceChecked(changed));
    EXPECT_EQ(readFile(store.url()), "[{");
}

TEST(HistoryStore, LeavesWhatItCannotReadByteForByte) {
    for (const std::string& damaged :
         {std::string(), std::string("[{"), std::string("{}"), std::string(100'000, '['),
          std::string(3, '\0'), receiptsText({receiptOf(1)}).substr(0, 60),
          std::string("[{\"id\": \"\xff\"}]")}) {
        TestHome home;
        HistoryStore store(home.path());
        home.text("history.json", damaged);
        const auto loaded = store.loadChecked();
        ASSERT_FALSE(loaded) << damaged;
        EXPECT_TRUE(store.load().empty());
        EXPECT_FALSE(store.append(receiptOf(1)));
        EXPECT_EQ(readFile(store.url()), damaged);
    }
}

TEST(HistoryStore, SaysNoWhenItCannotStore) {
    TestHome home;
    home.file("blocked");
    EXPECT_FALSE(HistoryStore(home.path("blocked/Brindle")).append(receiptOf(1)));
    home.folder("taken/history.json");
    EXPECT_FALSE(HistoryStore(home.path("taken")).loadChecked());

    // The volume with the real one may only be missing now.
    home.folder("away");
    home.link("away/history.json", home.path("unmounted/history.json"));
    EXPECT_FALSE(HistoryStore(home.path("away")).loadChecked());
    EXPECT_FALSE(HistoryStore(home.path("away")).append(receiptOf(1)));

    // More than a later reader would take.
    Receipt endless = receiptOf(1);
    endless.entries.front().bytes = ~std::uint64_t{0};
    endless.entries.push_back(endless.entries.front());
    HistoryStore store(home.path("kept"));
    EXPECT_FALSE(store.append(endless));
    EXPECT_TRUE(store.append(receiptOf(2)));
    endless.entries.assign(1, {});
    endless.entries.front().note = std::string(kReceiptsLimit, 'n');
    EXPECT_FALSE(store.append(endless));
    EXPECT_EQ(*store.loadChecked(), std::vector{receiptOf(2)});
}

TEST(HistoryStoreUnprivileged, SaysNoInAReadOnlyFolder) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    TestHome home;
    HistoryStore store(home.folder("Brindle"));
    ASSERT_TRUE(store.append(receiptOf(1)));
    home.mode("Brindle", 0500);
    EXPECT_FALSE(store.append(receiptOf(2)));
    EXPECT_EQ(store.load(), std::vector{receiptOf(1)});
    home.mode("Brindle", 0700);
    home.mode("Brindle/history.json", 0);
    EXPECT_FALSE(store.loadChecked()) << "there, and not to be read";
    EXPECT_FALSE(store.append(receiptOf(2)));
}

TEST(HistoryStore, KnowsWhatStillLiesInTheTrash) {
    TestHome home;
    Receipt receipt = receiptOf(1);
    receipt.entries.resize(3);
    receipt.entries[1].trashedPaths = {home.path("gone"), home.link("Trash/link", "nowhere")};
    receipt.entries[2].trashedPaths = {home.path("gone")};
    EXPECT_EQ(recoverableNow(receipt), std::vector{receipt.entries[1]});
}

struct Seen {
    std::optional<PathIdentity> there = {};
    std::optional<std::uint64_t> bytes = {};
    std::optional<std::string> inTrash = {};
};
using Disk = std::map<std::string, Seen>;

// "?" is nowhere to be seen, and "!" in no Trash that can be read.
struct StatedDisk final : RemovalProbe {
    Disk disk;
    explicit StatedDisk(Disk stated = {}) : disk(std::move(stated)) {}
    Seen at(const std::string& path) const { return disk.contains(path) ? disk.at(path) : Seen(); }
    std::expected<std::optional<PathIdentity>, Error> identityAt(const std::string& path) const override {
        if (path == "/?") return std::unexpected(errorFrom(EIO, "examine", path));
        return at(path).there;
    }
    std::optional<std::uint64_t> bytesBelow(const std::string& path) const override { return at(path).bytes; }
    std::expected<std::optional<std::string>, Error> placeInTrash(const std::string& path,
                                                                  const PathIdentity&) const override {
        if (path == "/!") return std::unexpected(errorFrom(EACCES, "look through", path));
        return at(path).inTrash;
    }
};

constexpr PathIdentity kBefore{-3, 77, 0040755};

PlannedItem itemOf(const std::string& id, RemovalMethod method, const std::vector<std::string>& paths) {
    PlannedItem item;
    item.entry.itemID = id;
    item.entry.paths = paths;
    item.entry.bytes = 1000;
    item.entry.method = method;
    for (const std::string& path : paths) item.identities.emplace(path, kBefore);
    return item;
}

CleanupIntent threeItems() {
    return {.id = *uuidFrom("f81d4fae-7dec-41d0-a765-00a0c91e6bf6"),
            .performedAt = *timeFromIso8601("2026-11-21T19:39:00Z"),
            .items = {itemOf("a", RemovalMethod::deleted, {"/a \xff\n"}),
                      itemOf("b", RemovalMethod::trashed, {"/b"}), itemOf("c", RemovalMethod::command, {})}};
}

// A journal of which two items are finished.
std::string writtenJournal(const std::string& directory) {
    auto journal = CleanupJournal::begin(directory, threeItems());
    EXPECT_TRUE(journal) << journal.error().describe();
    for (const std::size_t index : {0U, 1U}) EXPECT_TRUE(journal->record(threeItems().items[index].entry));
    return readFile(journalPath(directory)).value();
}

TEST(CleanupJournal, HoldsTheIntentAndEachOutcomeUntilItIsFinished) {
    TestHome home;
    const std::string directory = home.path("made/Brindle");
    EXPECT_EQ(readJournal(directory), std::nullopt);
    writtenJournal(directory);
    EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(journalPath(directory)).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    const auto content = readJournal(directory);
    ASSERT_TRUE(content && *content);
    EXPECT_TRUE((*content)->intent == threeItems() && (*content)->finished.size() == 2);
    EXPECT_EQ(CleanupJournal::begin(directory, threeItems()).error().kind, Error::Kind::alreadyExists);

    EXPECT_TRUE(CleanupJournal::begin(home.path("other"), threeItems())->finish());
    EXPECT_EQ(readJournal(home.path("other")), std::nullopt);
}

TEST(CleanupJournal, PassesOverALineTornAnywhere) {
    TestHome home;
    const std::string whole = writtenJournal(home.path());
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::string torn = whole.substr(0, length);
        const auto lines = static_cast<std::size_t>(std::ranges::count(torn, '\n'));
        // Bytes that never reached the disk read as zeros, before the end of the line or over it.
        const std::string holes(whole.find('\n', length) == std::string::npos ? 0 : 7, '\0');
        for (const std::string& text : {torn, torn + holes, torn + holes + (holes.empty() ? "" : "\n")}) {
            const auto content = journalFromText(text);
            ASSERT_TRUE(content) << length << content.error().describe();
            ASSERT_EQ(content->intent.has_value(), lines > 0) << length;
            ASSERT_EQ(content->finished.size(), std::max<std::size_t>(lines, 1) - 1) << length;
        }
    }
}

TEST(CleanupJournal, IsKeptWhenItIsDamaged) {
    TestHome home;
    const std::string whole = writtenJournal(home.path());
    const std::size_t second = whole.find('\n') + 1;
    HistoryStore history(home.path());
    for (const std::string& damaged :
         {whole.substr(second), "\n" + whole, std::string("{}\n"), whole + whole.substr(second),
          whole + "{\"finished\":{}}\n", whole.substr(0, second) + whole.substr(whole.find('\n', second) + 1),
          std::string(second, '\0') + "\n" + whole.substr(second), "{\"version\":2," + whole.substr(1)}) {
        home.text("cleanup-journal.jsonl", damaged);
        EXPECT_FALSE(recoverInterrupted(history, home.path(), StatedDisk())) << damaged;
        EXPECT_EQ(readFile(journalPath(home.path())), damaged);
        EXPECT_TRUE(history.load().empty());
    }
}

using Texts = std::vector<std::string>;

struct Row {
    RemovalMethod planned;
    Texts paths;
    Disk disk;
    RemovalMethod method;
    std::uint64_t bytes;
    Texts failures = {};
    Texts trash = {};
};

TEST(InterruptedCleanup, SaysOfTheItemUnderWayWhatBecameOfIt) {
    using enum RemovalMethod;
    constexpr PathIdentity kAfterRestart{9, 77, 0040700};
    constexpr PathIdentity kOther{-3, 78, 0040755};
    const std::string still = ": still there when the cleanup was interrupted";
    const std::string partly = still + "; part of it may be gone";
    const std::string partlyRemoved = ": partly removed when the cleanup was interrupted";
    const std::string lost = ": gone, and not found in the Trash";
    const std::string unknown = ": may be gone; it could not be looked up after the cleanup was interrupted";
    const Disk twoOfThree = {{"/b", {kBefore, 400}}, {"/a", {{}, {}, "/T/a"}}};
    const Row rows[] = {
        {deleted, {"/a"}, {}, deleted, 1000},
        {deleted, {"/a"}, {{"/a", {{}, {}, "/T/has its number"}}}, deleted, 1000},
        {deleted, {"/a"}, {{"/a", {kOther}}}, deleted, 1000, {"/a: something else lies there now"}},
        {deleted, {"/a"}, {{"/a", {kBefore, 1000}}}, failed, 1000, {"/a" + still}},
        {deleted, {"/a"}, {{"/a", {kAfterRestart, 300}}}, deleted, 700, {"/a" + partlyRemoved}},
        {deleted, {"/a"}, {{"/a", {kBefore}}}, failed, 1000, {"/a" + partly}},
        {deleted, {"/a", "/b"}, {{"/b", {kBefore, 400}}}, deleted, 600, {"/b" + partly}},
        {deleted, {"/a", "/b"}, {{"/b", {kBefore}}}, deleted, 0, {"/b" + partly}},
        {trashed, {"/a"}, {{"/a", {{}, {}, "/T/a"}}}, trashed, 1000, {}, {"/T/a"}},
        {trashed, {"/a", "/b", "/c"}, twoOfThree, trashed, 600, {"/c" + lost, "/b" + still}, {"/T/a"}},
        {trashed, {"/a"}, {{"/a", {kBefore, 10}}}, failed, 1000, {"/a" + still}},
        {trashed, {"/a"}, {}, failed, 1000, {"/a" + lost}},
        {deleted, {"/?"}, {}, failed, 1000, {"/?" + unknown}},
        {deleted, {"/a", "/?"}, {}, deleted, 0, {"/?" + unknown}},
        {deleted, {"/!"}, {}, deleted, 1000},
        {trashed, {"/!"}, {}, failed, 1000, {"/!" + unknown}},
        {command, {}, {}, failed, 1000},
    };
    for (const Row& row : rows) {
        CleanupIntent intent = threeItems();
        intent.items[1] = itemOf("b", row.planned, row.paths);
        const ReceiptEntry finished = intent.items[0].entry;
        const Receipt receipt = receiptOfInterrupted(intent, {finished}, StatedDisk(row.disk));
        EXPECT_EQ(receipt.entries.at(0), finished);
        const ReceiptEntry& entry = receipt.entries[1];
        EXPECT_EQ(rawText(entry.method), rawText(row.method));
        EXPECT_EQ(entry.bytes, row.bytes);
        EXPECT_EQ(entry.pathFailures.value_or(Texts()), row.failures);
        EXPECT_EQ(entry.trashedPaths.value_or(Texts()), row.trash);
        EXPECT_EQ(entry.trashedObjects.has_value(), !row.trash.empty());
        for (const TrashedThing& thing : entry.trashedObjects.value_or(std::vector<TrashedThing>()))
            EXPECT_EQ("/T" + thing.from, thing.to);
        EXPECT_THAT(entry.note.value_or(""), HasSubstr("interrupted while this"));
        EXPECT_EQ(receipt.entries.at(2).note, "The cleanup was interrupted before this item.");
    }
}

TEST(InterruptedCleanup, NeverTakesForRemovedWhatWasNotThere) {
    CleanupIntent intent = threeItems();
    intent.items[0].identities.clear();
    const Receipt receipt = receiptOfInterrupted(intent, {}, StatedDisk());
    EXPECT_EQ(receipt.entries[0].method, RemovalMethod::failed);
    EXPECT_THAT(*receipt.entries[0].pathFailures, ElementsAre(HasSubstr("replaced or missing since scan")));
}

TEST(InterruptedCleanup, IsRecordedOnceWhereverItStopped) {
    TestHome home;
    HistoryStore history(home.path());
    EXPECT_EQ(recoverInterrupted(history, home.path(), StatedDisk()), std::nullopt);

    home.text("cleanup-journal.jsonl", "{\"id\":");
    EXPECT_EQ(recoverInterrupted(history, home.path(), StatedDisk()), std::nullopt) << "nothing had begun";
    EXPECT_FALSE(fs::exists(home.path("history.json")));

    const std::string whole = writtenJournal(home.path());
    const auto recorded = recoverInterrupted(history, home.path(), StatedDisk());
    ASSERT_TRUE(recorded && *recorded && (*recorded)->id == threeItems().id);
    EXPECT_FALSE(fs::exists(journalPath(home.path())));
    home.text("cleanup-journal.jsonl", whole);
    EXPECT_EQ(recoverInterrupted(history, home.path(), StatedDisk()), std::nullopt) << "stored already";
    EXPECT_EQ(history.load(), std::vector{**recorded});
    EXPECT_FALSE(fs::exists(journalPath(home.path())));

    home.text("history.json", "damaged");
    home.text("cleanup-journal.jsonl", whole);
    EXPECT_FALSE(recoverInterrupted(history, home.path(), StatedDisk()));
    EXPECT_EQ(readFile(journalPath(home.path())), whole);
    EXPECT_EQ(readFile(history.url()), "damaged");
}

}  // namespace
}  // namespace brindle::test
