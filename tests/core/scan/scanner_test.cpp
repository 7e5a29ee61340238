#include "core/scan/scanner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "core/scan/cancellation_flag.h"
#include "core/scan/report_json.h"
#include "core/scan/scan_context.h"
#include "tests/support/git_home.h"
#include "tests/support/item_checks.h"
#include "tests/support/sample_item.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using std::chrono::sys_seconds;
using test::GitHome;
using Reason = UnreachableLocation::Reason;
using test::contextOf;

CleanupItem itemOf(const std::string& id, std::uint64_t bytes,
                   Classification classification = Classification::safe) {
    return test::itemOf(id, {RunCommand{"brew", {"autoremove"}}}, classification, bytes);
}

// A module that does in its scan what it is told to.
class ToldModule : public ScanModule {
  public:
    using Told = std::function<ModuleResult(const ScanContext&)>;
    ToldModule(ModuleID id, Told told) : id_(id), told_(std::move(told)) {}
    ModuleID id() const override { return id_; }
    bool isPresent(const ScanContext&) const override { return true; }
    ModuleResult scan(const ScanContext& context) const override { return told_(context); }

  private:
    ModuleID id_;
    Told told_;
};

std::shared_ptr<const ScanModule> module(const ModuleResult& result, int milliseconds = 0) {
    return std::make_shared<ToldModule>(result.moduleID, [=](const ScanContext& context) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        for (const char* stray : {"/stray", "/b"})
            if (result.moduleID == ModuleID::go) context.diagnostics->record(stray, Reason::permissionDenied);
        return result;
    });
}

std::vector<std::string> paths(const std::vector<UnreachableLocation>& locations) {
    std::vector<std::string> paths;
    for (const UnreachableLocation& location : locations) paths.push_back(location.path);
    return paths;
}

TEST(Scanner, MergesModulesLargestFirstAndNamesEveryPlaceOnce) {
    test::TestHome home;
    const UnreachableLocation own{"/b", Reason::toolchainNotRunning, "start it"};
    CleanupItem late = itemOf("xcode.late", 10);
    late.measurement.unreadablePaths = {"/c", "/b"};
    late.measurement.otherVolumePaths = {"/a", "/c"};
    const ModuleList modules = {
        module({ModuleID::xcode, {late}, {own}, true}, 60),
        module({ModuleID::xcode, {itemOf("xcode.early", 5, Classification::protected_)}, {}, false}),
        module({ModuleID::go, {itemOf("go.large", 100, Classification::review)}, {}, true}),
        module({ModuleID::node, {}, {}, false}),
    };
    std::vector<ModuleID> finished;
    ScanRequest request;
    request.onModuleFinished = [&](const ModuleResult& result) { finished.push_back(result.moduleID); };
    const ScanReport report = Scanner(modules).scan(contextOf(home), request);

    ASSERT_EQ(report.modules.size(), 4U);
    EXPECT_EQ(report.modules[0].moduleID, ModuleID::go);
    const ModuleResult& xcode = report.modules[1];
    EXPECT_EQ(xcode.items.front().id, "xcode.late");
    EXPECT_EQ(paths(xcode.unreachable), (std::vector<std::string>{"/b", "/c", "/a"}));
    EXPECT_EQ(xcode.unreachable[0], own);
    EXPECT_EQ(xcode.unreachable[2].reason, Reason::differentVolume);
    EXPECT_EQ(report.modules[2].moduleID, ModuleID::node);
    EXPECT_EQ(paths(report.modules[3].unreachable), std::vector<std::string>{"/stray"});
    EXPECT_EQ(finished.size(), 5U) << "and the projects, of which there are none";
    EXPECT_EQ(finished.back(), ModuleID::xcode);

    EXPECT_TRUE(report.developerBytes() == 115 && report.reclaimableBytes() == 110 && report.isPartial());
    EXPECT_EQ(report.installedModules().size(), 2U);
    const auto json = reportJson(report, home.path());
    EXPECT_EQ(json["modules"][1]["unreachable"][0]["reason"], "toolchainNotRunning");
}

TEST(Scanner, LeavesOutWhatIsDisabledAndReportsNothingWhenCancelled) {
    test::TestHome home;
    const ModuleList modules = {module({ModuleID::rust, {itemOf("rust.a", 1)}, {}, false}),
                                module({ModuleID::python, {itemOf("python.a", 1)}, {}, false}),
                                module({ModuleID::python, {itemOf("python.b", 1)}, {}, false})};
    ScanRequest request;
    request.disabledModules = {ModuleID::python, ModuleID::rust};
    EXPECT_TRUE(Scanner(modules).scan(contextOf(home), request).modules.empty());
    CancellationFlag flag;
    flag.cancel();
    ScanContext cancelled = contextOf(home);
    cancelled.isCancelled = flag.checker();
    const ScanReport report = Scanner(modules).scan(cancelled, {});
    EXPECT_TRUE(report.modules.size() == 2 && report.allItems().empty());
    for (const ModuleResult& result : report.modules) EXPECT_TRUE(result.isToolchainInstalled);
}

