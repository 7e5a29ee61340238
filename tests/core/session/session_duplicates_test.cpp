#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "core/session/session.h"
#include "core/text/core_strings.h"
#include "tests/support/mounted.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

class SessionDuplicates : public ::testing::Test {
  protected:
    SessionDuplicates() {
        CoreStrings::setBundles(ResourceBundle(test::resourcesFolder(), "core", {"en"}), {});
        for (const char* name : {"a.ipa", "b.IPA", "c.ipa"}) copy(name, "an export");
        for (const char* name : {"a.zip", "b.zip"}) copy(name, "an archive");
    }
    ~SessionDuplicates() override { CoreStrings::setBundles({}, {}); }

    void copy(const std::string& name, const std::string& content) {
        home.text("Downloads/" + name, content);
        home.modified("Downloads/" + name, 1'700'000'000);
    }
    std::string at(const std::string& name) const { return home.path("Downloads/" + name); }

    FoundDuplicates found() const {
        auto duplicates = session().findDuplicates({.root = at("")});
        EXPECT_TRUE(duplicates) << duplicates.error();
        return duplicates.value_or(FoundDuplicates{});
    }
    std::expected<CleanOutcome, CleanRefusal> trash(
        const FoundDuplicates& duplicates, const std::vector<std::string>& names,
        const CancellationTest& isCancelled = [] { return false; }) const {
        std::set<std::string> paths;
        for (const std::string& name : names) paths.insert(at(name));
        return session().trashDuplicates({.report = duplicates.report,
                                          .selection = paths,
                                          .preferred = {at("c.ipa")},
                                          .isCancelled = isCancelled});
    }
    Session session() const { return Session({home.path(), false, {}}); }

    std::set<std::string> left() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(at(""))) names.insert(entry.path().filename());
        return names;
    }

    TestHome home;
    const std::set<std::string> all = {"a.ipa", "b.IPA", "c.ipa", "a.zip", "b.zip"};
};

TEST_F(SessionDuplicates, TrashesTwoOfThreeExportsAndPutsThemBack) {
    const FoundDuplicates duplicates = found();
    ASSERT_EQ(duplicates.report.groups.size(), 2U);
    EXPECT_TRUE(duplicates.heldBack.empty());
    const auto outcome = trash(duplicates, {"a.ipa", "b.IPA"});
    ASSERT_TRUE(outcome) << outcome.error().sentence;
    EXPECT_TRUE(outcome->isRecorded && !outcome->isInterrupted);
    EXPECT_EQ(left(), (std::set<std::string>{"c.ipa", "a.zip", "b.zip"}));
    const auto history = session().history().loadChecked();
    ASSERT_TRUE(history && history->size() == 1 && history->front().entries.size() == 2);
    const ReceiptEntry& entry = history->front().entries.front();
    EXPECT_EQ(entry.title, "Move to Trash: " + at("a.ipa"));
    EXPECT_EQ(entry.note, "Kept identical copy: " + at("c.ipa"));
    EXPECT_EQ(entry.method, RemovalMethod::trashed);
    EXPECT_EQ(entry.regeneratedBy,
              (Regeneration{Regeneration::Kind::action, "Restore from Trash or copy the retained archive"}));
    EXPECT_EQ(found().report.groups.size(), 1U) << "what lies in the Trash is no copy";
    const auto back =
        session().putBack({.receipt = history->front().id, .choices = {{.entry = 0}, {.entry = 1}}});
    ASSERT_TRUE(back);
    EXPECT_EQ(left(), all);
}

TEST_F(SessionDuplicates, BeginsNothingThatWouldTakeTheLastCopyOrAnythingElse) {
    const FoundDuplicates duplicates = found();
    for (const std::vector<std::string>& names : std::vector<std::vector<std::string>>{
             {"a.ipa", "b.IPA", "c.ipa"}, {"a.zip"}, {"a.ipa", "a.zip"}, {"a.ipa", "unknown.ipa"}}) {
        const auto outcome = trash(duplicates, names);
        ASSERT_FALSE(outcome);
        EXPECT_EQ(
            outcome.error().sentence,
            "A verified unchanged copy must remain; only developer export archives can be moved to Trash.");
    }
    home.text(
        fs::path(session().history().directory()).lexically_relative(home.path()).string() + "/history.json",
        "?");
    const auto outcome = trash(duplicates, {"a.ipa"});
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().sentence, "History cannot be read; cleanup has not started.");
    EXPECT_EQ(left(), all);
}

