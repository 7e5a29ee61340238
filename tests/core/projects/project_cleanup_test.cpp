#include "core/projects/project_cleanup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/item_checks.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using Confidence = ProjectSafety::Confidence;
using Weight = SafetySignal::Weight;
using test::artifact;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

const TimePoint kToday = *timeFromIso8601("2025-06-10T12:00:00Z");

Project unusedFor(int days, std::optional<Confidence> confidence = Confidence::certain) {
    Project project = test::lantern();
    project.lastUsed = kToday - std::chrono::days(days);
    if (confidence) project.safety = {*confidence, {}, test::repository()};
    return project;
}

std::vector<CleanupItem> itemsOf(const Project& project) {
    test::speakEnglish();
    return dormantProjectItems({project}, "/home/u", kToday);
}

TEST(ProjectCleanup, OffersWhatWasLeftAloneAndSaysWhyNotOtherwise) {
    const std::tuple<int, std::optional<Confidence>, std::string> cases[] = {
        {29, Confidence::certain,
         "Recent activity was detected 29 days ago. Cleanup is not offered until the activity threshold has "
         "passed."},
        {30, Confidence::certain, "review"},
        {89, Confidence::certain, "review"},
        {90, Confidence::certain, "safe"},
        {900, Confidence::likely, "review"},
        {900, Confidence::risky, "Cleanup blocked by the evidence below"},
        {900, std::nullopt, "review"},
    };
    for (const auto& [days, confidence, answer] : cases) {
        const Project project = unusedFor(days, confidence);
        const auto items = itemsOf(project);
        const auto reason = reasonNotOffered(project, kToday);
        EXPECT_EQ(items.empty(), reason.has_value()) << days;
        EXPECT_EQ(reason ? *reason : rawText(items.at(0).classification), answer) << days;
    }
    Project project = unusedFor(99);
    project.lastUsed.reset();
    EXPECT_THAT(reasonNotOffered(project, kToday).value(), HasSubstr("could not read a date"));
    project.artifacts.front().category = ArtifactCategory::sourceAndHistory;
    EXPECT_EQ(reasonNotOffered(project, kToday), "Nothing here is removable.");
    EXPECT_TRUE(itemsOf(project).empty());
}

TEST(ProjectCleanup, RemovesEveryGeneratedFolderTheLargestFirst) {
    Project project = unusedFor(99);
    const std::string path = project.path;
    const auto add = [&](const char* name, std::uint64_t bytes, ArtifactCategory category) {
        project.artifacts.push_back(artifact(path + name, bytes, category, name));
    };
    project.artifacts.clear();
    add("/.next", 500, ArtifactCategory::build);
    add("/vendor", 900, ArtifactCategory::sourceAndHistory);
    add("/node_modules", 600, ArtifactCategory::dependencies);
    add("/a/node_modules", 200, ArtifactCategory::dependencies);
    const CleanupItem item = itemsOf(project).at(0);
    EXPECT_EQ(item.id, "projects." + path);
    EXPECT_EQ(item.storedTitle, "~/Projects/lantern · node_modules ×2, .next");
    EXPECT_EQ(item.removal.description(),
              path + "/node_modules\n" + path + "/.next\n" + path + "/a/node_modules");
    EXPECT_EQ(item.bytes(), 1300U);
    EXPECT_EQ(item.explanation.regeneratedBy->storedText, "/node_modules");
    // A folder that is a project itself is not vouched for, whatever it is called.
    Project inner;
    inner.path = path + "/.next";
    EXPECT_EQ(vouchedProjectPaths({inner, project}),
              (std::set{path + "/node_modules", path + "/a/node_modules"}));
}

TEST(ProjectCleanup, ExplainsAProject) {
    Project project = unusedFor(125, Confidence::likely);
    project.name = "lan\ntern";
    project.safety->git = test::repository("ahead local local");
    project.safety->signals = {{Weight::reassuring, "0"}, {Weight::caution, "1"}, {Weight::caution, "2"}};
    const Explanation told = itemsOf(project).at(0).explanation;
    EXPECT_THAT(told.storedWhatItIs, HasSubstr("inside lan\\x0Atern: node_modules. Every one"));
    EXPECT_THAT(told.storedWhatHappensNext,
                AllOf(HasSubstr("open lan\\x0Atern again"), HasSubstr("4 months ago"),
                      HasSubstr("full git history are untouched — 2.0 MB stays"), EndsWith("agree: 1; 2.")));
    std::string facts;
    for (const Fact& fact : told.facts) facts += fact.storedLabel + ": " + fact.storedValue + "\n";
    EXPECT_EQ(facts,
              "Last touched: 4 months ago\nRemote: origin\nUnpushed commits: 2\nUncommitted changes: 0\n"
              "Stashes: none\nVersion control: Git\nRemoving: 3.0 MB\nSource and history kept: 2.0 MB\n");
    for (const Fact& fact : told.facts) test::expectInEnglish({fact.storedLabel});

    project.artifacts[0].measurement.deduplicatedBytes = 500'000;
    EXPECT_EQ(test::factOf(itemsOf(project).at(0), "Source and history kept"), "2.0 MB at most");
    project.measurement.unreadablePaths = {"/x"};
    EXPECT_EQ(test::factOf(itemsOf(project).at(0), "Source and history kept"), "at least 1.5 MB");

    const CleanupItem unjudged = itemsOf(unusedFor(59, std::nullopt)).at(0);
    EXPECT_THAT(unjudged.explanation.storedWhatHappensNext,
                AllOf(Not(HasSubstr("history")), HasSubstr("agree: Brindle cannot prove")));
    EXPECT_EQ(test::factOf(unjudged, "Stashes"), "unknown");
    test::expectInEnglish({"none", "present", "unknown", "Git"});
}

}  // namespace
}  // namespace brindle
