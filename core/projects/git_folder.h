// One folder in which Git is asked questions, under settings that let nothing of its repository run.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/projects/git_remotes.h"
#include "core/projects/git_safety.h"
#include "core/tools/toolbox.h"

namespace brindle {

// What all questions of one scan share. Several threads may use it at once.
struct GitUse {
    GitUse(Toolbox available, std::function<bool()> cancellation)
        : tools(std::move(available)),
          isCancelled(std::move(cancellation)),
          program(tools.locate("git").value_or("git")) {}

    Toolbox tools;
    std::function<bool()> isCancelled;
    std::string program;                        // found once, not for every question
    std::atomic<std::int64_t> nanoseconds = 0;  // that Git has run, added over threads
    std::atomic<bool> refusesLiteral = false;   // this Git's check-ignore, of the option for literal paths
    std::atomic<int> timeOuts = 0;              // in all repositories

    // So many that the waiting must end: nothing more is asked in this scan.
    static constexpr int kMostTimeOuts = 16;
};

// Whether two paths lead to the same folder, however they are spelled.
bool isSameFolder(const std::string& left, const std::string& right);

// Used by one thread.
class GitFolder {
  public:
    // `use` must outlive it.
    GitFolder(std::string folder, GitUse& use) : folder_(std::move(folder)), use_(&use) {}

    // Another folder that is read for the sake of this one. When a question in one of them runs out of time, no further
    // one is asked in any.
    GitFolder related(std::string folder) const {
        GitFolder other(std::move(folder), *use_);
        other.isHanging_ = isHanging_;
        return other;
    }

    // Looks at the configuration and at which repository answers here. False when it is not this folder's own working
    // tree, or when that cannot be known: then nothing more may be asked.
    bool open();

    // Further settings that the next questions are asked under.
    void add(const GitOverrides& overrides);

    // git --no-optional-locks -C FOLDER ARGUMENTS: what it prints. Absent, and isComplete() false from then on, when it
    // does not start, takes too long or ends with a status other than 0.
    std::optional<std::string> ask(const std::vector<std::string>& arguments);

    // The decimal number that it prints, likewise; 0 when there is none.
    std::int64_t askCount(const std::vector<std::string>& arguments);

    // The commits in this repository that no remote elsewhere is known to have, and those of a submodule's repository
    // whose own folder may not be there. What lies at or below one of `within` is no place elsewhere.
    // The refs that are meant come first, as arguments of rev-list.
    std::int64_t askCommitsOnlyHere(const std::vector<std::string>& of,
                                    const std::vector<std::string>& within);
    std::int64_t askCommitsOnlyIn(const std::string& store, const std::vector<std::string>& within);

    // Whether Git has put changes aside where no ref leads: patches still to be applied, and what a merge or rebase
    // that is under way has stashed by itself. The working tree may look clean meanwhile.
    bool holdsWorkAside() const;

    // Changes that the user told Git not to look for.
    std::int64_t askHiddenChanges();

    // The same for a command whose status tells something; never changes isComplete().
    std::optional<ProcessResult> run(const std::vector<std::string>& arguments);

    bool isComplete() const { return isComplete_; }
    void giveUp() { isComplete_ = false; }
    const std::string& path() const { return folder_; }
    GitUse& use() const { return *use_; }

    // After open().
    bool isLinkedWorktree() const { return gitFolder_ != commonFolder_; }
    const std::string& gitFolder() const { return gitFolder_; }
    const std::string& commonFolder() const { return commonFolder_; }  // where the repository's own data lies
    const GitFilters& filters() const { return filters_; }
    // Absent, and isComplete() false, when they are too many to be told apart.
    std::optional<std::vector<GitRemote>> remotes(const std::vector<std::string>& within);
    const GitOverrides& overrides() const { return overrides_; }

  private:
    bool openConfiguration();
    bool openRepository();

    std::string folder_;
    GitUse* use_;
    GitOverrides overrides_ = baseGitOverrides();
    GitFilters filters_;
    struct KnownRemotes {
        std::vector<std::string> within;
        std::optional<std::vector<GitRemote>> found;
    };

    std::optional<KnownRemotes> remotes_;  // as they were when they were first asked for
    std::vector<GitSetting> settings_;     // those of remotes and their addresses
    std::size_t hashBytes_ = 20;
    std::string gitFolder_;
    std::string commonFolder_;
    bool isComplete_ = true;
    std::shared_ptr<bool> isHanging_ = std::make_shared<bool>(false);
};

}  // namespace brindle
