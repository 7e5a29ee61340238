#include "core/removal/history_store.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/model/receipt_json.h"
#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;

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

}  // namespace
}  // namespace brindle::test
