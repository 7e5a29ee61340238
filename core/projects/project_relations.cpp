#include "core/projects/project_relations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <set>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "core/platform/path_text.h"
#include "core/text/ascii.h"
#include "core/text/utf8.h"
#include "core/tools/git_remote_address.h"

namespace brindle {

namespace {

using Basis = ProjectRelation::Basis;

constexpr std::array<std::string_view, 18> kVariantWords = {
    "copy",     "copie", "copia",  "cópia",  "kopie", "kopia", "new", "old",   "orig",
    "original", "final", "latest", "backup", "bak",   "temp",  "tmp", "draft", "wip"};

constexpr std::array<std::string_view, 25> kGenericNames = {
    "app",      "api",    "web",  "www",  "src",     "test",    "tests",     "demo",     "site",
    "server",   "client", "core", "main", "lib",     "docs",    "example",   "examples", "project",
    "untitled", "new",    "temp", "tmp",  "sandbox", "scratch", "playground"};

constexpr std::size_t kDistinctiveLength = 4;  // characters

std::vector<std::string> tokensOf(std::string_view name) {
    std::vector<std::string> tokens(1);
    for (const char c : caseless(name)) {
        if (std::string_view("-_. ").find(c) == std::string_view::npos) {
            tokens.back() += c;
        } else if (!tokens.back().empty()) {
            tokens.emplace_back();
        }
    }
    if (tokens.back().empty()) tokens.pop_back();
    return tokens;
}

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); ++count) text.remove_prefix(firstCharacter(text).bytes.size());
    return count;
}

bool isAllDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

// What of a project is compared. A name that is too common to relate by is left empty.
struct Traits {
    const Project* project;
    std::string checkout;  // the main checkout that this one is, or depends on
    std::set<std::string> remotes;
    std::string declaredName;
    std::string folderName;
    std::string stem;
    bool isVariant;  // the folder is called more than the stem
};

std::string ifDistinctive(std::string name) {
    return isDistinctive(name) ? std::move(name) : std::string();
}

Traits traitsOf(const Project& project) {
    Traits traits{.project = &project,
                  .checkout = project.path,
                  .remotes = {},
                  .declaredName = ifDistinctive(project.declaredName.value_or("")),
                  .folderName = ifDistinctive(project.name),
                  .stem = ifDistinctive(strippingVariantSuffixes(project.name)),
                  .isVariant = false};
    traits.isVariant = traits.stem != normalisedName(project.name);
    if (!project.safety) return traits;
    const GitState& git = project.safety->git;
    traits.checkout = git.mainWorktreePath.value_or(project.path);
    for (const std::string& url : git.remoteURLs) traits.remotes.insert(canonicalRemote(url));
    traits.remotes.erase("");
    while (traits.remotes.size() > kMostComparedRemotes)
        traits.remotes.erase(std::prev(traits.remotes.end()));
    return traits;
}

// What two projects may have in common: a remote, a name, or a stem that is the whole name or only the start of it.
enum class Mark { remote, declaredName, folderName, bareStem, variantStem };
using Key = std::pair<Mark, std::string>;

std::vector<Key> keysOf(const Traits& traits) {
    std::vector<Key> keys;
    for (const std::string& remote : traits.remotes) keys.emplace_back(Mark::remote, remote);
    keys.emplace_back(Mark::declaredName, traits.declaredName);
    keys.emplace_back(Mark::folderName, traits.folderName);
    keys.emplace_back(traits.isVariant ? Mark::variantStem : Mark::bareStem, traits.stem);
    std::erase_if(keys, [](const Key& key) { return key.second.empty(); });
    return keys;
}

// Which others to look up, and what relates this one to them.
struct Question {
    Key key;
    Basis basis;
    std::string detail;
};

// From the surest to the faintest.
std::vector<Question> questionsOf(const Traits& traits) {
    std::vector<Question> questions;
    for (const std::string& remote : traits.remotes)
        questions.push_back({{Mark::remote, remote}, Basis::sharedRemote, remote});
    questions.push_back(
        {{Mark::declaredName, traits.declaredName}, Basis::sameDeclaredName, traits.declaredName});
    questions.push_back({{Mark::folderName, traits.folderName}, Basis::sameFolderName, traits.folderName});
    if (traits.isVariant) {
        questions.push_back({{Mark::bareStem, traits.stem}, Basis::variantOf, ""});
        questions.push_back({{Mark::variantStem, traits.stem}, Basis::sharedStem, traits.stem});
    } else {
        questions.push_back({{Mark::variantStem, traits.stem}, Basis::hasVariant, ""});
        // Two bare names that differ are spelled differently: "my_tool" and "my-tool".
        questions.push_back({{Mark::bareStem, traits.stem}, Basis::sharedStem, traits.stem});
    }
    std::erase_if(questions, [](const Question& question) { return question.key.second.empty(); });
    return questions;
}

