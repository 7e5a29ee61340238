#include "core/scan/scanner.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/scan/cancellation_flag.h"
#include "core/scan/report_json.h"
#include "tests/support/item_checks.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using Reason = UnreachableLocation::Reason;
using test::contextOf;

CleanupItem itemOf(std::string id, std::uint64_t bytes, Classification classification = Classification::safe,
                   std::vector<std::string> unreadable = {}, std::vector<std::string> foreign = {}) {
    CleanupItemFields fields;
    fields.id = std::move(id);
    fields.measurement.allocatedBytes = bytes;
    fields.measurement.unreadablePaths = std::move(unreadable);
    fields.measurement.otherVolumePaths = std::move(foreign);
    fields.classification = classification;
    fields.removal = {RunCommand{"brew", {"autoremove"}}};
    return CleanupItem(std::move(fields));
}

// A module that answers what it is told to.
class FixedModule : public ScanModule {
  public:
    explicit FixedModule(ModuleResult result, int milliseconds = 0)
        : result_(std::move(result)), pause_(milliseconds) {}
    ModuleID id() const override { return result_.moduleID; }
    bool isPresent(const ScanContext&) const override { return true; }
    ModuleResult scan(const ScanContext& context) const override {
        std::this_thread::sleep_for(std::chrono::milliseconds(pause_));
        for (const char* stray : {"/stray", "/b"})
            if (id() == ModuleID::go) context.diagnostics->record(stray, Reason::permissionDenied);
        return result_;
    }

  private:
    ModuleResult result_;
    int pause_;
};

std::shared_ptr<const ScanModule> module(ModuleResult result, int milliseconds = 0) {
    return std::make_shared<FixedModule>(std::move(result), milliseconds);
}

std::vector<std::string> paths(const std::vector<UnreachableLocation>& locations) {
    std::vector<std::string> paths;
    for (const UnreachableLocation& location : locations) paths.push_back(location.path);
    return paths;
}

TEST(Scanner, MergesModulesLargestFirstAndNamesEveryPlaceOnce) {
    test::TestHome home;
    const UnreachableLocation own{"/b", Reason::toolchainNotRunning, "start it"};
    const ModuleList modules = {
        module({ModuleID::xcode,
                {itemOf("xcode.late", 10, Classification::safe, {"/c", "/b"}, {"/a", "/c"})},
                {own},
                true},
               60),
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

}  // namespace
}  // namespace brindle
