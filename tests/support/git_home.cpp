#include "tests/support/git_home.h"

#include <gtest/gtest.h>

#include "core/tools/process_runner.h"

namespace brindle::test {

GitHome::GitHome() {
    text(".gitconfig",
         "[user]\n\tname = N\n\temail = n@example.org\n[init]\n\tdefaultBranch = main\n"
         "[protocol \"file\"]\n\tallow = always\n[advice]\n\tdetachedHead = false\n");
}

Toolbox GitHome::tools(std::vector<std::string> environment) const {
    environment.push_back("HOME=" + path());
    environment.emplace_back("GIT_CONFIG_NOSYSTEM=1");
    return Toolbox::of(ProcessRunner(path(), environment));
}

std::string GitHome::shell(const std::string& folder, const std::string& script, bool mayFail) {
    RunOptions options;
    options.timeout = std::chrono::seconds(20);
    options.folder = this->folder(folder);
    options.setVariables = {{"home", path()}};
    const auto result = tools().run("sh", {"-ec", script}, options);
    EXPECT_TRUE(mayFail || (result && result->succeeded()))
        << script << ": " << (result ? result->errors : "no end");
    return result ? result->output : "";
}

std::string GitHome::repository(const std::string& folder) {
    shell(folder, "echo text > source; git init -q; git add -A; git commit -qm first");
    return path(folder);
}

std::string GitHome::pushed(const std::string& folder) {
    repository(folder);
    shell(folder, "remote=$home/remotes/" + folder +
                      ".git; git clone -q --bare . $remote; git remote add origin $remote; git fetch -q;"
                      "git branch -q --set-upstream-to=origin/main");
    return path(folder);
}

void GitHome::untouchedProject(const std::string& folder, std::int64_t secondsSinceEpoch) {
    text(folder + "/package.json", "{}");
    text(folder + "/package-lock.json", "{}");
    text(folder + "/.gitignore", "node_modules\n");
    pushed(folder);
    file(folder + "/node_modules/a");
    for (const char* each :
         {"node_modules/a", "package.json", ".git/index", ".git/HEAD", ".git/FETCH_HEAD", ""})
        modified(folder + "/" + each, secondsSinceEpoch);
}

}  // namespace brindle::test
