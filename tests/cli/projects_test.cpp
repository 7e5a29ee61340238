// Projects as lines, as a page, and in the dialogue before one is pushed: from values that no disk has to hold.
#include <gtest/gtest.h>

#include <atomic>
#include <sstream>

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "cli/project_list.h"
#include "cli/project_page.h"
#include "cli/recovery_dialogue.h"
#include "cli/suggestion.h"
#include "core/text/core_strings.h"
#include "tests/cli/collected_run.h"
#include "tests/support/sample_project.h"

namespace brindle {

namespace {

using test::contains;
using test::expectAll;
using test::lookOf;
using test::unwrapped;
using Confidence = ProjectSafety::Confidence;
using Weight = SafetySignal::Weight;
using Step = ProjectRecovery::Step;

const TimePoint kNow{std::chrono::sys_days(std::chrono::year(2026) / 11 / 21)};

// Last used so many days ago, in a home at /h; half of it generated.
Project projectNamed(const std::string& name, std::uint64_t bytes, std::optional<int> days) {
    Project project = test::lantern();
    project.path = "/h/Projects/" + name;
    project.name = name;
    project.kinds = {ProjectKind::node};
    if (days) project.lastUsed = kNow - std::chrono::days(*days);
    project.measurement.allocatedBytes = bytes;
    project.artifacts = {test::artifact(project.path + "/web/node_modules", bytes / 2,
                                        ArtifactCategory::dependencies, "pnpm install")};
    project.safety = {Confidence::certain, {{Weight::reassuring, "All is ignored"}}, test::repository()};
    return project;
}

ProjectListPage listOf(const std::vector<Project>& projects, unsigned columns) {
    ProjectListPage page{.projects = {},
                         .foundCount = projects.size(),
                         .roots = {"Projects", "/srv/code"},
                         .home = "/h",
                         .now = kNow,
                         .look = lookOf(columns)};
    const OfferQuestion question{"/h", kNow, [](const CleanupItem& item) {
                                     return contains(item.id, "held")
                                                ? SafetyVerdict::refused("protected by you")
                                                : SafetyVerdict::allowed();
                                 }};
    for (const Project& project : projects) page.projects.push_back({project, offerOf(project, question)});
    return page;
}

std::vector<Project> manyProjects() {
    Project blocked = projectNamed("blocked", 3'000'000, 200);
    blocked.safety = {Confidence::risky, {{Weight::blocking, "Something wrote here"}}, test::repository()};
    Project odd = projectNamed("odd\x1b[2J\xff", 2'000'000, std::nullopt);
    odd.kinds.clear();
    odd.measurement.unreadablePaths = {"/h/x"};
    return {projectNamed("lantern", 9'000'000, 100),
            projectNamed("young", 8'000'000, 40),
            projectNamed("fresh", 7'000'000, 1),
            projectNamed("coming", 0, -3),
            projectNamed("held", 6'000'000, 100),
            blocked,
            odd};
}

void expectWidth(const std::string& text, unsigned columns) {
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) EXPECT_LE(displayWidth(line), columns) << line;
}

class ProjectTexts : public testing::Test {
  protected:
    void SetUp() override {
        CoreStrings::setBundles(ResourceBundle(test::resourcesFolder(), "core", {}),
                                ResourceBundle(test::resourcesFolder(), "cli", {}));
    }
};

}  // namespace

TEST(ProjectOrder, RanksBySizeAgeAndName) {
    using Names = std::vector<std::string>;
    const std::pair<ProjectOrder, Names> cases[] = {{ProjectOrder::size, {"beta", "Alpha", "twin", "twin2"}},
                                                    {ProjectOrder::age, {"twin2", "beta", "twin", "Alpha"}},
                                                    {ProjectOrder::name, {"Alpha", "beta", "twin", "twin2"}}};
    for (const auto& [order, expected] : cases) {
        std::vector<Project> projects = {projectNamed("twin2", 10, 9), projectNamed("twin", 10, 5),
                                         projectNamed("Alpha", 20, std::nullopt),
                                         projectNamed("beta", 30, 5)};
        sortProjects(projects, order);
        Names names;
        for (const Project& project : projects) names.push_back(project.name);
        EXPECT_EQ(names, expected);
    }
}