class Groups {
  public:
    explicit Groups(std::vector<Traits> all) : all_(std::move(all)) {
        std::ranges::sort(all_, {}, place);
        for (std::size_t index = 0; index < all_.size(); ++index) {
            for (auto& key : keysOf(all_[index])) members_[std::move(key)].push_back(index);
        }
    }

    const std::vector<Traits>& all() const { return all_; }

    RelatedProjects relatedTo(const Traits& one) const {
        RelatedProjects related;
        std::unordered_set<std::size_t> seen;
        for (const Question& question : questionsOf(one)) {
            const auto group = members_.find(question.key);
            if (group != members_.end() && !add(question, one, group->second, seen, related)) break;
        }
        std::ranges::sort(related.strongest, {},
                          [](const ProjectRelation& each) { return std::tie(each.basis, each.otherPath); });
        return related;
    }

  private:
    // The checkouts of one repository lie beside each other.
    static std::pair<std::string_view, std::string_view> place(const Traits& traits) {
        return {traits.checkout, traits.project->path};
    }

    // False when so many were found that no more are counted.
    bool add(const Question& question, const Traits& one, const std::vector<std::size_t>& group,
             std::unordered_set<std::size_t>& seen, RelatedProjects& related) const {
        // A linked worktree and what it depends on are one repository, and are shown as such.
        const auto checkout = [this](std::size_t index) -> std::string_view { return all_[index].checkout; };
        const auto own = std::ranges::equal_range(group, std::string_view(one.checkout), {}, checkout);
        for (auto member = group.begin(); member != group.end(); ++member) {
            if (member == own.begin()) member = own.end();
            if (member == group.end()) break;
            if (!seen.insert(*member).second) continue;
            if (related.strongest.size() < RelatedProjects::kMost) {
                const Project& other = *all_[*member].project;
                related.strongest.push_back({other.path, other.name, question.basis, question.detail});
            } else if (++related.leftOut == RelatedProjects::kMostLeftOut) {
                return false;
            }
        }
        return true;
    }

    std::vector<Traits> all_;
    std::map<Key, std::vector<std::size_t>> members_;  // ascending
};

Groups grouped(const std::vector<Project>& projects) {
    std::vector<Traits> all;
    all.reserve(projects.size());
    for (const Project& project : projects) all.push_back(traitsOf(project));
    return Groups(std::move(all));
}

}  // namespace

std::map<std::string, RelatedProjects> relatedProjects(const std::vector<Project>& projects) {
    const Groups groups = grouped(projects);
    std::map<std::string, RelatedProjects> related;
    for (const Traits& each : groups.all()) {
        RelatedProjects others = groups.relatedTo(each);
        if (!others.strongest.empty()) related.emplace(each.project->path, std::move(others));
    }
    return related;
}

RelatedProjects relationsOf(const Project& project, const std::vector<Project>& others) {
    return grouped(others).relatedTo(traitsOf(project));
}

std::string canonicalRemote(std::string_view url) {
    constexpr std::string_view kSuffix = ".git";
    const auto address = parseGitRemote(lowerCase(trimmed(url)));
    if (!address) return {};
    const bool isLocal = address->host.empty();
    // Where a relative path leads depends on the project.
    if (isLocal && !address->path.starts_with('/')) return {};
    std::string path = isLocal ? standardisedPath(address->path)
                               : fmt::format("/{}", fmt::join(pathComponents(address->path), "/"));
    if (path.ends_with(kSuffix)) path.resize(path.size() - kSuffix.size());
    if (path.ends_with('/')) path.pop_back();
    return path.empty() ? path : address->host + path;
}

std::string normalisedName(std::string_view name) {
    return fmt::format("{}", fmt::join(tokensOf(name), "-"));
}

bool isDistinctive(std::string_view name) {
    const std::string normalised = normalisedName(name);
    return characterCount(normalised) >= kDistinctiveLength &&
           std::ranges::find(kGenericNames, normalised) == kGenericNames.end();
}

bool isVariantToken(std::string_view token) {
    const std::string word = caseless(token);
    return std::ranges::find(kVariantWords, word) != kVariantWords.end() || isAllDigits(word) ||
           (word.starts_with('v') && isAllDigits(std::string_view(word).substr(1)));
}

std::string strippingVariantSuffixes(std::string_view name) {
    std::vector<std::string> tokens = tokensOf(name);
    while (tokens.size() > 1 && isVariantToken(tokens.back())) tokens.pop_back();
    return fmt::format("{}", fmt::join(tokens, "-"));
}

}  // namespace brindle
