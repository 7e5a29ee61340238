// The Trash that desktops share, on real folders; what the history says is read back from its file.
#ifdef __linux__
#include "core/removal/put_back.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "core/platform/files.h"
#include "tests/support/test_home.h"
#include "tests/support/trashing.h"

namespace brindle::test {
namespace {

namespace fs = std::filesystem;
using End = PutBackResult::End;
using testing::HasSubstr;
using Texts = std::vector<std::string>;

const TimePoint kNow{std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + std::chrono::hours(7)};

// A home after a cleanup of one item, with its history.
class PutBackTest : public testing::Test {
  protected:
    TestHome home;
    Trash trash{home.path()};
    HistoryStore store{home.path("History")};

    void trashAll(const Texts& paths) {
        Receipt receipt;
        receipt.id.bytes[0] = 7;
        receipt.entries.emplace_back().bytes = 4096;
        trashInto(receipt.entries.front(), trash, paths);
        ASSERT_TRUE(store.append(receipt));
    }

    ReceiptEntry kept() const { return store.loadChecked()->at(0).entries.at(0); }

    template <typename Change>
    void alter(Change change) {
        Receipt receipt = store.loadChecked()->at(0);
        change(receipt.entries[0]);
        ASSERT_TRUE(store.replaceChecked(receipt));
    }

    void clearHome() {
        for (const auto& left : fs::directory_iterator(home.path())) fs::remove_all(left);
    }

    std::expected<PutBackOutcome, Error> restore(PutBackRequest request = {}) {
        request.choices = {{.entry = 0}};
        request.now = kNow;
        return PutBack(store, trash).restore(store.loadChecked()->at(0), request);
    }