TEST(Scanner, ProtectsWhatTheGuardWouldRefuseAndSaysWhy) {
    test::TestHome home;
    home.folder("elsewhere");
    home.link(".cache", "elsewhere");
    const auto item = [&](const std::string& relative,
                          Classification classification = Classification::review) {
        CleanupItem made = itemOf("leftovers." + relative, 10, classification);
        made.explanation = {"what", "next", "why", Regeneration{}, {{"Files", "1"}}};
        made.clears = "more";
        made.removal = {DeletePaths{{home.path(relative)}}};
        return made;
    };
    ScanRequest request;
    request.includeProjects = false;
    request.protectedPaths = {home.path("Library/Logs/kept/one")};
    const std::string leftover = "Library/WebKit/org.example.app";
    std::set<std::string> vouched;
    request.onModuleFinished = [&](const ModuleResult& result) { vouched = result.vouchedLeftoverPaths(); };
    const std::vector<CleanupItem> found = {item(leftover), item("Library/Logs/kept"), item(".cache/uv"),
                                            item(".npm/x"),
                                            item(".claude/projects", Classification::protected_)};
    for (const ModuleID id : {ModuleID::leftovers, ModuleID::tools}) {
        const ModuleResult result{id, found, {}, true};
        const ScanReport report = Scanner({module(result)}).scan(contextOf(home), request);
        const std::vector<CleanupItem> items = report.allItems();
        ASSERT_EQ(items.size(), 5U);
        const bool isVouched = id == ModuleID::leftovers;
        EXPECT_EQ(isRemovable(items[0].classification), isVouched);
        EXPECT_EQ(report.vouchedLeftoverPaths(), vouched);
        EXPECT_EQ(vouched, isVouched ? std::set{home.path(leftover)} : std::set<std::string>());
        EXPECT_EQ(isRemovable(items[3].classification), !isVouched);
        const std::vector<Fact> facts = {
            {"Files", "1"}, {"Not removed because", "inside a protected path: ~/Library/Logs/kept/one"}};
        EXPECT_EQ(items[1].explanation,
                  (Explanation{"what", "Nothing is removed by Brindle.", {}, {}, facts}));
        EXPECT_EQ(items[1].clears, std::nullopt);
        EXPECT_EQ(items[2].classification, Classification::protected_);
        EXPECT_EQ(items[2].explanation.facts.back(),
                  (Fact{"Not removed because", "a parent directory is a symlink"}));
        EXPECT_EQ(report.reclaimableBytes(), 10U);
        EXPECT_EQ(items[4], result.items[4]);
    }
}

TEST(ReportJson, TellsOfEachProjectWhichOthersLookAlike) {
    ScanReport report;
    report.projects.assign(3, test::lantern());
    report.projects[0].path = "/h/a/lantern";
    report.projects[2].name = "orbit";
    report.projects[2].path = "/h/orbit";
    const auto projects = reportJson(report, "/h")["projects"];
    EXPECT_EQ(projects[0]["relations"][0]["otherPath"], report.projects[1].path);
    EXPECT_TRUE(projects[2]["relations"].is_array() && projects[2]["relations"].empty());
}

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
    EXPECT_TRUE(scan(home, 29).items().empty());
    const Found found = scan(home, 90);
    ASSERT_EQ(found.report.projects.size(), 1U);
    EXPECT_EQ(found.finished, std::vector{ModuleID::projects});
    ASSERT_EQ(found.items().size(), 1U);
    const CleanupItem item = found.items().front();
    EXPECT_EQ(item.classification, Classification::safe);
    EXPECT_EQ(item.removal.affectedPaths(), std::vector{home.path("P/lantern/node_modules")});
    EXPECT_EQ(item.pathIdentities.size(), 1U);
    EXPECT_EQ(item.bytes(), found.report.projects.front().rebuildableBytes());
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

