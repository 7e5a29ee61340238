#include "core/projects/project_auditor.h"

#include <gtest/gtest.h>

#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using test::artifact;

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
        {"local", "- 1 commit across local branches is absent from known remote refs\n", "likely"},
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