TEST_F(SessionDuplicates, RefusesACopyThatIsNoLongerWhatWasCompared) {
    using Case = std::tuple<const char*, std::string, std::function<void()>>;
    int open = -1;
    const std::string changed = "The file changed since the scan. Scan and review it again.";
    const std::string mustRemain =
        "A verified unchanged copy must remain; only developer export archives can be moved to Trash.";
    for (const auto& [name, reason, change] : std::vector<Case>{
             {"another content of the same age", changed, [&] { copy("a.ipa", "an EXPORT"); }},
             {"the same content anew", changed,
              [&] { copy("new", "an export"), fs::rename(at("new"), at("a.ipa")); }},
             {"a link to the copy that stays", "that path is a symlink",
              [&] { fs::remove(at("a.ipa")), home.link("Downloads/a.ipa", at("c.ipa")); }},
             {"another name", changed, [&] { home.hardLink("Downloads/second", "Downloads/a.ipa"); }},
             {"gone", changed, [&] { fs::remove(at("a.ipa")); }},
             {"the folder is a link now", "a parent directory is a symlink",
              [&] { fs::rename(at(""), home.path("moved")), home.link("Downloads", home.path("moved")); }},
             {"open", "A program has the file open, or that could not be told.",
              [&] { open = ::open(at("a.ipa").c_str(), O_RDONLY | O_CLOEXEC); }},
             {"the copies that stay have changed", mustRemain,
              [&] { copy("b.IPA", "an EXPORT"), fs::remove(at("c.ipa")); }},
             {"the copy that stays is open", mustRemain,
              [&] { fs::remove(at("b.IPA")), open = ::open(at("c.ipa").c_str(), O_RDONLY | O_CLOEXEC); }},
             {"a project meanwhile", changed, [&] { home.text("Downloads/go.mod", ""); }},
             {"protected meanwhile", "inside a protected path: ~/Downloads", [&] {
                  home.text(".config/brindle/preferences.json",
                            R"({"brindle.protectedPaths": [")" + home.path("Downloads") + "\"]}");
              }}}) {
        const FoundDuplicates duplicates = found();
        change();
        const auto before = left();
        const auto outcome = trash(duplicates, {"a.ipa"});
        ASSERT_TRUE(outcome) << name;
        ASSERT_EQ(outcome->receipt.entries.size(), 1U) << name;
        EXPECT_EQ(outcome->receipt.entries[0].method, RemovalMethod::refused) << name;
        EXPECT_EQ(outcome->receipt.entries[0].note, reason) << name;
        EXPECT_EQ(left(), before) << name;
        if (open >= 0) ::close(std::exchange(open, -1));
        for (const char* each : {"second", "go.mod"}) fs::remove(at(each));
        if (fs::is_symlink(home.path("Downloads"))) {
            fs::remove(home.path("Downloads"));
            fs::rename(home.path("moved"), home.path("Downloads"));
        }
        for (const char* each : {"a.ipa", "b.IPA", "c.ipa"}) {
            fs::remove(at(each));
            copy(each, "an export");
        }
    }
    const FoundDuplicates duplicates = found();
    EXPECT_EQ(duplicates.heldBack.at(at("a.ipa")), "inside a protected path: ~/Downloads");
    EXPECT_FALSE(duplicates.mayGo(duplicates.report.groups[0].files[0]));
}

