#include "core/insight/duplicate_scanner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>

#include "core/insight/duplicate_tables.h"
#include "core/insight/file_digest.h"
#include "core/platform/file_status.h"
#include "tests/support/mounted.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

constexpr std::int64_t kNow = 1'800'000'000;
using Groups = std::set<std::set<std::string>>;  // of relative paths

// A home with files of yesterday in "look".
class DuplicateScannerTest : public ::testing::Test {
  protected:
    std::string copy(const std::string& relative, const std::string& content, std::int64_t age = 86'400) {
        const std::string path = home.text(relative, content);
        home.modified(relative, kNow - age);
        return path;
    }

    std::expected<DuplicateReport, std::string> scanOf(const std::string& root,
                                                       CancellationTest isCancelled = {}) {
        return DuplicateScanner(home.path())
            .scan({.root = root,
                   .leastBytes = leastBytes,
                   .trashes = {home.path("look/bin")},
                   .now = TimePoint(std::chrono::seconds(kNow)),
                   .isCancelled = std::move(isCancelled)});
    }

    DuplicateReport scan(CancellationTest isCancelled = {}) {
        auto report = scanOf(home.path("look"), std::move(isCancelled));
        EXPECT_TRUE(report) << report.error();
        return report.value_or(DuplicateReport{});
    }

    Groups groupsOf(const DuplicateReport& report) const {
        Groups groups;
        for (const DuplicateGroup& group : report.groups) {
            std::set<std::string> names;
            for (const DuplicateFile& file : group.files)
                names.insert(fs::path(file.path).lexically_relative(home.path("look")));
            groups.insert(std::move(names));
        }
        return groups;
    }

    TestHome home;
    std::uint64_t leastBytes = 1;
};