    // What a rehearsal says, and then the run; the one must foretell the other.
    PutBackResult restoredOne(const std::optional<std::string>& place = {}) {
        const std::string before = *readFile(store.url());
        const PutBackResult rehearsed = restore({.place = place, .isDryRun = true})->results.at(0);
        EXPECT_EQ(*readFile(store.url()), before);
        const PutBackResult done = restore({.place = place})->results.at(0);
        EXPECT_TRUE(done.end == rehearsed.end && done.sentence == rehearsed.sentence) << done.sentence;
        return done;
    }
};

// Name, mode, time and content of everything below.
Texts treeOf(const std::string& folder) {
    Texts lines;
    for (const auto& each : fs::recursive_directory_iterator(folder)) {
        const FileStatus status = *statusOf(each.path().string());
        lines.push_back(fmt::format("{} {} {} ", each.path().string(), status.mode, status.modified));
        if (status.isLink()) lines.back() += fs::read_symlink(each.path()).string();
        if (status.isRegular()) lines.back() += *readFile(each.path().string());
    }
    std::ranges::sort(lines);
    return lines;
}

TEST_F(PutBackTest, BringsEverythingBackAsItWasAndSaysSoInTheHistory) {
    home.text("work/cache/caf\xe9-\xff", "bytes");
    home.link("work/cache/link", "nowhere");
    home.text("work/cache/deep/plain", "more");
    home.text("work/single\xfe", "alone");
    home.mode("work/cache/deep/plain", 0640);
    for (const char* each : {"work/cache/deep/plain", "work/cache/deep", "work/cache", "work/single\xfe"})
        home.modified(each, 1'000'000'000);
    home.mode("work/cache", 0750);
    const Texts before = treeOf(home.path("work"));
    trashAll({home.path("work/cache"), home.path("work/single\xfe")});
    fs::remove(home.path("work"));

    ASSERT_TRUE(restore({.isDryRun = true}));
    EXPECT_FALSE(statusOf(home.path("work")));
    const auto outcome = restore();
    ASSERT_TRUE(outcome);
    for (const PutBackResult& result : outcome->results) EXPECT_EQ(result.end, End::done) << result.sentence;
    EXPECT_EQ(treeOf(home.path("work")), before);
    const ReceiptEntry entry = kept();
    EXPECT_EQ(entry, outcome->receipt.entries[0]);
    EXPECT_FALSE(entry.trashedPaths || entry.trashedObjects);
    EXPECT_EQ(entry.action, "Put back on 2026-11-21 07:00 UTC");
    EXPECT_TRUE(entry.method == RemovalMethod::trashed && entry.bytes == 4096);
    EXPECT_TRUE(restore()->results.empty()) << "nothing is left to put back";
}

TEST_F(PutBackTest, NeverOverwritesAndKnowsWhatItPutsBack) {
    using Change = std::function<void(const std::string& path, const std::string& trashed)>;
    const std::tuple<const char*, End, const char*, std::string, Change> cases[] = {
        {"in the way", End::occupied, "never", "", [&](auto&, auto&) { home.link("item", "nowhere"); }},
        {"another name", End::done, "", "made/other", [&](auto&, auto&) { home.text("item", "new"); }},
        {"emptied", End::gone, "no longer in the Trash", "",
         [&](auto&, auto&) { fs::remove_all(home.path(".local")); }},
        {"swapped in the Trash", End::replaced, "left there", "",
         [&](auto&, auto& trashed) {
             fs::rename(trashed, home.path("away")), home.text(".local/share/Trash/files/item", "other");
         }},
        {"moved, but not recorded", End::wasBack, "back already", "",
         [](auto& path, auto& trashed) { fs::rename(trashed, path); }},
        {"the same under another name", End::wasBack, "", "other",
         [&](auto&, auto& trashed) { fs::rename(trashed, home.path("other")); }},
        {"a file for a folder", End::failed, "no folder", "blocked/item",
         [&](auto&, auto&) { home.text("blocked", "x"); }},
        {"a link for a folder", End::failed, "a link leads", "linked/tmp/x",
         [&](auto&, auto&) { home.link("linked", "/"); }},
        {"another volume", End::failed, "another volume", "/proc/item", [](auto&, auto&) {}},
    };
    for (const auto& [what, end, sentence, name, happened] : cases) {
        SCOPED_TRACE(what);
        clearHome();
        const std::string path = home.text("item", "old");
        trashAll({path});
        happened(path, kept().trashedPaths->at(0));
        std::optional<std::string> place;
        if (!name.empty()) place = name.starts_with('/') ? name : home.path(name);
        const PutBackResult result = restoredOne(place);
        EXPECT_EQ(result.end, end);
        EXPECT_THAT(result.sentence, HasSubstr(sentence));
        EXPECT_EQ(kept().trashedPaths.has_value(), !result.isBack());
        EXPECT_EQ(readFile(place.value_or(path)) == "old", result.isBack());
    }
}

TEST_F(PutBackTest, KnowsThingsByWhatTheReceiptHas) {
    const std::tuple<const char*, End, End, void (*)(ReceiptEntry&)> cases[] = {
        {"another device number, as after a restart", End::done, End::done,
         [](auto& entry) { entry.trashedObjects->at(0).device ^= 0x55; }},
        {"places alone, and a failure", End::failed, End::failed,
         [](auto& entry) { entry.trashedObjects.reset(), entry.pathFailures = {"/x: busy"}; }},
        {"one of the things", End::done, End::failed, [](auto& entry) { entry.trashedObjects->pop_back(); }},
        {"one twice", End::done, End::wasBack,
         [](auto& entry) { entry.trashedPaths->at(1) = entry.trashedPaths->at(0); }},
    };
    for (const auto& [what, one, two, change] : cases) {
        SCOPED_TRACE(what);
        clearHome();
        trashAll({home.text("one", "1"), home.text("two", "2")});
        alter(change);
        const auto outcome = restore();
        EXPECT_EQ(outcome->results.at(0).end, one);
        EXPECT_EQ(outcome->results.at(1).end, two);
        if (!kept().trashedPaths || kept().trashedPaths->size() > 1) continue;
        // Its place is not known, but who names one gets it back.
        const auto named = restore({.place = home.path("named")});
        EXPECT_EQ(named->results.at(0).end, End::done) << named->results.at(0).sentence;
        EXPECT_EQ(readFile(home.path("named")), "2");
    }
}

TEST_F(PutBackTest, KeepsTheRestApartWhenItIsStopped) {
    const Texts paths = {home.text("one", "1"), home.text("two", "2"), home.text("three", "3")};
    trashAll(paths);
    alter([](ReceiptEntry& entry) { entry.trashedObjects.reset(); });
    int asked = 0;
    const auto outcome = restore({.isCancelled = [&] { return ++asked > 1; }});
    EXPECT_TRUE(outcome->isInterrupted && outcome->results.size() == 1);
    EXPECT_EQ(restore()->results.size(), 2U) << "what was paired by position stays paired";
    for (const std::string& path : paths) EXPECT_TRUE(statusOf(path)) << path;
}

class PutBackTestUnprivileged : public PutBackTest {};

TEST_F(PutBackTestUnprivileged, MovesNothingWhenTheHistoryCannotBeWritten) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    trashAll({home.text("item", "old")});
    home.mode("History", 0500);
    EXPECT_TRUE(restore({.isDryRun = true}));
    EXPECT_FALSE(restore());
    EXPECT_TRUE(statusOf(kept().trashedPaths->at(0)));
    home.mode("History", 0700);
    // It may also break in between: then the next call makes it good.
    const auto torn = restore({.isCancelled = [&] { return home.mode("History", 0500), false; }});
    EXPECT_TRUE(torn && torn->unrecorded);
    EXPECT_EQ(readFile(home.path("item")), "old");
    home.mode("History", 0700);
    EXPECT_EQ(restoredOne().end, End::wasBack);
    EXPECT_FALSE(kept().trashedPaths);
}

}  // namespace
}  // namespace brindle::test
#endif
