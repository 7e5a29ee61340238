#include "core/projects/git_records.h"

#include <algorithm>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

constexpr std::int64_t kMega = 1 << 20;
constexpr std::size_t kMostAlternates = 32;
constexpr std::size_t kMostStores = 64;
constexpr std::uint64_t kMostPathBytes = 1 << 16;
constexpr int kDeepestName = 8;  // "group/part/name" of a submodule

struct SizeLimit {
    const char* name;
    std::int64_t bytes;
};

constexpr SizeLimit kInWorkingTree[] = {
    {"/.gitignore", kMega}, {"/.gitattributes", kMega}, {"/.gitmodules", kMega}};
constexpr SizeLimit kInGitFolder[] = {
    {"/config", kMega},
    {"/config.worktree", kMega},
    {"/HEAD", kMega},
    {"/info/exclude", kMega},
    {"/info/attributes", kMega},
    {"/info/sparse-checkout", kMega},
    {"/shallow", 16 * kMega},
    {"/packed-refs", 256 * kMega},
    {"/index", 256 * kMega},
    {"/objects/info/alternates", kMega},
};

template <std::size_t Count>
bool areWithin(const std::string& folder, const SizeLimit (&limits)[Count]) {
    return std::ranges::all_of(limits, [&](const SizeLimit& limit) {
        const std::string path = folder + limit.name;
        const auto status = statusOf(path);
        if (!status) return true;
        // Git follows a link in most of these places, and one that leads nowhere costs nothing.
        if (status->isLink()) return !exists(path) || readFile(path, static_cast<std::uint64_t>(limit.bytes));
        // A pipe would hold Git up until its time is over.
        return (status->isRegular() || status->isFolder()) && status->size <= limit.bytes;
    });
}

std::vector<std::string> foldersIn(const std::string& folder) {
    std::vector<std::string> found;
    for (const std::string& name : listFolder(folder).value_or(std::vector<std::string>())) {
        const std::string path = folder + "/" + name;
        const auto status = statusOf(path);
        if (status && status->isFolder()) found.push_back(path);
    }
    return found;
}

// Absent is nothing; what is there and cannot be listed is not known.
bool isUnlistable(const std::string& folder) {
    return statusOf(folder) && !listFolder(folder);
}

// False when there may be more than were found.
bool addStores(const std::string& modules, int depth, std::vector<std::string>& stores) {
    if (depth > kDeepestName || isUnlistable(modules)) return false;
    for (const std::string& folder : foldersIn(modules)) {
        const bool isStore = statusOf(folder + "/HEAD") && statusOf(folder + "/objects");
        if (isStore) stores.push_back(folder);
        if (stores.size() > kMostStores) return false;
        if (!addStores(isStore ? folder + "/modules" : folder, isStore ? 0 : depth + 1, stores)) return false;
    }
    return true;
}

// False when a line is not understood: one in quotes, which Git would decode.
bool addAlternates(const std::string& objects, std::vector<std::string>& found) {
    const std::string file = objects + "/info/alternates";
    if (!statusOf(file)) return true;
    const auto text = readFile(file, kMega);
    if (!text) return false;
    for (std::size_t begin = 0; begin < text->size();) {
        const std::size_t end = std::min(text->find('\n', begin), text->size());
        const std::string line = text->substr(begin, end - begin);
        begin = end + 1;
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with('"') || found.size() >= kMostAlternates) return false;
        const std::string path = standardisedPath(line.starts_with('/') ? line : objects + "/" + line);
        if (std::ranges::find(found, path) != found.end()) continue;
        found.push_back(path);
        if (!addAlternates(path, found)) return false;
    }
    return true;
}

}  // namespace

bool areGitFilesReasonable(const std::string& workingTree, const std::string& gitFolder) {
    return areWithin(workingTree, kInWorkingTree) && areWithin(gitFolder, kInGitFolder);
}

std::optional<std::vector<std::string>> alternatesOf(const std::string& commonFolder) {
    std::vector<std::string> found;
    if (!addAlternates(commonFolder + "/objects", found)) return std::nullopt;
    return found;
}

std::optional<std::vector<std::string>> submoduleStoresIn(const std::string& commonFolder) {
    std::vector<std::string> stores;
    if (isUnlistable(commonFolder + "/worktrees")) return std::nullopt;
    std::vector<std::string> holders = foldersIn(commonFolder + "/worktrees");
    holders.push_back(commonFolder);
    for (const std::string& holder : holders) {
        if (!addStores(holder + "/modules", 0, stores)) return std::nullopt;
    }
    return stores;
}

WorktreeRecords worktreeRecordsIn(const std::string& commonFolder) {
    const std::string folder = commonFolder + "/worktrees";
    if (isUnlistable(folder)) return {.areAny = true, .areOneLineEach = false};
    WorktreeRecords records;
    for (const std::string& record : foldersIn(folder)) {
        records.areAny = true;
        if (!statusOf(record + "/gitdir")) continue;  // Git passes it over, too
        const auto text = readFile(record + "/gitdir", kMostPathBytes);
        const bool isOneLine = text && std::min(text->find('\n'), text->size()) + 1 >= text->size();
        records.areOneLineEach = records.areOneLineEach && isOneLine;
    }
    return records;
}

}  // namespace brindle
