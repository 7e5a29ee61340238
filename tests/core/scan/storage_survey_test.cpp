#include "core/scan/storage_survey.h"

#include <gtest/gtest.h>

#include <numeric>

#include "core/scan/cancellation_flag.h"
#include "core/scan/survey_walk.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"
#include "tests/support/mounted.h"

namespace brindle {
namespace {

using test::diskUsage;
using test::TestHome;

TEST(StorageBreakdown, SumsToTheCapacityAndCutsDocumentsFirst) {
    const StorageSurvey both{{300, {}}, {100, {}}};
    const StorageSurvey blocked{{300, {}}, {std::nullopt, "closed"}};
    struct Row {
        std::uint64_t total, free, developer;
        StorageSurvey survey;
        std::vector<std::uint64_t> bytes;
    };
    for (const Row& row :
         {Row{1000, 300, 200, {}, {200, 0, 0, 500, 300}},
          Row{1000, 300, 200, both, {200, 300, 100, 100, 300}},
          Row{1000, 300, 200, blocked, {200, 300, 0, 200, 300}},
          Row{1000, 450, 200, both, {200, 300, 50, 0, 450}}, Row{1000, 600, 200, both, {200, 200, 0, 0, 600}},
          Row{1000, 900, 200, both, {100, 0, 0, 0, 900}}, Row{100, 200, 200, both, {0, 0, 0, 0, 100}}}) {
        const auto slices = storageBreakdown(DiskInfo{"v", row.total, row.free}, row.developer, row.survey);
        std::vector<std::uint64_t> bytes;
        for (const StorageCategory& slice : slices) bytes.push_back(slice.bytes);
        EXPECT_EQ(bytes, row.bytes);
        EXPECT_EQ(std::reduce(bytes.begin(), bytes.end()), row.total);
        EXPECT_EQ(slices.at(2).isMeasured, row.survey.documents.bytes.has_value());
        EXPECT_EQ(slices.at(2).storedBlockedReason, row.survey.documents.blockedReason);
    }
    EXPECT_EQ(storageBreakdown(std::nullopt, 7, {}).size(), 1U);
    EXPECT_EQ((DiskInfo{"v", 100, 130}.usedBytes()), 0U);
}

// A home with apps and docs, and what the modules of one scan counted in it.
struct Scanned {
    TestHome home;
    ScanContext context = test::contextOf(home);
    std::vector<CleanupItem> items;

    // An item of places that were measured as a module measures them.
    void count(const std::vector<std::string>& places) {
        CleanupItemFields fields;
        fields.id = "tools." + std::to_string(items.size());
        for (const std::string& place : places) fields.measurement += *context.measure(home.path(place));
        items.emplace_back(std::move(fields));
    }

    // A project's generated folders: an item when they are offered.
    void walkProject(const std::string& project, bool isOffered) {
        const AreaRule rule{.isArea = [](std::string_view name) { return name == "target"; },
                            .isMark = [](auto, bool) { return false; },
                            .hardlinks = context.hardlinks.get()};
        CleanupItemFields fields;
        fields.id = "projects." + project;
        DeletePaths paths;
        for (const MeasuredArea& area : context.sizer.measureWithAreas(home.path(project), {}, rule).areas) {
            fields.measurement += area.measurement;
            paths.paths.push_back(area.path);
        }
        fields.removal = {paths};
        if (isOffered) items.emplace_back(std::move(fields));
    }

    StorageSurvey survey(bool mayRaisePrompts = true) const {
        SurveyWalk walk(context,
                        {{{home.path("apps")}, {home.path("docs"), home.path("down")}}, mayRaisePrompts});
        walk.run();
        return walk.survey({{ModuleID::tools, items, {}, true}});
    }

