#include "core/session/cleanup_plan.h"

#include <gtest/gtest.h>

#include <functional>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::TestHome;

CleanupItem itemOf(const std::string& id, RemovalStrategy removal, Classification classification) {
    return CleanupItem({.id = id,
                        .moduleID = ModuleID::python,
                        .title = "A cache",
                        .detail = {},
                        .measurement = {.allocatedBytes = 4096},
                        .classification = classification,
                        .explanation = {},
                        .removal = std::move(removal),
                        .projectPath = {},
                        .clears = {}});
}

CleanupItem pathItem(const std::vector<std::string>& paths,
                     Classification classification = Classification::safe) {
    return itemOf("python.pip", {DeletePaths{paths}}, classification);
}

ScanReport reportOf(std::vector<CleanupItem> items) {
    ScanReport report;
    report.modules.push_back({.moduleID = ModuleID::python, .items = std::move(items), .unreachable = {}});
    return report;
}

CleanupPlan planOf(const CleanupItem& item) {
    return planFor({item}, "/home/ana", std::chrono::system_clock::now());
}

// What the comparison says of the item when this is what a fresh scan offers; empty when it may go.
std::string changeBetween(const CleanupItem& planned, const std::vector<CleanupItem>& offered) {
    const auto again = planFromText(planText(planOf(planned)));
    if (!again) return again.error().describe();
    const PlannedCleanup cleanup = asPlanned(*again, reportOf(offered));
    EXPECT_EQ(cleanup.items.size() + cleanup.leftAlone.size(), 1U);
    return cleanup.leftAlone.empty() ? "" : cleanup.leftAlone.front().reason;
}

TEST(CleanupPlan, SurvivesItsFileWithEveryByte) {
    TestHome home;
    const std::string odd = home.file("a\xff\n\xe6\x97\xa5");
    CleanupItem ofProject =
        itemOf("projects." + odd, {DeletePaths{{odd, home.path("gone")}}}, Classification::review);
    ofProject.projectPath = odd;
    const CleanupItem command =
        itemOf("python.uv", {RunCommand{"/usr/bin/env", {"uv", "cache", "clean"}}}, Classification::safe);
    const CleanupPlan plan = planFor({ofProject, command}, odd, std::chrono::system_clock::now());
    EXPECT_EQ(plan.items[0].method, RemovalMethod::trashed);
    EXPECT_TRUE(plan.items[0].paths[0].identity);
    EXPECT_FALSE(plan.items[0].paths[1].identity);
    EXPECT_EQ(plan.items[1].method, RemovalMethod::command);
    const std::string path = home.path("plans/plan.json");
    ASSERT_TRUE(writePlan(path, plan));
    EXPECT_EQ(readPlan(path), plan);
    EXPECT_EQ(statusOf(path)->mode & 0777, 0600);
    EXPECT_TRUE(writePlan(path, planOf(command))) << "one plan replaces another";
    EXPECT_EQ(asPlanned(plan, reportOf({command, ofProject})).items, (std::vector{ofProject, command}));
}

