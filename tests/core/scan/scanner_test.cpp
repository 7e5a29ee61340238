#include "core/scan/scanner.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/scan/cancellation_flag.h"
#include "core/scan/report_json.h"
#include "core/scan/storage_survey.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Reason = UnreachableLocation::Reason;

CleanupItem itemOf(std::string id, std::uint64_t bytes, Classification classification = Classification::safe,
                   std::vector<std::string> unreadable = {}, std::vector<std::string> foreign = {}) {
    DirectoryMeasurement measurement;
    measurement.allocatedBytes = bytes;
    measurement.unreadablePaths = std::move(unreadable);
    measurement.otherVolumePaths = std::move(foreign);
    return CleanupItem({.id = std::move(id),
                        .moduleID = ModuleID::xcode,
                        .title = "title",
                        .detail = "detail",
                        .measurement = measurement,
                        .classification = classification,
                        .explanation = {},
                        .removal = {DeletePaths{}},
                        .projectPath = std::nullopt,
                        .clears = std::nullopt});
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
        if (result_.moduleID == ModuleID::go) context.diagnostics->record("/stray", Reason::permissionDenied);
        if (result_.moduleID == ModuleID::go) context.diagnostics->record("/b", Reason::permissionDenied);
        return result_;
    }

  private:
    ModuleResult result_;
    int pause_;
};

std::shared_ptr<const ScanModule> module(ModuleResult result, int milliseconds = 0) {
    return std::make_shared<FixedModule>(std::move(result), milliseconds);
}

ScanContext contextOf(const test::TestHome& home) {
    ScanContext context;
    context.home = home.path();
    context.now = std::chrono::system_clock::now();
    return context;
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
    const ScanReport report = Scanner(modules).scan(
        contextOf(home),
        {.disabledModules = {},
         .includeProjects = true,
         .onModuleFinished = [&](const ModuleResult& result) { finished.push_back(result.moduleID); },
         .onTimings = {}});

    ASSERT_EQ(report.modules.size(), 4U);
    EXPECT_EQ(report.modules[0].moduleID, ModuleID::go);
    const ModuleResult& xcode = report.modules[1];
    EXPECT_EQ(xcode.items.front().id, "xcode.early");
    EXPECT_TRUE(xcode.isToolchainInstalled);
    EXPECT_EQ(paths(xcode.unreachable), (std::vector<std::string>{"/b", "/c", "/a"}));
    EXPECT_EQ(xcode.unreachable[0], own);
    EXPECT_EQ(xcode.unreachable[2].reason, Reason::differentVolume);
    EXPECT_EQ(report.modules[2].moduleID, ModuleID::node);
    EXPECT_EQ(paths(report.modules[3].unreachable), std::vector<std::string>{"/stray"});
    EXPECT_EQ(finished.size(), 4U);
    EXPECT_EQ(finished.back(), ModuleID::xcode);

    EXPECT_EQ(report.developerBytes(), 115U);
    EXPECT_EQ(report.reclaimableBytes(), 110U);
    EXPECT_EQ(report.bytes(Classification::protected_), 5U);
    EXPECT_EQ(report.installedModules().size(), 2U);
    EXPECT_TRUE(report.isPartial());
    const auto json = reportJson(report, home.path());
    EXPECT_EQ(json["totals"]["reclaimableBytes"], 110);
    EXPECT_EQ(json["modules"][1]["unreachable"][0]["reason"], "toolchainNotRunning");
}

TEST(Scanner, LeavesOutWhatIsDisabledAndReportsNothingWhenCancelled) {
    test::TestHome home;
    const ModuleList modules = {module({ModuleID::rust, {itemOf("rust.a", 1)}, {}, false}),
                                module({ModuleID::python, {itemOf("python.a", 1)}, {}, false}),
                                module({ModuleID::python, {itemOf("python.b", 1)}, {}, false})};
    ScanRequest request;
    request.disabledModules = {ModuleID::python};
    ScanReport report = Scanner(modules).scan(contextOf(home), request);
    ASSERT_EQ(report.modules.size(), 1U);
    EXPECT_EQ(report.modules[0].moduleID, ModuleID::rust);

    request.disabledModules = {ModuleID::python, ModuleID::rust};
    report = Scanner(modules).scan(contextOf(home), request);
    EXPECT_TRUE(report.modules.empty());
    EXPECT_EQ(report.storage.size(), 5U);

    CancellationFlag flag;
    flag.cancel();
    ScanContext cancelled = contextOf(home);
    cancelled.isCancelled = flag.checker();
    report = Scanner(modules).scan(cancelled, {});
    ASSERT_EQ(report.modules.size(), 2U);
    for (const ModuleResult& result : report.modules) {
        EXPECT_TRUE(result.items.empty());
        EXPECT_TRUE(result.isToolchainInstalled);
    }
}

TEST(StorageBreakdown, SumsToTheCapacity) {
    using Kind = StorageCategory::Kind;
    struct Row {
        std::uint64_t total, free, developer, other;
        StorageSurvey survey;
    };
    for (const Row& row : {Row{1000, 300, 200, 500, {}},
                           Row{1000, 300, 200, 100, {.applicationsBytes = 300, .documentsBytes = 100}},
                           Row{1000, 900, 200, 0, {}}, Row{100, 200, 0, 0, {}}}) {
        const auto slices = storageBreakdown(DiskInfo{"v", row.total, row.free}, row.developer, row.survey);
        ASSERT_EQ(slices.size(), 5U);
        EXPECT_EQ(slices[3].kind, Kind::other);
        EXPECT_EQ(slices[3].bytes, row.other);
        EXPECT_EQ(slices[1].isMeasured, row.survey.applicationsBytes.has_value());
        EXPECT_EQ(slices[4].bytes, row.free);
    }
    EXPECT_EQ(storageBreakdown(std::nullopt, 7, {}).size(), 1U);
}

TEST(ScanReport, CallsProjectsDormantFromNinetyDaysOn) {
    ScanReport report;
    report.finishedAt = std::chrono::system_clock::now();
    const auto usedDaysAgo = [&](int days) {
        Project project;
        project.name = std::to_string(days);
        project.lastUsed = report.finishedAt - std::chrono::days(days) - std::chrono::hours(2);
        return project;
    };
    report.projects = {usedDaysAgo(89), usedDaysAgo(90), Project{}, usedDaysAgo(500)};
    const auto dormant = report.dormantProjects();
    ASSERT_EQ(dormant.size(), 2U);
    EXPECT_EQ(dormant[0].name, "90");
    EXPECT_FALSE(report.isPartial());
    report.storage = {{StorageCategory::Kind::documents, 0, false, "not allowed"}};
    EXPECT_TRUE(report.isPartial());
}

}  // namespace
}  // namespace brindle