TEST_F(ProjectTexts, ListSaysOfEachProjectWhatIsOfferedOrWhyNot) {
    const std::vector<Project> projects = manyProjects();
    const std::string wide = projectListText(listOf(projects, 80));
    EXPECT_TRUE(contains(wide, "     9.0 MB       4.5 MB  lantern   ")) << wide;
    EXPECT_TRUE(contains(wide, "\n" + std::string(26, ' ') + "~/Projects/lantern   ")) << wide;
    for (const unsigned columns : {40U, 63U, 64U, 80U, 120U}) {
        const std::string text = projectListText(listOf(projects, columns));
        expectWidth(text, columns);
        EXPECT_FALSE(contains(text, "\x1b"));
        expectAll({"last active 3 months ago", "offered now, as safe.", "offered now, as review.",
                   "Recent activity was detected yesterday.", "Not offered: protected by you.",
                   "Cleanup blocked by the evidence below - Something wrote here", "last activity unknown",
                   "detected in the future.", "odd\\x1B[2J\\xFF", ">= 2.0 MB", ">= 35.0 MB in all 7 projects",
                   "8.5 MB offered now 2 projects"},
                  unwrapped(text));
        EXPECT_FALSE(contains(unwrapped(text), "Something wrote here Cleanup")) << "said twice";
    }
}

TEST_F(ProjectTexts, SumsSayWhatTheyAreOf) {
    std::vector<Project> projects = {projectNamed("a", 4'000'000, 100), projectNamed("b", 2'000'000, 100)};
    ProjectListPage page = listOf(projects, 80);
    EXPECT_FALSE(contains(projectListText(page), "hard links"));
    page.foundCount = 3;
    for (ListedProject& each : page.projects) each.project.measurement.hardLinkedBytes = 500'000;
    expectAll({"6.0 MB listed", "up to 1.0 MB may be counted more than once"},
              unwrapped(projectListText(page)));
    EXPECT_EQ(paragraphText("a — b · c ×2", 0, lookOf(80)), "a - b - c x2\n");
}

TEST_F(ProjectTexts, ListWithoutProjectsNamesTheFoldersThatWereSearched) {
    ProjectListPage page = listOf({}, 80);
    EXPECT_EQ(projectListText(page), "No projects were found below ~/Projects, /srv/code.\n");
    page.unreachable = {{"/h/Projects/x", UnreachableLocation::Reason::permissionDenied, "Ask."}};
    expectAll({"Not measured", "~/Projects/x"}, projectListText(page));
    page.isInterrupted = true;
    expectAll({"Nothing had been found yet.", "Interrupted"}, projectListText(page));
}

TEST_F(ProjectTexts, PageTellsEverythingButCredentials) {
    ProjectFacts facts{.project = projectNamed("lantern", 9'000'000, 100)};
    Project& project = facts.project;
    project.declaredName = "@me/lantern";
    project.artifacts.push_back(
        test::artifact(project.path + "/vendor", 5, ArtifactCategory::sourceAndHistory));
    project.safety->signals.push_back({Weight::caution, "There are stashes"});
    GitState& git = project.safety->git;
    git.remoteURLs = {"https://example.org/lantern.git"};
    git.modifiedFiles = 12;
    git.worktrees.resize(2);
    git.worktrees[0].path = "/h/my tree";
    git.worktrees[0].inspectionComplete = true;
    git.worktrees[1].prunableReason = "gitdir file points nowhere";
    facts.related = {
        {{"/h/old/lantern", "lantern", ProjectRelation::Basis::sharedRemote, "example.org/lantern"}}, 7};
    facts.disposal = {ProjectDisposal::Verdict::onlyHere, "Only here", "Removing the folder loses much."};
    facts.recovery = ProjectRecovery{Step::push, "lantern", "/h/my lantern", true};
    facts.offer = {Classification::review, ""};
    for (const unsigned columns : {40U, 200U}) {
        const std::string page = projectPage(facts, {"/h", kNow, lookOf(columns)});
        const std::string text = unwrapped(page);
        expectAll({"@me/lantern", "9.0 MB on disk", "4.5 MB of it rebuildable",
                   "What speaks for it - All is ignored", "Concerns - There are stashes",
                   "offered now, as review", "web/node_modules 4.5 MB - dependencies", "with: pnpm install",
                   "kept: it holds a repository, keys or environment files", "Modified files 12",
                   "https://example.org/lantern.git", "git worktree remove '/h/my tree'",
                   "prunable: gitdir file points nowhere", "Same repository", "and 7 more",
                   "Removing the folder loses much.", "brindle project '/h/my lantern' --recover"},
                  text);
        EXPECT_TRUE(contains(page, "\n    git -C '/h/my lantern' push -u origin --all\n"))
            << "not to be broken";
    }
}