    std::uint64_t developerBytes() const {
        std::uint64_t sum = 0;
        for (const CleanupItem& item : items) sum += item.bytes();
        return sum;
    }
};

TEST(SurveyWalk, CountsWithTheModulesWhatDuCountsOfAll) {
    using Places = std::vector<std::string>;  // what the modules counted beside apps, docs and down
    const std::tuple<const char*, Places, std::function<void(Scanned&)>> rows[] = {
        {"nothing is counted", {}, [](Scanned&) {}},
        {"a project that is not offered", {}, [](Scanned& scanned) { scanned.walkProject("docs/p", false); }},
        {"one that is", {}, [](Scanned& scanned) { scanned.walkProject("docs/p", true); }},
        {"a link first seen outside",
         {"store"},
         [](Scanned& scanned) { scanned.count({"store"}), scanned.walkProject("docs/p", true); }},
        {"a link first seen in what is not offered",
         {"store"},
         [](Scanned& scanned) { scanned.walkProject("docs/p", false), scanned.count({"store"}); }},
        {"an item within another",
         {},
         [](Scanned& scanned) {
             scanned.count({"docs/p/target/deep"});
             scanned.items.front().measurement = {};  // the outer one counts it again
             scanned.items.front().measurement.places = {scanned.home.path("docs/p/target/deep")};
             scanned.context.hardlinks = std::make_shared<HardlinkTracker>();
             scanned.count({"docs/p"});
         }},
        {"an item that holds one of the folders", {}, [](Scanned& scanned) { scanned.count({"down"}); }},
        {"an item in and outside",
         {"store"},
         [](Scanned& scanned) { scanned.count({"docs/p/target", "store"}); }},
        {"an item behind a link", {}, [](Scanned& scanned) { scanned.count({"toDocs/p/target"}); }},
        {"an item that is a link", {}, [](Scanned& scanned) { scanned.count({"docs/p/toStore"}); }},
    };
    for (const auto& [what, outside, count] : rows) {
        Scanned scanned;
        TestHome& home = scanned.home;
        home.file("apps/program", 40'000);
        home.file("docs/letter", 10'000);
        home.file("docs/p/source", 20'000);
        home.file("docs/p/target/deep/object", 80'000);
        home.file("store/package", 160'000);
        home.file("store/other", 320'000);
        home.hardLink("docs/p/target/package", "store/package");
        home.hardLink("docs/p/target/second name", "store/package");
        home.hardLink("docs/other", "store/other");
        home.file("down/archive", 640'000);
        home.hardLink("apps/again", "docs/letter");
        home.link("toDocs", "docs");
        home.link("docs/p/toStore", "../../store");
        count(scanned);
        const StorageSurvey survey = scanned.survey();
        std::vector<std::string> all = {home.path("apps"), home.path("docs"), home.path("down")};
        for (const std::string& place : outside) all.push_back(home.path(place));
        ASSERT_TRUE(survey.applications.bytes && survey.documents.bytes) << what;
        EXPECT_EQ(scanned.developerBytes() + *survey.applications.bytes + *survey.documents.bytes,
                  diskUsage(all))
            << what;
        EXPECT_EQ(*survey.applications.bytes, diskUsage(home.path("apps"))) << what;
    }
}

TEST(SurveyWalk, LeavesOutWhatLiesOnAnotherVolume) {
    Scanned scanned;
    scanned.home.file("docs/letter");
    scanned.home.folder("docs/other");
    scanned.home.folder("down");
    scanned.home.folder("apps");
    const std::uint64_t here = diskUsage({scanned.home.path("docs/letter"), scanned.home.path("down")}) +
                               diskUsage(scanned.home.folder("empty"));
    const bool isRun = test::isRunWithMount("", scanned.home.path("docs/other"), [&] {
        scanned.home.file("docs/other/cache/x", 50'000);
        scanned.context.mounts = MountPoints::current();
        scanned.count({"docs/other/cache"});
        EXPECT_EQ(scanned.survey().documents.bytes, here);
    });
    if (!isRun) GTEST_SKIP() << test::kNeedsMounts;
}

TEST(SurveyWalkUnprivileged, TellsWhyASliceIsNotMeasured) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    Scanned scanned;
    scanned.home.file("apps/program");
    scanned.home.file("docs/closed/x");
    scanned.home.mode("docs/closed", 0);
    EXPECT_EQ(scanned.survey().documents, (StorageSurvey::Slice{{}, "~/docs/closed could not be read."}));
    EXPECT_TRUE(scanned.survey().applications.bytes);
    scanned.home.folder("down/closed too");
    scanned.home.mode("down/closed too", 0);
    EXPECT_EQ(scanned.survey().documents.blockedReason, "~/docs/closed and other places could not be read.");
    scanned.count({"docs/closed"});
    scanned.count({"down"});
    EXPECT_TRUE(scanned.survey().documents.bytes) << "what is closed belongs to items";

    scanned.home.folder("Library/Safari");
    scanned.home.mode("Library/Safari", 0);
    const StorageSurvey quiet = scanned.survey(false);
    EXPECT_EQ(quiet.documents.blockedReason, "Without Full Disk Access the system would ask you first.");
    EXPECT_TRUE(quiet.applications.bytes && scanned.survey(true).documents.bytes);
    test::expectInEnglish({*quiet.documents.blockedReason});

    CancellationFlag flag;
    flag.cancel();
    scanned.context.isCancelled = flag.checker();
    const StorageSurvey::Slice interrupted{{}, "The scan was interrupted."};
    EXPECT_TRUE(scanned.survey().documents == interrupted && scanned.survey().applications == interrupted);
}

}  // namespace
}  // namespace brindle
