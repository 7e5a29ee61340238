#include "core/projects/git_remotes.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/projects/git_records.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

constexpr std::size_t kMostRemotes = 64;
constexpr std::string_view kSection = "remote.";
constexpr std::string_view kFileScheme = "file://";

struct Declared {
    std::string url;
    std::vector<std::string> tracked;
};

// The folder that an address names on this machine; absent for one on another. A colon before the first slash is a host's.
std::optional<std::string> localFolder(const std::string& url, const std::string& folder) {
    if (url.starts_with(kFileScheme)) {
        const std::size_t slash = url.find('/', kFileScheme.size());
        return slash == std::string::npos ? std::string() : url.substr(slash);
    }
    if (url.starts_with('/')) return url;
    const std::size_t colon = url.find(':');
    if (colon != std::string::npos && colon < url.find('/')) return std::nullopt;
    return folder + "/" + url;
}

// As Git rewrites it: of the beginnings that settings replace ("url.NEW.insteadOf = BEGINNING") the longest.
std::string rewritten(const std::string& url, const std::vector<GitSetting>& settings) {
    constexpr std::string_view kUrl = "url.";
    constexpr std::string_view kInsteadOf = ".insteadof";
    const GitSetting* longest = nullptr;
    for (const GitSetting& each : settings) {
        const bool isRule = each.key.starts_with(kUrl) && each.key.ends_with(kInsteadOf) &&
                            each.key.size() >= kUrl.size() + kInsteadOf.size();
        if (!isRule || !each.value || !url.starts_with(*each.value)) continue;
        if (longest == nullptr || each.value->size() > longest->value->size()) longest = &each;
    }
    if (longest == nullptr) return url;
    const std::size_t length = longest->key.size() - kUrl.size() - kInsteadOf.size();
    return longest->key.substr(kUrl.size(), length) + url.substr(longest->value->size());
}

// Where the data of the repository in a folder lies: a linked worktree's and a shared clone's is another repository's.
// Absent when that cannot be known.
std::optional<std::vector<std::string>> dataOf(const std::string& folder) {
    constexpr std::uint64_t kMostConfigBytes = 1 << 16;
    constexpr std::string_view kGitFolder = "gitdir: ";
    std::string store = folder;
    if (const auto own = statusOf(folder + "/.git")) {
        store += "/.git";
        if (own->isRegular()) {
            const auto text = readFile(store, kMostConfigBytes);
            if (!text || !text->starts_with(kGitFolder)) return std::nullopt;
            const std::string named(trimmed(std::string_view(*text).substr(kGitFolder.size())));
            store = named.starts_with('/') ? named : folder + "/" + named;
        }
    }
    auto places = alternatesOf(store);
    if (!places) return std::nullopt;
    places->insert(places->end(), {folder, store, store + "/objects", store + "/refs"});
    for (std::string& place : *places) place = canonicalOr(place);
    return places;
}

// A bundle is one file. Git also tries the name with ".git" behind it.
bool holdsRepositoryAt(const std::string& path, const std::vector<std::string>& within) {
    for (const std::string& tried : {path, path + ".git"}) {
        const auto place = canonicalPath(tried);
        const auto status = place ? statusOf(*place) : std::unexpected(place.error());
        if (!status) continue;
        const bool isRepository = status->isRegular() || exists(*place + "/HEAD") || exists(*place + "/.git");
        if (!isRepository) continue;
        const auto data = dataOf(*place);
        return data && std::ranges::none_of(*data, [&](const std::string& part) {
                   return std::ranges::any_of(within,
                                              [&](const auto& each) { return isAtOrBelow(part, each); });
               });
    }
    return false;
}

// "+refs/heads/*:refs/remotes/origin/*". A ref by its whole name would be taken for a folder of refs: as a pattern it is
// itself only when something in it stands for something.
void addTracked(const std::string& refspec, std::vector<std::string>& tracked) {
    const std::size_t colon = refspec.find(':');
    if (refspec.starts_with('^') || colon == std::string::npos) return;
    std::string pattern = refspec.substr(colon + 1);
    if (!pattern.starts_with("refs/remotes/") || pattern.ends_with('/')) return;
    if (!pattern.contains('*'))
        pattern.replace(pattern.size() - 1, 1, "[" + pattern.substr(pattern.size() - 1) + "]");
    tracked.push_back(std::move(pattern));
}

bool isPlain(std::string_view name) {
    return name.find_first_of("*?[\\") == std::string_view::npos;
}

std::map<std::string, Declared> declaredRemotes(const std::vector<GitSetting>& settings) {
    std::map<std::string, Declared> declared;
    for (const GitSetting& setting : settings) {
        const std::size_t dot = setting.key.rfind('.');
        if (!setting.key.starts_with(kSection) || dot < kSection.size() || !setting.value) continue;
        Declared& remote = declared[setting.key.substr(kSection.size(), dot - kSection.size())];
        const std::string_view what = std::string_view(setting.key).substr(dot);
        if (what == ".url" && remote.url.empty()) remote.url = *setting.value;  // Git fetches from the first
        if (what == ".fetch") addTracked(*setting.value, remote.tracked);
    }
    return declared;
}

}  // namespace

std::optional<std::vector<GitRemote>> remotesElsewhere(const std::vector<GitSetting>& settings,
                                                       const std::string& folder,
                                                       const std::vector<std::string>& within) {
    std::vector<GitRemote> remotes;
    std::vector<std::string> others;
    for (auto& [name, declared] : declaredRemotes(settings)) {
        const auto local = localFolder(rewritten(declared.url, settings), folder);
        if (declared.url.empty() || (local && !holdsRepositoryAt(*local, within))) {
            others.push_back(name);
            continue;
        }
        if (remotes.size() == kMostRemotes || !isPlain(name)) return std::nullopt;
        declared.tracked.push_back("refs/remotes/" + name + "/*");
        remotes.push_back({name, std::move(declared.tracked)});
    }
    // The refs of "origin/old" lie among those of "origin".
    const bool areApart = std::ranges::none_of(remotes, [&](const GitRemote& remote) {
        return std::ranges::any_of(others,
                                   [&](const auto& name) { return name.starts_with(remote.name + "/"); });
    });
    return areApart ? std::optional(std::move(remotes)) : std::nullopt;
}

std::vector<std::string> questionForCommitsOnlyHere(const std::vector<std::string>& of,
                                                    const std::vector<GitRemote>& remotes) {
    constexpr std::string_view kRefs = "refs/";
    std::vector<std::string> question = {"rev-list", "--count"};
    question.insert(question.end(), of.begin(), of.end());
    question.emplace_back("--not");
    for (const GitRemote& remote : remotes) {
        for (const std::string& pattern : remote.tracked) {
            question.push_back("--glob=" + pattern);
            question.push_back("--glob=refs/prefetch/" + pattern.substr(kRefs.size()));
        }
    }
    return question;
}

std::vector<std::string> allRefs() {
    return {"--exclude=refs/stash", "--exclude=refs/prefetch/*", "--all"};
}

}  // namespace brindle
