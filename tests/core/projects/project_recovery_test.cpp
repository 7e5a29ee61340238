#include "core/projects/project_recovery.h"

#include <gtest/gtest.h>

#include "core/projects/project_disposal.h"
#include "tests/support/canned_tools.h"
#include "tests/support/sample_project.h"

namespace brindle {
namespace {

using Step = ProjectRecovery::Step;
using namespace std::string_literals;

const std::string kHome = "/home/u";
const std::string kFolder = "/home/u/Projects/lantern";

ProjectRecovery recovery(Step step, bool hasOrigin = true, const std::string& path = kFolder) {
    return {.step = step, .name = "lantern", .path = path, .hasOrigin = hasOrigin};
}

Project judged(const GitState& git) {
    Project project = test::lantern();
    project.safety = {ProjectSafety::Confidence::risky, {}, git};
    return project;
}

TEST(ProjectDisposal, SaysWhatWouldGoWithTheFolder) {
    test::speakEnglish();
    const auto consequence = [](const GitState& git) {
        const auto disposal = ProjectDisposal::assess(judged(git));
        return std::string(rawTextOf(disposal.verdict)) + ": " + disposal.consequence;
    };
    const std::string noClaim =
        "unknown: Nothing is claimed either way. Check the project yourself before removing anything.";
    const std::pair<const char*, std::string> cases[] = {
        {"-upstream", "elsewhere: Removing the folder costs a clone from origin."},
        {"local", "onlyHere: Everything is committed. What is here is not on the remote yet."},
        {"-remote -commits", "onlyHere: Removing the folder loses everything in it."},
        {"-remote modified stash local",
         "onlyHere: Removing the folder loses 1 uncommitted change, 1 commit, stashed changes."},
        {"-branch", noClaim},  // commits that no branch holds are counted nowhere
        {"unread modified", noClaim},
    };
    for (const auto& [words, told] : cases) EXPECT_EQ(consequence(test::repository(words)), told) << words;
    EXPECT_EQ(ProjectDisposal::assess(test::lantern()).verdict, ProjectDisposal::Verdict::unknown);
    EXPECT_TRUE(consequence(test::repository("-git")).starts_with("notTracked: "));

    GitState git = test::repository();
    git.worktrees.resize(1);
    EXPECT_EQ(consequence(git), noClaim);
    git.worktrees[0].inspectionComplete = true;
    EXPECT_TRUE(consequence(git).ends_with("clone from origin. Its linked worktrees would stop working."));
    git.worktrees[0].untrackedFiles = 1;
    EXPECT_EQ(consequence(git),
              "onlyHere: Removing the folder loses 1 linked worktree with work of its own.");
    git.mainWorktreePath = "/main";
    EXPECT_TRUE(consequence(git).starts_with("elsewhere: Its history is kept by the main checkout, /main. "));
    git.hasStashes = true;
    EXPECT_TRUE(consequence(git).starts_with("onlyHere: Its history is kept by the main checkout, /main, "));
}

TEST(ProjectRecovery, ProposesTheStepThatComesNext) {
    const std::tuple<const char*, Forge, std::optional<ProjectRecovery>> cases[] = {
        {"", Forge::gitHubCLI, {}},
        {"-git", Forge::gitHubCLI, recovery(Step::initialise, false)},
        {"unread modified", Forge::gitHubCLI, {}},
        {"modified", Forge::gitHubCLI, recovery(Step::commit, false)},
        {"-remote", Forge::gitHubCLI, recovery(Step::publish, false)},
        {"-remote", Forge::plainGit, recovery(Step::push, false)},
        {"-remote -commits", Forge::gitHubCLI, {}},
        {"local", Forge::gitHubCLI, recovery(Step::push, true)},
        {"local loose", Forge::gitHubCLI, {}},
        {"modified inside", Forge::gitHubCLI, {}},
    };
    for (const auto& [words, forge, expected] : cases)
        EXPECT_EQ(ProjectRecovery::next(judged(test::repository(words)), forge), expected) << words;
    GitState git = test::repository("local");
    git.remoteURLs = {"https://example.org/x"};
    git.hasStashes = true;
    const auto push = ProjectRecovery::next(judged(git), Forge::plainGit);
    EXPECT_TRUE(push->addresses == git.remoteURLs && push->explanation().contains("not take along stashes"));
    git.remotes.clear();
    EXPECT_EQ(ProjectRecovery::next(judged(git), Forge::plainGit), std::nullopt) << "origin is in the way";
    test::TestHome home;
    Project inside = judged(GitState::notARepository());
    inside.path = home.folder("repository/folder/part");
    home.folder("repository/.git");
    EXPECT_EQ(ProjectRecovery::next(inside, Forge::plainGit), std::nullopt);
    git.remotes = {"backup"};
    EXPECT_EQ(ProjectRecovery::next(judged(git), Forge::plainGit), std::nullopt);
    const auto shown = recovery(Step::push, false).commands();
    EXPECT_EQ(shown.at(0).display(), "git -C /home/u/Projects/lantern remote add origin '<url>'");
    EXPECT_EQ(shown.at(1), recovery(Step::push).commands().at(0));
    EXPECT_EQ((RecoveryCommand{"git", {"-C", "/home/u/\x1b[2J"}}).display(), std::nullopt);
}

TEST(RecoveryGuard, AllowsWhatIsComposedAndNoMutationOfIt) {
    for (const Step step : {Step::publish, Step::push}) {
        ASSERT_EQ(recovery(step).commands().size(), 1U);
        const RecoveryCommand composed = recovery(step).commands().front();
        EXPECT_TRUE(recoveryVerdict(composed, kFolder, kHome).isAllowed());
        EXPECT_FALSE(recoveryVerdict(composed, kFolder + "2", kHome).isAllowed());
        const auto expectRefused = [&](auto&& mutate) {
            RecoveryCommand command = composed;
            mutate(command.arguments);
            EXPECT_FALSE(recoveryVerdict(command, kFolder, kHome).isAllowed())
                << testing::PrintToString(command.arguments);
        };
        const int count = static_cast<int>(composed.arguments.size());
        for (int at = 0; at <= count; ++at) {
            for (const char* extra : {"--force", "--public", "--internal", "", "origin", "--private", "-u"})
                expectRefused([&](auto& words) { words.insert(words.begin() + at, extra); });
            if (at == count) continue;
            expectRefused([&](auto& words) { words.erase(words.begin() + at); });
            expectRefused(
                [&](auto& words) { words.insert(words.begin() + at, std::string(words.begin()[at])); });
            expectRefused([&](auto& words) { words.begin()[at] += "x"; });
            for (int other = at + 1; other < count; ++other)
                expectRefused([&](auto& words) { std::swap(words.begin()[at], words.begin()[other]); });
        }
    }
}

TEST(RecoveryGuard, RefusesOtherCommandsAndFolders) {
    const RecoveryCommand refused[] = {
        {"gh", {"repo", "create", "lantern", "--private", "--public"}},
        {"gh", {"repo", "create", "lantern", "--push"}},
        {"gh", {"repo", "delete", "--private"}},
        {"git", {"-C", kFolder, "push", "--force"}},
        {"git", {"-C", kFolder, "reset", "push"}},
        {"git", {}},
        {"/usr/bin/git", {"-C", kFolder, "push", "-u", "origin", "--all"}},
    };
    for (const RecoveryCommand& command : refused)
        EXPECT_FALSE(recoveryVerdict(command, kFolder, kHome).isAllowed()) << command.display().value_or("");

    const auto refusalIn = [&](const std::string& folder, const std::string& home = kHome) {
        return recoveryVerdict(recovery(Step::push, true, folder).commands().front(), folder, home).reason();
    };
    const std::string outside = "that project is not inside the home folder";
    for (const std::string& folder : {"/srv/x"s, "/home/u/../x"s, "/home/u"s, "/home/user2/x"s,
                                      "/home/u/a/../b"s, "home/u/x"s, "/home/u/a\0b/x"s})
        EXPECT_EQ(refusalIn(folder), outside) << folder;
    for (const char* home : {"", "/", "home/u", "/home/u/..", "/home/us"})
        EXPECT_EQ(refusalIn(kFolder, home), outside);
    const std::string longest(100, 'a');
    EXPECT_EQ(refusalIn("/home/u/" + longest), std::nullopt);
    for (const std::string& name : {"x/"s, ".x"s, "-x"s, "a b"s, "caf\xC3\xA9"s, longest + "a"})
        EXPECT_EQ(refusalIn("/home/u/" + name), "that folder's name cannot be used as a repository name");
}

TEST(ProjectRecovery, RunsWhatIsItsOwnAndTellsHowItFailed) {
    test::speakEnglish();
    std::vector<RunOptions> seen;
    std::expected<ProcessResult, ProcessError> answer = ProcessResult{0, "done\n", "To origin\n"};
    Toolbox tools;
    tools.run = [&](std::string_view, const std::vector<std::string>&, const RunOptions& options) {
        seen.push_back(options);
        return answer;
    };
    const auto failure = [&](const ProjectRecovery& tried) {
        return tried.run(tools, kHome, {}).error().description();
    };
    EXPECT_EQ(recovery(Step::publish).run(tools, kHome, {}), "done\nTo origin");
    EXPECT_EQ(seen.at(0).removedVariables, std::vector<std::string>{"GIT_*"});
    EXPECT_EQ(seen.at(0).setVariables.at("GIT_TERMINAL_PROMPT"), "0");
    answer = ProcessResult{1, "", "rejected\n"};
    EXPECT_EQ(failure(recovery(Step::push)), "The command failed. rejected");
    answer = std::unexpected(ProcessError{.kind = ProcessError::Kind::timedOut});
    EXPECT_TRUE(failure(recovery(Step::push)).ends_with("did not finish in time and was stopped."));
    EXPECT_TRUE(
        failure(recovery(Step::publish, false, "/srv/x")).starts_with("Refused: that project is not"));
    for (const Step step : {Step::initialise, Step::commit, Step::push})
        EXPECT_TRUE(failure(recovery(step, false)).starts_with("Brindle does not run this step."));
    EXPECT_EQ(seen.size(), 3U);  // nothing is started of what is refused or not ours
    EXPECT_EQ(detectForge(test::cannedTools({{"gh", {}}})), Forge::gitHubCLI);
    EXPECT_EQ(detectForge(Toolbox()), Forge::plainGit);
}

}  // namespace
}  // namespace brindle