// Beyond what the first look at a file reads.
std::string longText(char first = 'x', char middle = 'x', char last = 'x') {
    std::string text(300'000, 'x');
    text.front() = first;
    text[150'000] = middle;
    text.back() = last;
    return text;
}

TEST_F(DuplicateScannerTest, TakesAThirdCopyOnlyWhenItMayBeOne) {
    copy("look/a.bin", longText());
    copy("look/b.bin", longText());
    copy("away/c.bin", longText());
    using Case = std::tuple<const char*, bool, std::function<void()>>;
    const auto at = [&](const char* place, std::int64_t age = 86'400) {
        return [this, place, age] { copy(std::string("look/c/") + place, longText(), age); };
    };
    const auto beside = [&](const char* place, const char* marker) {
        return [this, place, marker] {
            copy(std::string("look/c/") + place, longText());
            copy(std::string("look/c/") + marker, "");
        };
    };
    const auto holding = [&](const std::string& content) {
        return [this, content] { copy("look/c/d.bin", content); };
    };
    int open = -1;
    void* mapped = MAP_FAILED;
    for (const auto& [name, isCopy, add] : std::vector<Case>{
             {"a plain one", true, at("d.bin")},
             {"a name that is no text", true, at("caf\xe9-\xff.bin")},
             {"in a hidden folder", true, at(".deep/er/d.bin")},
             {"written 601 seconds ago", true, at("d.bin", 601)},
             {"written 600 seconds ago", false, at("d.bin", 600)},
             {"written tomorrow", false, at("d.bin", -86'400)},
             {"a hidden name", false, at(".d.bin")},
             {"source", false, at("d.JSON")},
             {"a generated folder", false, at("node_modules/x/d.bin")},
             {"a package store", false, at(".pub-cache/d.bin")},
             {"a private folder", false, at(".ssh/d.bin")},
             {"a repository", false, beside("x/d.bin", ".git/HEAD")},
             {"a project", false, beside("x/d.bin", "pyproject.toml")},
             {"a project by the end of a name", false, beside("x/d.bin", "main.tf")},
             {"the Trash", false, [&] { copy("look/bin/d.bin", longText()); }},
             {"another name of a file", false, [&] { home.hardLink("look/c/d.bin", "away/c.bin"); }},
             {"a link", false, [&] { home.link("look/c/d.bin", home.path("away/c.bin")); }},
             {"a link to a folder", false, [&] { home.link("look/c", home.path("away")); }},
             {"longer", false, holding(longText() + "x")},
             {"another beginning", false, holding(longText('y'))},
             {"another middle", false, holding(longText('x', 'y'))},
             {"another end", false, holding(longText('x', 'x', 'y'))},
             {"open", false,
              [&] {
                  copy("look/c/d.bin", longText());
                  open = ::open(home.path("look/c/d.bin").c_str(), O_RDONLY | O_CLOEXEC);
              }},
             {"mapped", false, [&] {
                  const std::string path = copy("look/c/d.bin", longText());
                  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
                  mapped = ::mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, file, 0);
                  ::close(file);
              }}}) {
        add();
        const Groups groups = groupsOf(scan());
        EXPECT_EQ(groups.size(), 1U) << name;
        EXPECT_EQ(groups.empty() ? 0U : groups.begin()->size(), isCopy ? 3U : 2U) << name;
        fs::remove_all(home.path("look/c"));
        fs::remove_all(home.path("look/bin"));
    }
    ::close(open);
    ::munmap(mapped, 4096);
}

TEST_F(DuplicateScannerTest, ComparesAllSizesAndPutsTheGreatestWasteFirst) {
    const std::vector<std::size_t> sizes = {1, 4, 16'384, 16'385, 262'144, 262'145, 3'000'000};
    for (const std::size_t size : sizes) {
        for (const char* folder : {"a", "b"})
            copy("look/" + std::string(folder) + "/" + std::to_string(size), std::string(size, 's'));
        copy("look/other/" + std::to_string(size), std::string(size, 'o'));
    }
    copy("look/c/4", std::string(4, 's'));
    copy("look/empty/1", "");
    copy("look/empty/2", "");
    copy("look/abc/1", "abc\n");
    copy("look/abc/2", "abc\n");
    const DuplicateReport report = scan();
    std::vector<std::uint64_t> wasted;
    for (const DuplicateGroup& group : report.groups) wasted.push_back(group.wastedBytes());
    EXPECT_EQ(wasted, (std::vector<std::uint64_t>{3'000'000, 262'145, 262'144, 16'385, 16'384, 8, 4, 1}));
    EXPECT_EQ(report.groups[6].hash, "edeaaff3f1774ad2888673770c6d64097e391bc362d7d6fb34982ddf0efd18cb");
    EXPECT_FALSE(report.cancelled);
    leastBytes = 262'145;
    EXPECT_EQ(scan().groups.size(), 2U);
}

TEST_F(DuplicateScannerTest, SaysWhyARootIsRefusedAndWhatWasPassedOver) {
    copy("look/a.bin", "same");
    copy("look/deep/b.bin", "same");
    copy("look/deep/dist/b.bin", "same");
    copy("look/repository/.git", "gitdir: x");
    copy(".git/HEAD", "of the whole home");
    copy("Library/x/a.bin", "same");
    copy("project/go.mod", "");
    copy("project/deep/a.bin", "same");
    home.link("way", home.path("look"));
    home.link("out", "/usr");
    const std::string passed = home.path("look");
    for (const auto& [root, reason] : std::vector<std::pair<std::string, std::string>>{
             {home.path(), ""},
             {passed, ""},
             {home.path("way/deep/.."), ""},
             {home.path("missing"), "No such file"},
             {home.path("look/a.bin"), "is no folder"},
             {"/usr", "outside your home"},
             {home.path("out"), "outside your home"},
             {home.path("Library/x"), "where tools keep"},
             {home.path("look/deep/dist"), "where tools keep"},
             {home.path("look/repository"), "belongs to a project"},
             {home.path("project/deep"), "belongs to a project"}}) {
        const auto report = scanOf(root);
        EXPECT_EQ(report.has_value(), reason.empty()) << root;
        if (report) {
            EXPECT_EQ(groupsOf(*report), (Groups{{"a.bin", "deep/b.bin"}})) << root;
        } else {
            EXPECT_TRUE(report.error().contains(reason)) << report.error();
        }
    }
    EXPECT_EQ(scan().skipped,
              (std::vector<SkippedLocation>{{passed + "/deep/dist", SkippedLocation::Reason::excluded},
                                            {passed + "/repository", SkippedLocation::Reason::project}}));
    EXPECT_FALSE(hasExcludedAncestor(home.path("look/dist.old"), home.path()));
    home.folder("look/volume");
    const bool isMounted = test::isRunWithMount(passed + "/deep", passed + "/volume", [&] {
        const DuplicateReport report = scan();
        EXPECT_EQ(groupsOf(report), (Groups{{"a.bin", "deep/b.bin"}}));
        EXPECT_EQ(report.skipped.back().reason, SkippedLocation::Reason::otherVolume);
        EXPECT_FALSE(scanOf(passed + "/volume"));
    });
    if (!isMounted) GTEST_SKIP() << test::kNeedsMounts;
}

TEST(DuplicateScannerUnprivileged, NamesWhatCannotBeReadAndGoesOn) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    TestHome home;
    for (const char* name : {"look/a", "look/b", "look/c", "look/shut/d"}) {
        home.text(name, "same");
        home.modified(name, 1'000'000);
    }
    home.mode("look/c", 0000);
    home.mode("look/shut", 0000);
    const auto report = DuplicateScanner(home.path()).scan({.root = home.path("look")});
    home.mode("look/shut", 0700);
    ASSERT_TRUE(report);
    ASSERT_EQ(report->groups.size(), 1U);
    EXPECT_EQ(report->groups[0].files.size(), 2U);
    using enum SkippedLocation::Reason;
    EXPECT_EQ(report->skipped, (std::vector<SkippedLocation>{{home.path("look/c"), unreadable},
                                                             {home.path("look/shut"), unreadable}}));
}

// Wherever it is stopped, what is told is true, and it is said that there may be more.
TEST_F(DuplicateScannerTest, TellsWhatWasFoundWhenCancelled) {
    for (int file = 0; file < 12; ++file) {
        const char letter = static_cast<char>('a' + file / 3);
        copy("look/" + std::to_string(file % 3) + "/" + letter,
             std::string(file < 6 ? 100 : 400'000, letter));
    }
    std::atomic<int> polls = 0;
    const Groups all = groupsOf(scan([&] { return ++polls < 0; }));
    ASSERT_EQ(all.size(), 4U);
    bool wasPartial = false;
    for (int most = 0, total = polls; most < total; ++most) {
        polls = 0;
        const DuplicateReport report = scan([&] { return ++polls > most; });
        EXPECT_TRUE(report.cancelled) << most;
        for (const auto& group : groupsOf(report)) {
            EXPECT_TRUE(std::ranges::any_of(all, [&](const auto& whole) {
                return std::ranges::includes(whole, group) && group.size() > 1;
            })) << most;
            wasPartial = true;
        }
    }
    EXPECT_TRUE(wasPartial);
}

TEST_F(DuplicateScannerTest, DigestsNoFileThatIsNotAsItWasSeen) {
    const std::string path = home.path("look/a.bin");
    const auto write = [&](const std::string& content) { copy("look/a.bin", content); };
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"longer", [&] { write(longText() + "x"); }},
        {"shorter", [&] { write("x"); }},
        {"written to",
         [&] {
             home.text("look/a.bin", longText('y'));
             const timespec times[2] = {{kNow, 0}, {kNow - 86'400, 1}};
             ::utimensat(AT_FDCWD, path.c_str(), times, 0);
         }},
        {"replaced by the same", [&] { fs::rename(copy("look/new", longText()), path); }},
        {"replaced by a link",
         [&] {
             fs::rename(path, home.path("look/old"));
             home.link("look/a.bin", home.path("look/old"));
         }},
        {"replaced by a pipe", [&] { fs::remove(path), ::mkfifo(path.c_str(), 0600); }},
        {"given another name", [&] { home.hardLink("look/b.bin", "look/a.bin"); }},
        {"gone", [&] { fs::remove(path); }}};
    for (const bool isMeanwhile : {false, true}) {
        for (const auto& [name, change] : cases) {
            fs::remove_all(home.path("look"));
            write(longText());
            const auto status = statusOf(path);
            ASSERT_TRUE(status);
            const DuplicateFile file{
                .path = path,
                .identity = {status->device, status->inode, status->mode},
                .logicalBytes = longText().size(),
                .modified = std::chrono::sys_seconds(std::chrono::seconds(status->modified)),
                .modifiedNanoseconds = status->modifiedNanoseconds};
            EXPECT_TRUE(DuplicateScanner::hash(file));
            EXPECT_FALSE(DuplicateScanner::hash(file, [] { return true; }));
            int polls = 0;
            if (!isMeanwhile) change();
            EXPECT_FALSE(DuplicateScanner::hash(file,
                                                [&] {
                                                    if (isMeanwhile && ++polls == 2) change();
                                                    return false;
                                                }))
                << name << isMeanwhile;
        }
    }
}

TEST_F(DuplicateScannerTest, CountsClonesOnce) {
    const auto waste = [](const std::vector<std::uint32_t>& storages) {
        DuplicateGroup group;
        for (const std::uint32_t each : storages) {
            DuplicateFile file;
            file.logicalBytes = 10;
            file.storage = each;
            group.files.push_back(file);
        }
        return group.wastedBytes();
    };
    EXPECT_EQ(waste({0, 0, 0}), 20U);
    EXPECT_EQ(waste({1, 1, 0}), 10U);
    EXPECT_EQ(waste({1, 1, 2, 2}), 10U);
    EXPECT_EQ(waste({1, 1, 1}), 0U);

    DuplicateGroup group;
    for (const char* path : {"a", "b", "c", "holes"}) {
        DuplicateFile& file = group.files.emplace_back();
        file.path = path;
        file.logicalBytes = 10;
    }
    group.files[0].storage = group.files[1].storage = 1;
    group.files[3].unstoredBytes = 9;
    EXPECT_EQ(group.wastedBytes(), 11U) << "of two clones, one beside them and one of holes";
    EXPECT_EQ(group.bytesFreedWithout({"a", "b"}), 10U);
    EXPECT_EQ(group.bytesFreedWithout({"b", "holes"}), 1U) << "a is a clone of b";
}

}  // namespace
}  // namespace brindle