TEST(CleanupPlan, LeavesAloneWhateverChanged) {
    TestHome home;
    const std::string one = home.file("one");
    const std::string two = home.file("two");
    const CleanupItem planned = pathItem({one});
    const CleanupItem command =
        itemOf("python.uv", {RunCommand{"uv", {"cache", "clean"}}}, Classification::safe);
    CleanupItem otherProject = planned;
    otherProject.projectPath = two;
    CleanupItem replaced = planned;
    ++replaced.pathIdentities.at(one).inode;
    CleanupItem otherMode = planned;
    otherMode.pathIdentities.at(one).mode ^= 0100;
    struct Case {
        const char* said;
        CleanupItem planned;
        std::vector<CleanupItem> offered;
    };
    const Case cases[] = {
        {"", planned, {planned}},
        {"", pathItem({one, two}), {pathItem({two, one})}},
        {"no longer offered", planned, {}},
        {"judged \"review\" now", planned, {pathItem({one}, Classification::review)}},
        {"judged \"protected\" now",
         pathItem({one}, Classification::protected_),
         {pathItem({one}, Classification::protected_)}},
        {"go another way now", pathItem({one}, Classification::review), {planned}},
        {"other paths now", planned, {pathItem({one, two})}},
        {"other paths now", pathItem({one, two}), {planned}},
        {"other paths now", planned, {pathItem({two})}},
        {"another object now", planned, {replaced}},
        {"another object now", planned, {otherMode}},
        {"another object now", pathItem({home.path("new")}),
         [&] {
             home.file("new");
             return std::vector{pathItem({home.path("new")})};
         }()},
        {"another project now", planned, {otherProject}},
        {"other means now",
         command,
         {itemOf("python.uv", {RunCommand{"uv", {"cache"}}}, Classification::safe)}},
        {"other means now", command, {itemOf("python.uv", {DeletePaths{{one}}}, Classification::safe)}},
        {"other means now", itemOf("python.uv", {DeletePaths{{one}}}, Classification::safe), {command}},
    };
    for (const Case& each : cases) {
        const std::string change = changeBetween(each.planned, each.offered);
        EXPECT_EQ(change.empty(), std::string(each.said).empty()) << each.said << ": " << change;
        EXPECT_TRUE(change.contains(each.said)) << each.said << ": " << change;
    }
}

TEST(CleanupPlan, NamingAPathTwiceIsNoWayToAnotherItem) {
    TestHome home;
    const std::string one = home.file("one");
    CleanupPlan plan = planOf(pathItem({one, home.file("two")}));
    plan.items[0].paths[1] = plan.items[0].paths[0];
    EXPECT_EQ(asPlanned(plan, reportOf({pathItem({one})})).leftAlone.size(), 1U);
    EXPECT_EQ(asPlanned(plan, reportOf({pathItem({one, home.path("two")})})).leftAlone.size(), 1U);
}

TEST(CleanupPlan, RefusesWhatIsNoWholePlan) {
    TestHome home;
    const std::string good = planText(planOf(pathItem({home.file("one")})));
    const auto with = [&](const std::string& what, const std::string& instead) {
        std::string text = good;
        const std::size_t at = text.find(what);
        EXPECT_NE(at, std::string::npos) << what;
        return text.replace(at, what.size(), instead);
    };
    ASSERT_TRUE(planFromText(good));
    const std::string hostile[] = {
        "",
        "null",
        "[]",
        "{}",
        "\xff",
        good.substr(0, good.size() / 2),
        good + good,
        std::string(100'000, '['),
        with("\"version\": 1", "\"version\": 2"),
        with("cleanup plan", "history"),
        with("\"items\"", "\"things\""),
        with("\"safe\"", "\"harmless\""),
        with("\"deleted\"", "\"shredded\""),
        with("4096", "-1"),
        with("4096", "1e99"),
        with("\"inode\": ", "\"inode\": -"),
        with("\"mode\": ", "\"mode\": 9"),
        with("\"paths\"", "\"pathes\""),
        with("\"device\": ", "\"device\": \"1\", \"x\": "),
        with("\"home\"", "\"home\": \"\", \"home\""),
    };
    for (const std::string& text : hostile) {
        EXPECT_FALSE(planFromText(text)) << text.substr(0, 300);
        home.text("plan", text);
        EXPECT_FALSE(readPlan(home.path("plan")));
        EXPECT_FALSE(writePlan(home.path("plan"), planOf(pathItem({})))) << text.substr(0, 300);
        EXPECT_EQ(readFile(home.path("plan")), text);
    }
    CleanupPlan twice = planOf(pathItem({}));
    twice.items.push_back(twice.items.front());
    EXPECT_FALSE(planFromText(planText(twice)));
    home.sparse("huge", kPlanLimit + 1);
    EXPECT_FALSE(readPlan(home.path("huge")));
    EXPECT_FALSE(readPlan("/dev/zero"));
    EXPECT_FALSE(mayHoldPlan("/dev/null"));
    EXPECT_FALSE(mayHoldPlan(home.path()));
    EXPECT_EQ(readPlan(home.path("nowhere")).error().kind, Error::Kind::missing);
}

}  // namespace
}  // namespace brindle