TEST_F(ProjectTexts, PageClaimsNothingThatNobodyKnows) {
    ProjectFacts facts{.project = projectNamed("lantern", 100, std::nullopt)};
    facts.project.safety->git.inspectionComplete = false;
    facts.offer.reasonNotOffered = "No scan comes upon it.";
    facts.recovery = ProjectRecovery{Step::initialise, "lantern", "/h/lantern"};
    const std::string page = unwrapped(projectPage(facts, {"/h", kNow, lookOf(80)}));
    expectAll({"In-use status is unknown.", "no number here is a claim", "Cleanup No scan comes upon it."},
              page);
    EXPECT_FALSE(contains(page, "--recover") || contains(page, "Interrupted"));
    facts.isInterrupted = true;
    facts.project.measurement.otherVolumePaths = {"/h/Projects/lantern/disk"};
    facts.unreachable = {
        {"/h/Projects/lantern/disk", UnreachableLocation::Reason::differentVolume, "Look there."}};
    expectAll({"at least 50 B of it rebuildable", "at least 50 B of it kept",
               "Not measured on another volume ~/Projects/lantern/disk", "Interrupted: this is partial"},
              unwrapped(projectPage(facts, {"/h", kNow, lookOf(80)})));
}

TEST_F(ProjectTexts, NothingIsPushedWithoutAYes) {
    const ProjectRecovery publish{Step::publish, "lantern", "/h/lantern"};
    const ProjectRecovery push{Step::push, "lantern", "/h/lantern", true};
    const ProjectRecovery nowhere{Step::push, "lantern", "/h/lantern"};
    const ProjectRecovery commit{Step::commit, "lantern", "/h/lantern"};
    const ProjectRecovery odd{Step::push, "a\nb", "/h/a\nb", true};
    const ExitCode done = ExitCode::success;
    const ExitCode failed = ExitCode::failed;
    using Answer = std::optional<std::string>;
    const std::tuple<std::optional<ProjectRecovery>, Answer, bool, ExitCode, std::string> cases[] = {
        {publish, " YES ", true, done, "    gh repo create lantern --private --source=/h/lantern --push\n"},
        {push, "yes", true, done, "Push this project? [y/N] "},
        {push, "yep", false, done, "    git -C /h/lantern push -u origin --all\n"},
        {push, std::nullopt, false, failed, "no terminal on which to ask"},
        {nowhere, "y", false, failed, "remote add origin '<url>'\n"},
        {commit, "y", false, failed, "Brindle does not run this step."},
        {odd, "y", false, failed, "cannot be shown"},
        {std::nullopt, "y", false, done, "everything is committed and on a remote"},
    };
    const Project project = projectNamed("lantern", 100, 1);
    for (const auto& [step, answer, mayRun, code, said] : cases) {
        bool isRun = false;
        test::CollectingStreams streams;
        if (answer) streams.answers = {*answer};
        const RecoveryTask task{project, step,
                                [&]() -> std::expected<std::string, RecoveryFailure> {
                                    isRun = true;
                                    return "To example.org\n\x1b[2Jdone";
                                },
                                [] { return false; }};
        const Outcome outcome = recoverAfterAsking(task, streams, lookOf(200));
        EXPECT_EQ(outcome.code, code) << said;
        EXPECT_EQ(isRun, mayRun) << said;
        expectAll({said}, streams.messages + outcome.result);
        if (isRun) expectAll({"To example.org\n\\x1B[2Jdone\n"}, outcome.result);
    }
}

