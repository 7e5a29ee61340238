#include "core/removal/interrupted_cleanup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

template <typename Value>
std::optional<Value> in(const std::map<std::string, Value>& map, const std::string& path) {
    const auto found = map.find(path);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

// Answers from what a test says of each path.
struct StatedDisk final : RemovalProbe {
    std::map<std::string, PathIdentity> there;
    std::map<std::string, std::uint64_t> bytes;
    std::map<std::string, std::string> trash;  // by the path before

    StatedDisk(std::map<std::string, PathIdentity> a = {}, std::map<std::string, std::uint64_t> b = {},
               std::map<std::string, std::string> c = {})
        : there(std::move(a)), bytes(std::move(b)), trash(std::move(c)) {}
    // "?" is nowhere to be seen, and "!" in no Trash that can be read.
    std::expected<std::optional<PathIdentity>, Error> identityAt(const std::string& path) const override {
        if (path == "/?") return std::unexpected(errorFrom(EIO, "examine", path));
        return in(there, path);
    }
    std::optional<std::uint64_t> bytesBelow(const std::string& path) const override {
        return in(bytes, path);
    }
    std::expected<std::optional<std::string>, Error> placeInTrash(const std::string& path,
                                                                  const PathIdentity&) const override {
        if (path == "/!") return std::unexpected(errorFrom(EACCES, "look through", path));
        return in(trash, path);
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
    EXPECT_EQ((*content)->intent, threeItems());
    EXPECT_EQ((*content)->finished.size(), 2U);
    EXPECT_EQ(CleanupJournal::begin(directory, threeItems()).error().kind, Error::Kind::alreadyExists);

    auto other = CleanupJournal::begin(home.path("other"), threeItems());
    ASSERT_TRUE(other);
    EXPECT_TRUE(other->finish());
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
    StatedDisk disk;
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
    const std::string lost = ": gone, and not found in the Trash";
    const std::string unknown = ": may be gone; it could not be looked up after the cleanup was interrupted";
    for (const Row& row :
         {Row{deleted, {"/a"}, {}, deleted, 1000},
          Row{deleted, {"/a"}, {{{"/a", kOther}}}, deleted, 1000, {"/a: something else lies there now"}},
          Row{deleted, {"/a"}, {{{"/a", kBefore}}, {{"/a", 1000}}}, failed, 1000, {"/a" + still}},
          Row{deleted,
              {"/a"},
              {{{"/a", kAfterRestart}}, {{"/a", 300}}},
              deleted,
              700,
              {"/a: partly removed when the cleanup was interrupted"}},
          Row{deleted, {"/a"}, {{{"/a", kBefore}}}, failed, 1000, {"/a" + partly}},
          Row{deleted, {"/a", "/b"}, {{{"/b", kBefore}}, {{"/b", 400}}}, deleted, 600, {"/b" + partly}},
          Row{deleted, {"/a", "/b"}, {{{"/b", kBefore}}}, deleted, 0, {"/b" + partly}},
          Row{trashed, {"/a"}, {{}, {}, {{"/a", "/T/a"}}}, trashed, 1000, {}, {"/T/a"}},
          Row{trashed,
              {"/a", "/b", "/c"},
              {{{"/b", kBefore}}, {{"/b", 400}}, {{"/a", "/T/a"}}},
              trashed,
              600,
              {"/c" + lost, "/b" + still},
              {"/T/a"}},
          Row{trashed, {"/a"}, {{{"/a", kBefore}}, {{"/a", 10}}}, failed, 1000, {"/a" + still}},
          Row{trashed, {"/a"}, {}, failed, 1000, {"/a" + lost}},
          Row{deleted, {"/?"}, {}, failed, 1000, {"/?" + unknown}},
          Row{deleted, {"/a", "/?"}, {}, deleted, 0, {"/?" + unknown}},
          Row{deleted, {"/!"}, {}, deleted, 1000}, Row{trashed, {"/!"}, {}, failed, 1000, {"/!" + unknown}},
          Row{command, {}, {}, failed, 1000}}) {
        CleanupIntent intent = threeItems();
        intent.items[1] = itemOf("b", row.planned, row.paths);
        const ReceiptEntry finished = intent.items[0].entry;
        const Receipt receipt = receiptOfInterrupted(intent, {finished}, row.disk);
        ASSERT_EQ(receipt.entries.size(), 3U);
        EXPECT_EQ(receipt.entries[0], finished);
        const ReceiptEntry& entry = receipt.entries[1];
        EXPECT_EQ(rawText(entry.method), rawText(row.method));
        EXPECT_EQ(entry.bytes, row.bytes);
        EXPECT_EQ(entry.pathFailures.value_or(Texts()), row.failures);
        EXPECT_EQ(entry.trashedPaths.value_or(Texts()), row.trash);
        EXPECT_EQ(entry.trashedObjects.has_value(), !row.trash.empty());
        for (const TrashedThing& thing : entry.trashedObjects.value_or(std::vector<TrashedThing>()))
            EXPECT_EQ("/T" + thing.from, thing.to);
        EXPECT_THAT(entry.note.value_or(""), HasSubstr("interrupted while this"));
        EXPECT_EQ(receipt.entries[2].method, failed);
        EXPECT_EQ(receipt.entries[2].note, "The cleanup was interrupted before this item.");
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
    ASSERT_TRUE(recorded && *recorded);
    EXPECT_EQ(history.load(), std::vector{**recorded});
    EXPECT_EQ((*recorded)->id, threeItems().id);
    EXPECT_FALSE(fs::exists(journalPath(home.path())));

    home.text("cleanup-journal.jsonl", whole);
    EXPECT_EQ(recoverInterrupted(history, home.path(), StatedDisk()), std::nullopt) << "stored already";
    EXPECT_EQ(history.load().size(), 1U);
    EXPECT_FALSE(fs::exists(journalPath(home.path())));

    home.text("history.json", "damaged");
    home.text("cleanup-journal.jsonl", whole);
    EXPECT_FALSE(recoverInterrupted(history, home.path(), StatedDisk()));
    EXPECT_EQ(readFile(journalPath(home.path())), whole);
    EXPECT_EQ(readFile(history.url()), "damaged");
}

}  // namespace
}  // namespace brindle::test
