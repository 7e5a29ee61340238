// Repositories whose configuration would start programs when Git looks at them: none may.
#include <gtest/gtest.h>

#include "core/platform/file_status.h"
#include "core/projects/git_inspector.h"
#include "tests/support/git_home.h"

namespace brindle {
namespace {

using test::GitHome;

// What every script below may use. A repository's files are out of date for Git as soon as they are copied.
constexpr const char* kPrelude = R"(
canary=$home/canary
stale() { touch -d 2017-07-14 "$1"; }
filter() { echo '* filter=evil' > "$1/.git/info/attributes"; git -C "$1" config "filter.evil.$2" $canary; stale "$1/source"; }
submodule() { git submodule add -q $home/origin sub; git commit -qm sub; }
partial() { # URL KEY: a commit is missing, and the way to fetch it is the repository's choice
    missing=$(git rev-parse HEAD)
    git commit -q --allow-empty -m next
    rm -f .git/objects/$(echo $missing | cut -c1-2)/$(echo $missing | cut -c3-)
    git remote add far "$1"
    git config core.repositoryformatversion 1
    git config extensions.partialClone far
    git config remote.far.promisor true
    for each in "" .file .ext; do git config protocol$each.allow always; done
    git config "$2" $canary
}
)";

struct Canary {
    const char* name;
    const char* plant;
    const char* trap = "git status";  // starts it when nobody takes care
};

constexpr const char* kCount = "git rev-list --count --branches";

const Canary kCanaries[] = {
    {"file-system monitor", "git config core.fsmonitor $canary"},
    {"included file", "git config include.path ../more; printf '[core]\\nfsmonitor = %s\\n' $canary > more"},
    {"configuration of a worktree",
     "git config extensions.worktreeConfig true; git config --worktree core.fsmonitor $canary"},
    {"hook", "cp $canary .git/hooks/post-index-change; stale source"},
    {"folder of hooks",
     "mkdir hooks; cp $canary hooks/post-index-change; git config core.hooksPath hooks; stale source"},
    {"clean filter", "filter . clean"},
    {"process filter", "filter . process"},
    {"required filter named like the user's",
     "git config --global filter.evil.clean cat; filter . clean; git config filter.evil.required true"},
    {"submodule's monitor", "submodule; git -C sub config core.fsmonitor $canary"},
    {"submodule's filter, which the repository insists on",
     "submodule; git config -f .gitmodules submodule.sub.ignore none; git config submodule.sub.ignore none;"
     "echo '* filter=evil' > sub/.gitattributes; git -C sub config filter.evil.clean $canary; stale "
     "sub/source"},
    {"clone inside, ignored", "echo sub > .gitignore; git clone -q $home/origin sub; filter sub clean",
     "git -C sub status"},
    {"clone inside a clone",
     "git clone -q $home/origin sub; git clone -q $home/origin sub/in; git -C sub/in config core.fsmonitor "
     "$canary",
     "git -C sub/in status"},
    {"clone below .git", "git clone -q $home/origin .git/in; git -C .git/in config core.fsmonitor $canary",
     "git -C .git/in status"},
    {"submodule that is not checked out",
     "submodule; git -C sub config core.fsmonitor $canary; git submodule --quiet deinit -f sub;"
     "git config -f .git/modules/sub/config core.worktree ../../../back",
     "mkdir back; echo gitdir: ../.git/modules/sub > back/.git; git -C back status"},
    {"worktree that is another repository",
     "git -C $home/origin config core.fsmonitor $canary; mkdir -p .git/worktrees/w; cd .git/worktrees/w;"
     "echo $home/origin/.git > gitdir; echo ../.. > commondir; echo 'ref: refs/heads/main' > HEAD",
     "git -C $home/origin status"},
    {"submodule in a worktree elsewhere",
     "submodule; git config submodule.sub.ignore none; git worktree add -q --detach $home/w; cd $home/w;"
     "git submodule --quiet update --init; git -C sub config filter.evil.clean $canary;"
     "echo '* filter=evil' > sub/.gitattributes; stale sub/source",
     "git -C $home/w status"},
    {"upload-pack of a partial clone", "partial $home/origin remote.far.uploadpack", kCount},
    {"ssh of a partial clone", "partial ssh://example.org/x core.sshCommand", kCount},
    {"transport of a partial clone", "partial ext::$canary core.gitProxy", kCount},
    {"what only other commands start",
     "for key in alias.status core.pager core.editor diff.external credential.helper "
     "core.alternateRefsCommand "
     "gpg.program; do git config $key $canary; done; git config log.showSignature true",
     "echo x >> source; git diff"},
};

TEST(GitCanary, NothingOfARepositoryIsStarted) {
    for (const Canary& canary : kCanaries) {
        SCOPED_TRACE(canary.name);
        GitHome home;
        const std::string fired = home.path("fired");
        home.script("canary", "touch " + fired + "\n");
        home.repository("origin");
        const std::string folder = home.repository("work/repository");
        home.shell("work/repository", std::string(kPrelude) + canary.plant);

        GitUse use(home.tools(), [] { return false; });
        std::vector<std::string> nested;
        for (const char* inside : {"/sub", "/sub/in", "/.git/in"})
            if (exists(folder + inside + "/.git")) nested.push_back(folder + inside);
        GitInspector inspector(folder, nested, use);
        (void)inspector.inspect();
        (void)inspector.ignoredPaths({folder + "/build", folder + "/sub/build"});
        EXPECT_FALSE(exists(fired));
        home.shell("work/repository", canary.trap, true);
        EXPECT_TRUE(exists(fired)) << "the canary itself does not sing";
    }
}

TEST(GitCanary, TheCallersVariablesDoNotReachGit) {
    GitHome home;
    const std::string fired = home.path("fired");
    const std::string monitor = "core.fsmonitor=" + home.script("canary", "touch " + fired + "\n");
    const std::string folder = home.repository("repository");
    const std::string other = home.repository("other");
    home.text("other/new", "x");
    GitUse use(
        home.tools({"GIT_DIR=" + other + "/.git", "GIT_WORK_TREE=" + other, "GIT_INDEX_FILE=/nowhere",
                    "GIT_CONFIG_COUNT=1", "GIT_CONFIG_KEY_0=core.fsmonitor",
                    "GIT_CONFIG_VALUE_0=" + home.path("canary"), "GIT_CONFIG_PARAMETERS='" + monitor + "'",
                    "GIT_EXEC_PATH=/nowhere", "GIT_TRACE=" + fired, "GIT_CEILING_DIRECTORIES="}),
        [] { return false; });
    const GitState state = GitInspector(folder, std::vector<std::string>(), use).inspect();
    EXPECT_TRUE(state.inspectionComplete && state.untrackedFiles == 0);
    EXPECT_FALSE(exists(fired));
}

TEST(GitCanary, TheUsersOwnFilterStillWorks) {
    GitHome home;
    const std::string fired = home.path("fired");
    home.script("filter", "touch " + fired + "\nsed s/large/pointer/\n");
    const std::string folder = home.repository("repository");
    home.shell(
        "repository",
        "git config --global filter.big.clean $home/filter; git config --global filter.big.required true;"
        "echo '*.bin filter=big' > .gitattributes; echo large > data.bin; git add -A; git commit -qm large;"
        "touch -d 2017-07-14 data.bin; rm $home/fired");
    GitUse use(home.tools(), [] { return false; });
    const GitState state = GitInspector(folder, std::vector<std::string>(), use).inspect();
    EXPECT_TRUE(state.inspectionComplete && state.modifiedFiles == 0) << "as it was committed";
    EXPECT_TRUE(exists(fired));
}

}  // namespace
}  // namespace brindle