TEST_F(SessionDuplicates, TakesNothingForACopyThatDoesNotLast) {
    home.link(".local/share", home.folder("data/share"));
    home.folder("other/Trash/info");
    const std::string unnamed = "go/pkg/mod/t/Documents/x.ipa";
    for (const char* each :
         {"data/share/Trash/files/t.ipa", "snap/x/.local/share/Trash/files/u.ipa", "other/Trash/files/u.ipa",
          ".android/cache/v.ipa", ".pyenv/w.ipa", unnamed.c_str()}) {
        home.text(each, "another export");
        home.modified(each, 1'700'000'000);
    }
    copy("d.ipa", "another export");
    const auto duplicates = session().findDuplicates({.root = home.path()});
    ASSERT_TRUE(duplicates);
    ASSERT_EQ(duplicates->report.groups.size(), 3U);
    EXPECT_EQ(duplicates->fleeting,
              (std::set<std::string>{home.path(".android/cache/v.ipa"), home.path(unnamed)}));
    EXPECT_EQ(duplicates->heldBack.at(home.path(unnamed)), "A tool keeps it, in its cache.");
    EXPECT_EQ(duplicates->heldBack.at(home.path(".pyenv/w.ipa")), "inside a tool's own folder");
    for (const DuplicateGroup& group : duplicates->report.groups)
        for (const DuplicateFile& file : group.files) EXPECT_EQ(file.path.find("Trash"), std::string::npos);
    const auto trashed = [&](const std::set<std::string>& paths) {
        return session().trashDuplicates({.report = duplicates->report, .selection = paths});
    };
    EXPECT_FALSE(trashed({at("d.ipa"), home.path(".pyenv/w.ipa")})) << "only the fleeting one would stay";
    EXPECT_TRUE(trashed({at("d.ipa")}));
    EXPECT_FALSE(session().findDuplicates({.root = home.path("data/share/Trash/files")}));
}

TEST_F(SessionDuplicates, TakesAFileThatLiesAtTwoPlacesForOneCopy) {
    FoundDuplicates duplicates = found();
    DuplicateGroup group = duplicates.report.groups.front();
    ASSERT_EQ(group.files.front().path, at("a.ipa"));
    group.files = {2, group.files.front()};
    group.files.back().path = home.path("Bound/a.ipa");
    duplicates.report.groups = {group};
    home.folder("Bound");
    const bool isMounted = test::isRunWithMount(at(""), home.path("Bound"), [&] {
        const auto outcome = trash(duplicates, {"a.ipa"});
        ASSERT_TRUE(outcome) << outcome.error().sentence;
        EXPECT_EQ(outcome->receipt.entries.at(0).method, RemovalMethod::refused);
    });
    if (!isMounted) GTEST_SKIP() << test::kNeedsMounts;
    EXPECT_EQ(left(), all);
}

TEST_F(SessionDuplicates, RefusesWhatChangesWhileTheOtherIsRead) {
    // The questions of the last look: first about the copy that stays, then about the other. The time is set back.
    for (const auto& [question, name] : {std::pair(2, "a.ipa"), {3, "c.ipa"}}) {
        copy("a.ipa", "an export");
        const FoundDuplicates duplicates = found();
        int polls = 0;
        const auto outcome = trash(duplicates, {"a.ipa"}, [&] {
            if (++polls == question) copy(name, "an EXPORT");
            return false;
        });
        ASSERT_TRUE(outcome);
        EXPECT_GE(polls, question);
        EXPECT_EQ(outcome->receipt.entries.at(0).method, RemovalMethod::refused) << name;
        EXPECT_EQ(left(), all);
    }
}

TEST_F(SessionDuplicates, StopsBetweenTwoCopies) {
    copy("d.ipa", "an export");
    int polls = 0;
    const FoundDuplicates duplicates = found();
    const auto outcome = trash(duplicates, {"a.ipa", "b.IPA", "c.ipa"},
                               [&] { return !fs::exists(at("a.ipa")) && ++polls > 0; });
    ASSERT_TRUE(outcome);
    EXPECT_TRUE(outcome->isInterrupted && outcome->isRecorded);
    EXPECT_EQ(outcome->receipt.entries.size(), 1U);
    EXPECT_EQ(left(), (std::set<std::string>{"b.IPA", "c.ipa", "d.ipa", "a.zip", "b.zip"}));
}

}  // namespace
}  // namespace brindle
