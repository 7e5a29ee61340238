#include <gtest/gtest.h>

#include "core/scan/scanner.h"
#include "tests/support/git_home.h"
#include "tests/support/item_checks.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using test::GitHome;

constexpr std::int64_t kLastUsed = 1'700'000'000;

struct Found {
    ScanReport report;
    std::vector<ModuleID> finished;

    std::vector<CleanupItem> items() const { return report.allItems(); }
};

Found scan(const GitHome& home, int daysLater, ScanRequest request = {}) {
    Found found;
    request.projectRoots = {"P"};
    request.tools = home.tools();
    request.onModuleFinished = [&](const ModuleResult& result) { found.finished.push_back(result.moduleID); };
    ScanContext context = test::contextOf(home);
    context.now = TimePoint(std::chrono::seconds(kLastUsed) + std::chrono::days(daysLater));
    found.report = Scanner({}).scan(context, request);
    return found;
}

TEST(ScannerProjects, OffersWhatWasLeftAlone) {
    test::speakEnglish();
    GitHome home;
    // Many that may be bare repositories, and are none.
    home.shell("P/lantern",
               "mkdir samples; cd samples; mkdir $(seq 1001); for i in *; do echo > $i/HEAD; done");
    home.untouchedProject("P/lantern", kLastUsed);
    for (const int days : {29, 30, 90}) {
        SCOPED_TRACE(days);
        const Found found = scan(home, days);
        ASSERT_EQ(found.report.projects.size(), 1U);
        EXPECT_EQ(found.finished, std::vector{ModuleID::projects});
        ASSERT_EQ(found.items().size(), days == 29 ? 0U : 1U);
        if (days == 29) continue;
        const CleanupItem item = found.items().front();
        EXPECT_EQ(item.classification, days < 90 ? Classification::review : Classification::safe);
        EXPECT_EQ(item.removal.affectedPaths(), std::vector{home.path("P/lantern/node_modules")});
        EXPECT_EQ(item.pathIdentities.size(), 1U);
        EXPECT_EQ(item.bytes(), found.report.projects.front().rebuildableBytes());
    }
}

TEST(ScannerProjects, OffersNothingThatTheUserProtectsOrSwitchesOff) {
    test::speakEnglish();
    GitHome home;
    home.untouchedProject("P/lantern", kLastUsed);
    const Found kept = scan(home, 100, {.protectedPaths = {home.path("P/lantern/src")}});
    EXPECT_EQ(kept.items().front().classification, Classification::safe) << "another folder of the project";
    const Found held = scan(home, 100, {.protectedPaths = {home.path("P")}});
    EXPECT_EQ(held.items().front().classification, Classification::protected_);
    EXPECT_EQ(test::factOf(held.items().front(), "Not removed because"), "inside a protected path: ~/P");
    for (const ScanRequest& request :
         {ScanRequest{.disabledModules = {ModuleID::projects}}, ScanRequest{.includeProjects = false}}) {
        const Found none = scan(home, 100, request);
        EXPECT_TRUE(none.report.projects.empty() && none.finished.empty());
    }
}

// A module that remembers which projects it was told of.
struct AskingModule : ScanModule {
    ModuleID id() const override { return ModuleID::python; }
    bool isPresent(const ScanContext&) const override { return true; }
    ModuleResult scan(const ScanContext& context) const override {
        places = context.projectPlaces();
        return {id(), {}, {}, true};
    }
    mutable ProjectPlaces places;
};

TEST(ScannerProjects, TellsModulesOfProjectsAndOfWhatCouldNotBeReadWhateverIsIncluded) {
    GitHome home;
    home.file("P/lantern/go.mod");
    std::string deep = "P/deep";
    for (int level = 1; level <= 32; ++level) deep += "/d";
    home.folder(deep);
    for (const bool areIncluded : {false, true}) {
        const auto module = std::make_shared<AskingModule>();
        const ScanRequest request{
            .includeProjects = areIncluded, .projectRoots = {"P"}, .tools = home.tools()};
        const ScanReport report = Scanner({module}).scan(test::contextOf(home), request);
        EXPECT_EQ(module->places.paths, std::set{home.path("P/lantern")});
        EXPECT_EQ(module->places.unread, std::set{home.path(deep)});
        EXPECT_EQ(report.unreachable().at(0).reason, UnreachableLocation::Reason::searchDepth);
    }
}

}  // namespace
}  // namespace brindle