TEST_F(ProjectTexts, RecoveryTellsOfFailuresAndOfWhatItCouldNotRead) {
    Project project = projectNamed("lantern", 100, 1);
    bool isInterrupted = false;
    RecoveryTask task{
        project, ProjectRecovery{Step::push, "lantern", "/h/lantern", true},
        []() -> std::expected<std::string, RecoveryFailure> {
            return std::unexpected(RecoveryFailure{RecoveryFailure::Kind::failed, "fatal: \x1b[2J\nno"});
        },
        [&] { return isInterrupted; }};
    test::CollectingStreams streams;
    streams.answers.assign(9, "y");
    EXPECT_EQ(recoverAfterAsking(task, streams, {}).code, ExitCode::failed);
    expectAll({"The command failed.", "fatal: \\x1B[2J\nno\n"}, streams.messages);
    task.step->addresses = {"ssh://example.org/x"};
    task.stepNow = [] { return std::nullopt; };
    EXPECT_EQ(recoverAfterAsking(task, streams, {}).code, ExitCode::failed);
    expectAll({"It goes to: ssh://example.org/x\nThe repository's own hooks", "so nothing was run"},
              streams.messages);
    task.stepNow = {};
    isInterrupted = true;
    EXPECT_EQ(recoverAfterAsking(task, streams, {}).code, ExitCode::interrupted);
    isInterrupted = false;
    task.step.reset();
    project.safety->git.worktrees.resize(1);
    project.safety->git.worktrees[0].modifiedFiles = 1;
    EXPECT_TRUE(recoverAfterAsking(task, streams, {}).result.starts_with("Brindle knows no step"));
    project.safety->git.inspectionComplete = false;
    EXPECT_EQ(recoverAfterAsking(task, streams, {}).code, ExitCode::failed);
}

TEST(ProjectCommand, PointsToTheProjectThatIsMeant) {
    test::TestHome home;
    for (const char* path : {"~", ".."}) {
        const test::CollectedRun run = test::runIn(home, {"project", path});
        EXPECT_EQ(run.code, ExitCode::failed) << path;
        expectAll({"is your home folder or lies above it"}, run.messages);
    }
    EXPECT_EQ(test::runIn(home, {"project", "~/nowhere"}).code, ExitCode::notFound);
    expectAll({"\"projects\": []"}, test::runIn(home, {"projects", "--json"}).result);
    for (const char* each : {"lantern", "lantern/packages/ui", "lantern-copy"})
        home.text("Projects/" + std::string(each) + "/package.json", "{}");
    home.folder("Projects/lantern/src");
    const std::string command = "brindle project " + home.path("Projects/lantern") + "\n";
    for (const std::string inner : {"src", "packages/ui", "package.json"}) {
        const auto run = test::runIn(home, {"project", "--recover", "~/Projects/lantern/" + inner});
        EXPECT_EQ(run.code, ExitCode::notFound);
        expectAll({"/" + inner + " lies inside the project ~/Projects/lantern: " + command}, run.messages);
    }
    expectAll({"is no project itself. These lie inside it:\n    " + command, "/lantern-copy\n"},
              test::runIn(home, {"project", "~/Projects"}).messages);
    expectAll({"\"enclosingProject\": \"" + home.path("Projects/lantern") + "\""},
              test::runIn(home, {"project", "~/Projects/lantern/src", "--json"}).result);
    expectAll({"~/Projects/lantern-copy", "lantern-copy is named like a copy of this one"},
              test::runIn(home, {"project", "~/Projects/lantern"}).result);
    home.text("Projects/lantern/packages/ui/.git/HEAD", "");
    expectAll({"A scan does not list it by itself"},
              unwrapped(test::runIn(home, {"project", "~/Projects/lantern/packages/ui"}).result));
    const std::string name = "projects./h/Projects/one/lantern";
    EXPECT_EQ(closest(name + "n", {"projects./h/Projects/one/lamp", name}), name);
    EXPECT_EQ(closest(name, {"projects./h/Projects/one/other"}), std::nullopt);
}

TEST(ProjectCommand, SaysThatItWasInterrupted) {
    test::TestHome home;
    home.text("Projects/lantern/package.json", "{}");
    bool isSaid = false;
    for (int most = 1; !isSaid && most < 500; ++most) {
        std::atomic<int> polls = 0;
        const auto run = test::runIn(home, {"project", "~/Projects/lantern", "--json"},
                                     {.isInterrupted = [&] { return ++polls > most; }});
        isSaid = run.code == ExitCode::interrupted && contains(run.result, "\"isPartial\": true");
        EXPECT_TRUE(isSaid || run.result.empty()) << "a whole one, or none";
    }
    EXPECT_TRUE(isSaid);
}

}  // namespace brindle
