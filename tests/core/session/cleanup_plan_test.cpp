#include "core/session/cleanup_plan.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "tests/support/sample_item.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::itemOf;
using test::TestHome;

CleanupItem pathItem(const std::vector<std::string>& paths,
                     Classification classification = Classification::safe) {
    return itemOf("python.pip", {DeletePaths{paths}}, classification, 4096);
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
    EXPECT_TRUE(plan.items[0].method == RemovalMethod::trashed && plan.items[0].paths[0].identity);
    EXPECT_FALSE(plan.items[0].paths[1].identity);
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
    const CleanupItem both = pathItem({one, two});
    const CleanupItem reviewed = pathItem({one}, Classification::review);
    const CleanupItem kept = pathItem({one}, Classification::protected_);
    const auto removedBy = [](const RemovalStrategy& removal) {
        return itemOf("python.uv", removal, Classification::safe);
    };
    const CleanupItem command = removedBy({RunCommand{"uv", {"cache", "clean"}}});
    CleanupItem otherProject = planned, replaced = planned, otherMode = planned;
    otherProject.projectPath = two;
    ++replaced.pathIdentities.at(one).inode;
    otherMode.pathIdentities.at(one).mode ^= 0100;
    const CleanupItem missing = pathItem({home.path("new")});
    home.file("new");
    const std::tuple<std::string, CleanupItem, std::vector<CleanupItem>> cases[] = {
        {"", planned, {planned}},
        {"", both, {pathItem({two, one})}},
        {"no longer offered", planned, {}},
        {"judged \"review\" now", planned, {reviewed}},
        {"judged \"protected\" now", kept, {kept}},
        {"go another way now", reviewed, {planned}},
        {"other paths now", planned, {both}},
        {"other paths now", both, {planned}},
        {"other paths now", planned, {pathItem({two})}},
        {"another object now", planned, {replaced}},
        {"another object now", planned, {otherMode}},
        {"another object now", missing, {pathItem({home.path("new")})}},
        {"another project now", planned, {otherProject}},
        {"other means now", command, {removedBy({RunCommand{"uv", {"cache"}}})}},
        {"other means now", command, {removedBy({DeletePaths{{one}}})}},
        {"other means now", removedBy({DeletePaths{{one}}}), {command}},
    };
    for (const auto& [said, before, offered] : cases) {
        const std::string change = changeBetween(before, offered);
        EXPECT_EQ(change.empty(), said.empty()) << said << ": " << change;
        EXPECT_TRUE(change.contains(said)) << said << ": " << change;
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
    ASSERT_TRUE(planFromText(good));
    const std::string half = good.substr(0, good.size() / 2);
    std::vector<std::string> hostile = {"", "null", "[]", "{}", "\xff", half, good + good};
    hostile.emplace_back(100'000, '[');
    const std::pair<const char*, const char*> changes[] = {{"\"version\": 1", "\"version\": 2"},
                                                           {"cleanup plan", "history"},
                                                           {"\"items\"", "\"things\""},
                                                           {"\"safe\"", "\"harmless\""},
                                                           {"\"deleted\"", "\"shredded\""},
                                                           {"4096", "-1"},
                                                           {"4096", "1e99"},
                                                           {"\"inode\": ", "\"inode\": -"},
                                                           {"\"mode\": ", "\"mode\": 9"},
                                                           {"\"paths\"", "\"pathes\""},
                                                           {"\"device\": ", "\"device\": \"1\", \"x\": "},
                                                           {"\"home\"", "\"home\": \"\", \"home\""}};
    for (const auto& [what, instead] : changes) {
        ASSERT_TRUE(good.contains(what)) << what;
        hostile.push_back(std::string(good).replace(good.find(what), std::string(what).size(), instead));
    }
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
