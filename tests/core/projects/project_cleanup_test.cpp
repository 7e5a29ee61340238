#include "core/projects/project_cleanup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/projects/project_auditor.h"
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

const TimePoint kNow = *timeFromIso8601("2025-06-10T12:00:00.5Z");
const std::string kMatches = "+ Current branch matches the locally recorded upstream on origin\n";
const std::string kIgnored = "+ Every directory to be removed is in .gitignore\n";
const std::string kPinned = "+ pnpm-lock.yaml pins every version node_modules would reinstall\n";

// Starts from a project in perfect order.
class ProjectAuditor : public testing::Test {
  protected:
    // A line each: "+" reassures, "-" is a caution, "!" blocks; the confidence at the end.
    std::string audit() const {
        test::speakEnglish();
        const ProjectSafety safety = auditProject({project_, git_, ignored_, entries_, kNow});
        std::string told;
        for (const SafetySignal& signal : safety.signals)
            told += std::string(1, "+-!"[static_cast<int>(signal.weight)]) + " " + signal.storedText + "\n";
        return told + std::string(rawText(safety.confidence));
    }

    Project project_ = test::lantern();
    GitState git_ = test::repository();
    std::set<std::string> ignored_ = {project_.path + "/node_modules", project_.path + "/.venv"};
    std::vector<std::string> entries_ = {"package.json", "yarn.lock", "pnpm-lock.yaml"};
};

TEST_F(ProjectAuditor, TellsWhatGitHasNowhereElse) {
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"", kMatches, "certain"},
        {"untracked untracked", "- 2 untracked entries not backed up by Git\n", "likely"},
        {"ahead local", "- 1 commit not pushed to the remote\n", "likely"},
        {"local local loose inside",
         "- 1 commit across local branches is absent from known remote refs\n"
         "- 1 commit on no known remote: a tag, a detached HEAD or another ref holds what no branch does\n"
         "- Some of this work lies in repositories inside it: /h/in\n",
         "likely"},
        {"-upstream", "- Branch main is not tracking a remote branch\n", "likely"},
        {"-branch", "- No branch is checked out, so nothing here is tracking a remote branch\n", "likely"},
        {"modified", "- 1 uncommitted change in the working tree\n", "likely"},
        {"stash", "- There are stashed changes, which exist only on this Mac\n", "likely"},
        {"-remote",
         "- No git remote — the only copy of this work is on this Mac\n"
         "- Branch main is not tracking a remote branch\n",
         "unproven"},
        // What was not answered is no claim; what was found is.
        {"unread -remote -branch stash",
         "! Git inspection could not finish — scan again before cleaning this project\n"
         "- There are stashed changes, which exist only on this Mac\n",
         "risky"},
        {"-git", "- Not a git repository — nothing here is backed up by version control\n", "unproven"},
    };
    for (const auto& [words, told, confidence] : cases) {
        git_ = test::repository(words);
        EXPECT_EQ(audit(), told + kIgnored + kPinned + confidence) << words;
    }
}

TEST_F(ProjectAuditor, BlocksWhatIsNotConfirmedIgnored) {
    ignored_.clear();
    const std::string blocked = " ignored by Git; cleanup is blocked\n" + kPinned + "risky";
    project_.artifacts.push_back(artifact("/a/node_modules", 9, ArtifactCategory::dependencies));
    EXPECT_EQ(audit(), kMatches + "! node_modules contains tracked files or is not confirmed" + blocked);
    project_.artifacts.push_back(artifact("/a/out", 9, ArtifactCategory::build));
    EXPECT_EQ(audit(), kMatches + "! node_modules, out contain tracked files or are not confirmed" + blocked);
    for (ProjectArtifact& each : project_.artifacts) each.category = ArtifactCategory::sourceAndHistory;
    EXPECT_EQ(audit(), kMatches + "certain");
}

TEST_F(ProjectAuditor, MissesALockfileInTheProjectFolder) {
    project_.artifacts.push_back(artifact(project_.path + "/.venv", 9, ArtifactCategory::dependencies));
    EXPECT_TRUE(audit().contains("- No lockfile for .venv — "));
    EXPECT_TRUE(audit().ends_with("\nlikely"));
}

TEST_F(ProjectAuditor, BlocksWhatWasWrittenToWithinTenMinutes) {
    auto& newest = project_.artifacts.front().measurement.newestModified;
    for (const auto& [age, isBlocked] : {std::pair{599, true}, {600, false}, {-86400, true}}) {
        newest = std::chrono::floor<std::chrono::seconds>(kNow) - std::chrono::seconds(age);
        EXPECT_EQ(audit().ends_with("probably running\nrisky"), isBlocked) << age;
    }
    newest = std::chrono::sys_seconds::min();
    EXPECT_TRUE(audit().ends_with("certain"));
}

}  // namespace
}  // namespace brindle