TEST(ScannerProjects, TellsModulesOfProjectsAndOfWhatCouldNotBeReadWhateverIsIncluded) {
    GitHome home;
    home.file("P/lantern/go.mod");
    std::string deep = "P/deep";
    for (int level = 1; level <= 32; ++level) deep += "/d";
    home.folder(deep);
    for (const bool areIncluded : {false, true}) {
        ProjectPlaces places;
        const auto asking = std::make_shared<ToldModule>(ModuleID::python, [&](const ScanContext& context) {
            places = context.projectPlaces();
            return ModuleResult{ModuleID::python, {}, {}, true};
        });
        const ScanRequest request{
            .includeProjects = areIncluded, .projectRoots = {"P"}, .tools = home.tools()};
        const ScanReport report = Scanner({asking}).scan(test::contextOf(home), request);
        EXPECT_EQ(places.paths, std::set{home.path("P/lantern")});
        EXPECT_EQ(places.unread, std::set{home.path(deep)});
        EXPECT_EQ(report.unreachable().at(0).reason, UnreachableLocation::Reason::searchDepth);
    }
}

TEST(ScanContext, SaysOfAVanishedFileThatItIsGone) {
    test::TestHome home;
    home.file("cache/data");
    ScanContext context = contextOf(home);
    context.isCancelled = [&, polls = 0]() mutable {
        // Asked once before the walk and once before each entry: the folder has been listed by then.
        if (++polls == 2) std::filesystem::remove(home.path("cache/data"));
        return false;
    };
    EXPECT_TRUE(context.measure(home.path("cache")));
    EXPECT_EQ(context.diagnostics->reason(home.path("cache/data")), Reason::missing);
}

TEST(ScanContextUnprivileged, RecordsWhatItCouldNotRead) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    test::TestHome home;
    home.file("cache/closed/data");
    home.mode("cache/closed", 0000);
    const ScanContext context = contextOf(home);
    EXPECT_TRUE(context.measure(home.path("cache")));
    EXPECT_TRUE(context.children(home.path("cache/closed")).empty());
    EXPECT_TRUE(context.children(home.path("nowhere")).empty());
    EXPECT_EQ(context.diagnostics->paths(), std::vector{home.path("cache/closed")});

    home.file("shut/tool/cache/data");
    home.mode("shut", 0000);
    EXPECT_FALSE(context.measure(home.path("shut/tool/cache")));
    EXPECT_EQ(context.diagnostics->paths(), (std::vector{home.path("cache/closed"), home.path("shut")}));
}

TEST(ScanContext, ListsChildrenWithTheirOwnTimes) {
    test::TestHome home;
    home.folder("folder/b");
    home.file("folder/.hidden");
    home.file("folder/a");
    home.modified("folder/a", 1000);
    const auto children = contextOf(home).children(home.path("folder"));
    ASSERT_EQ(children.size(), 2U);
    EXPECT_EQ(children[0], (ChildEntry{home.path("folder/a"), sys_seconds(std::chrono::seconds(1000))}));
    EXPECT_EQ(children[1].path, home.path("folder/b"));
}

TEST(ScanContext, SaysAgesAsPeopleDo) {
    test::speakEnglish();
    test::TestHome home;
    const ScanContext context = contextOf(home);
    const auto now = std::chrono::floor<std::chrono::seconds>(context.now);
    using Row = std::pair<int, const char*>;
    for (const auto& [days, text] : {Row{-400, "today"}, Row{0, "today"}, Row{1, "yesterday"},
                                     Row{29, "29 days ago"}, Row{30, "last month"}, Row{60, "2 months ago"},
                                     Row{364, "12 months ago"}, Row{365, "over a year ago"}}) {
        // An hour beside the full day: a change of daylight saving between must not move the row.
        EXPECT_EQ(context.relativeAge(now - std::chrono::days(days) - std::chrono::hours(2)), text) << days;
    }
    EXPECT_EQ(context.relativeAge(std::nullopt), "unknown");
    EXPECT_EQ(context.relativeAge(sys_seconds::min()), "unknown");
    EXPECT_FALSE(context.days(std::nullopt));
    EXPECT_EQ(context.displayPath(home.path("a")), "~/a");
    EXPECT_EQ(context.displayPath(home.path() + "-other/a"), home.path() + "-other/a");
}

TEST(ScanDiagnostics, KeepsTheFirstRealFailureOfAPath) {
    ScanDiagnostics diagnostics;
    using enum UnreachableLocation::Reason;
    for (const Reason reason : {differentVolume, permissionDenied, missing}) diagnostics.record("/z", reason);
    for (const Reason reason : {searchDepth, differentVolume}) diagnostics.record("/a", reason);
    using Entries = std::vector<std::pair<std::string, Reason>>;
    EXPECT_EQ(diagnostics.entries(),
              (Entries{{"/a", Reason::differentVolume}, {"/z", Reason::permissionDenied}}));
}

}  // namespace
}  // namespace brindle
