#include <gtest/gtest.h>

#include <filesystem>

#include "core/platform/files.h"
#include "core/removal/cleanup_journal.h"
#include "core/session/session.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;
using Kind = CleanRefusal::Kind;

class SessionClean : public ::testing::Test {
  protected:
    SessionClean() {
        home.file(".cache/uv/archive");
        home.file(".gradle/caches/modules/jar");
        report = session.scan({});
    }

    std::expected<CleanOutcome, CleanRefusal> clean(bool isDryRun = false) {
        std::vector<CleanupItem> items;
        for (const CleanupItem& item : report.allItems()) {
            if (!item.removal.isCommand()) items.push_back(item);
        }
        return session.clean({.items = items, .report = report, .isDryRun = isDryRun});
    }

    std::optional<Kind> refusal() {
        const auto outcome = clean();
        EXPECT_TRUE(fs::exists(home.path(".gradle/caches/modules/jar")));
        return outcome ? std::nullopt : std::optional(outcome.error().kind);
    }

    std::string beside(const std::string& name) const { return session.history().directory() + "/" + name; }

    TestHome home;
    Session session{{home.path(), false, {}}};
    ScanReport report{};
};

TEST_F(SessionClean, RecordsWhatItDidAndLeavesNothingElseBehind) {
    const auto rehearsal = clean(true);
    ASSERT_TRUE(rehearsal);
    EXPECT_TRUE(fs::exists(home.path(".gradle/caches/modules/jar")));
    const auto outcome = clean();
    ASSERT_TRUE(outcome) << outcome.error().sentence;
    EXPECT_TRUE(outcome->isRecorded && !outcome->isInterrupted && outcome->before && outcome->after);
    EXPECT_FALSE(fs::exists(home.path(".gradle/caches/modules/jar")));
    const auto history = session.history().loadChecked();
    ASSERT_TRUE(history);
    ASSERT_EQ(history->size(), 2U);
    EXPECT_EQ(history->at(0).entries, outcome->receipt.entries);
    EXPECT_TRUE(history->at(1).wasDryRun);
    std::set<std::string> left;
    for (const auto& entry : fs::directory_iterator(session.history().directory())) {
        left.insert(entry.path().filename());
        EXPECT_EQ(entry.status().permissions(), fs::perms(0600));
    }
    EXPECT_EQ(left, (std::set<std::string>{"cleanup.lock", "history.json"}));
    EXPECT_EQ(fs::status(session.history().directory()).permissions(), fs::perms(0700));
}

TEST_F(SessionClean, BeginsNothingThatItCouldNotRecordOrJudge) {
    home.text("Library/Application Support/Brindle/history.json", "{damaged");
    EXPECT_EQ(refusal(), Kind::historyUnreadable);
    EXPECT_EQ(*readFile(beside("history.json")), "{damaged");
    fs::remove(beside("history.json"));

    home.text("Library/Application Support/Brindle/cleanup-journal.jsonl", "damaged\n\n");
    EXPECT_EQ(refusal(), Kind::historyUnreadable);
    EXPECT_FALSE(session.recordInterrupted());
    EXPECT_EQ(*readFile(beside("cleanup-journal.jsonl")), "damaged\n\n");
    fs::remove(beside("cleanup-journal.jsonl"));

    home.text(".config/brindle/preferences.json", "{damaged");
#ifndef __APPLE__
    EXPECT_EQ(refusal(), Kind::settingsUnreadable);
#endif
    fs::remove(home.path(".config/brindle/preferences.json"));

    const auto other = FileLock::tryAcquire(beside("cleanup.lock"));
    ASSERT_TRUE(other);
    EXPECT_EQ(refusal(), Kind::busy);
}

TEST_F(SessionClean, TurnsWhatWasLeftUnfinishedIntoItsReceiptOnce) {
    EXPECT_EQ(session.recordInterrupted().value(), std::nullopt);
    CleanupIntent intent{.id = *Uuid::fresh(), .performedAt = {}, .items = {}};
    for (const CleanupItem& item : report.allItems()) intent.items.push_back(plannedItem(item));
    {
        const auto journal = CleanupJournal::begin(session.history().directory(), intent);
    }
    fs::remove_all(report.allItems().front().removal.affectedPaths().at(0));
    const auto recorded = session.recordInterrupted();
    ASSERT_TRUE(recorded && *recorded);
    EXPECT_EQ((*recorded)->id, intent.id);
    EXPECT_EQ((*recorded)->entries.at(0).method, RemovalMethod::deleted);
    EXPECT_EQ(session.recordInterrupted().value(), std::nullopt);
    EXPECT_EQ(session.history().load().size(), 1U);
}

}  // namespace
}  // namespace brindle
