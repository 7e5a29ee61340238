#include "core/insight/duplicate_tables.h"

#include <algorithm>
#include <array>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/projects/project_tables.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

// Besides the folders that projects' tools generate.
constexpr std::array<std::string_view, 15> kExcluded = {
    ".git",       ".cache",  ".npm",   ".pnpm-store", ".cargo", ".pub-cache", ".gradle", ".venv",
    ".terraform", "Library", "Caches", "vendor",      ".aws",   ".ssh",       ".ollama"};

// Sorted.
constexpr std::array<std::string_view, 47> kSourceExtensions = {
    "c",    "cc",     "cpp",   "cs", "css",  "dart",  "env",  "erl", "ex",   "exs",  "go",   "gradle",
    "h",    "hcl",    "hpp",   "hs", "html", "ipynb", "java", "js",  "json", "jsx",  "kt",   "kts",
    "lock", "lua",    "m",     "mm", "php",  "pl",    "py",   "r",   "rb",   "rs",   "scss", "sh",
    "sql",  "svelte", "swift", "tf", "toml", "ts",    "tsx",  "vue", "xml",  "yaml", "yml"};
static_assert(std::ranges::is_sorted(kSourceExtensions));

}  // namespace

bool isExcludedFolder(std::string_view name) {
    return std::ranges::find(kExcluded, name) != kExcluded.end() || artifactRuleFor(name) != nullptr;
}

bool isTrashFolder(std::string_view path) {
    const std::string_view name = lastComponent(path);
    if (name == ".Trash" || name.starts_with(".Trash-") || path.ends_with("/share/Trash")) return true;
    // One of another data folder: XDG_DATA_HOME of another session.
    const std::string folder(path);
    return name == "Trash" && exists(folder + "/files") && exists(folder + "/info");
}

bool isSourceFile(std::string_view name) {
    const std::string_view extension = extensionOf(name);
    constexpr std::size_t kLongest = 6;
    if (extension.empty() || extension.size() > kLongest) return false;
    return std::ranges::binary_search(kSourceExtensions, lowerCase(extension));
}

bool isProjectFolder(const std::string& folder) {
    const auto entries = listFolder(folder);
    return entries && std::ranges::any_of(*entries, marksProject);
}

bool isInProject(const std::string& folder, const std::string& home) {
    for (std::string each = folder; isBelow(each, home); each = folderOf(each)) {
        if (isProjectFolder(each)) return true;
    }
    return false;
}

bool hasExcludedAncestor(std::string_view path, std::string_view home) {
    if (!isBelow(path, home)) return false;
    return std::ranges::any_of(pathComponents(path.substr(home.size())), isExcludedFolder);
}

}  // namespace brindle
