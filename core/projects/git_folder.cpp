#include "core/projects/git_folder.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "core/model/path_identity.h"
#include "core/platform/file_status.h"
#include "core/projects/git_output.h"
#include "core/projects/git_records.h"

namespace brindle {

namespace {

// A configuration with more filters than this was not written by a person.
constexpr std::size_t kMostOverrides = 200;
constexpr std::size_t kMostConfiguration =
    1 << 20;  // bytes; understood, it takes a hundred times as much memory

}  // namespace

bool isSameFolder(const std::string& left, const std::string& right) {
    if (left == right) return true;
    const auto identity = PathIdentity::read(left);
    return identity && identity == PathIdentity::read(right);
}

bool GitFolder::open() {
    const std::string usual = folder_ + "/.git";
    const auto isReasonable = [&](const std::string& gitFolder) {
        return gitFolder == usual || areGitFilesReasonable(folder_, gitFolder);
    };
    isComplete_ = areGitFilesReasonable(folder_, usual) && openConfiguration() && openRepository() &&
                  isReasonable(commonFolder_) && isReasonable(gitFolder_);
    return isComplete_;
}

bool GitFolder::openConfiguration() {
    const auto text = ask({"config", "--list", "-z", "--show-scope"});
    if (!text || text->size() > kMostConfiguration) return false;
    auto settings = parseSettings(*text);
    if (!settings) return false;
    filters_ = filtersAmong(*settings);
    for (GitSetting& setting : *settings) {
        if (setting.key == "extensions.objectformat") hashBytes_ = setting.value == "sha256" ? 32 : 20;
        if (setting.key.starts_with("remote.") || setting.key.starts_with("url."))
            settings_.push_back(std::move(setting));
    }
    add(filters_.overrides);
    return isComplete_;
}

// A repository may name another working tree than the folder it lies in, and a broken one is no answer at all.
bool GitFolder::openRepository() {
    const auto text =
        ask({"rev-parse", "--path-format=absolute", "--show-toplevel", "--git-dir", "--git-common-dir"});
    if (!text) return false;
    std::vector<std::string> lines = outputLines(*text);
    if (lines.size() != 3 || !isSameFolder(lines[0], folder_)) return false;
    gitFolder_ = std::move(lines[1]);
    commonFolder_ = std::move(lines[2]);
    return true;
}

void GitFolder::add(const GitOverrides& overrides) {
    overrides_.insert(overrides.begin(), overrides.end());
    if (overrides_.size() > kMostOverrides) giveUp();
}

std::optional<ProcessResult> GitFolder::run(const std::vector<std::string>& arguments) {
    if (*isHanging_ || use_->timeOuts >= GitUse::kMostTimeOuts) return std::nullopt;
    std::vector<std::string> whole = {"--no-optional-locks", "-C", folder_};
    whole.insert(whole.end(), arguments.begin(), arguments.end());
    RunOptions options = gitRunOptions(folder_, overrides_);
    options.isCancelled = use_->isCancelled;
    const auto start = std::chrono::steady_clock::now();
    const auto result = use_->tools.run(use_->program, whole, options);
    use_->nanoseconds += std::chrono::nanoseconds(std::chrono::steady_clock::now() - start).count();
    if (result) return *result;
    if (result.error().kind == ProcessError::Kind::timedOut) {
        *isHanging_ = true;
        use_->timeOuts += 1;
    }
    return std::nullopt;
}

std::optional<std::string> GitFolder::ask(const std::vector<std::string>& arguments) {
    const auto result = run(arguments);
    if (result && result->succeeded()) return result->output;
    giveUp();
    return std::nullopt;
}

std::int64_t GitFolder::askCount(const std::vector<std::string>& arguments) {
    const auto text = ask(arguments);
    const auto count = text ? parseCount(*text) : std::nullopt;
    if (!count) giveUp();
    return count.value_or(0);
}

std::optional<std::vector<GitRemote>> GitFolder::remotes(const std::vector<std::string>& within) {
    if (!remotes_ || remotes_->within != within)
        remotes_ = KnownRemotes{within, remotesElsewhere(settings_, folder_, within)};
    if (!remotes_->found) giveUp();
    return remotes_->found;
}

std::int64_t GitFolder::askCommitsOnlyHere(const std::vector<std::string>& of,
                                           const std::vector<std::string>& within) {
    const auto elsewhere = remotes(within);
    return elsewhere ? askCount(questionForCommitsOnlyHere(of, *elsewhere)) : 0;
}

// Its configuration may name a working tree that is gone; stashes count here as the commits that they are.
std::int64_t GitFolder::askCommitsOnlyIn(const std::string& store, const std::vector<std::string>& within) {
    const std::vector<std::string> at = {"--git-dir=" + store, "--work-tree=" + store};
    const auto askThere = [&](std::vector<std::string> question) {
        question.insert(question.begin(), at.begin(), at.end());
        return ask(question);
    };
    const auto text = areGitFilesReasonable(store, store)
                          ? askThere({"config", "--list", "-z", "--show-scope"})
                          : std::nullopt;
    const auto settings = text && text->size() <= kMostConfiguration ? parseSettings(*text) : std::nullopt;
    const auto elsewhere = settings ? remotesElsewhere(*settings, store, within) : std::nullopt;
    const auto count = elsewhere ? askThere(questionForCommitsOnlyHere({"--all"}, *elsewhere)) : std::nullopt;
    const auto number = count ? parseCount(*count) : std::nullopt;
    if (!number) giveUp();
    return number.value_or(0);
}

bool GitFolder::holdsWorkAside() const {
    return std::ranges::any_of(std::array{"/rebase-apply", "/rebase-merge/autostash", "/MERGE_AUTOSTASH"},
                               [&](const char* name) { return statusOf(gitFolder_ + name).has_value(); });
}

std::int64_t GitFolder::askHiddenChanges() {
    if (const auto hidden = hiddenChanges(gitFolder_, folder_, hashBytes_)) return *hidden;
    // An index of another kind: Git tells whether it holds such entries, not whether their files differ.
    const auto text = ask({"ls-files", "-v"});
    for (const std::string& line : outputLines(text.value_or(""))) {
        if (line.front() == 'S' || (line.front() >= 'a' && line.front() <= 'z')) giveUp();
    }
    return 0;
}

}  // namespace brindle
