#include "core/guard/safety_guard.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <utility>

#include "core/guard/safety_tables.h"
#include "core/measure/directory_sizer.h"
#include "core/model/duplicate_report.h"
#include "core/platform/file_status.h"
#include "core/platform/known_folders.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"
#include "core/text/utf8.h"
#include "core/tools/process_runner.h"

namespace brindle {

namespace {

template <typename... Arguments>
SafetyVerdict refused(std::string_view key, const Arguments&... arguments) {
    return SafetyVerdict::refused(localized(key, arguments...));
}

SafetyVerdict unreadable() {
    return refused("The path is no longer readable. Scan again.");
}

SafetyVerdict neverRemovable(std::string_view name) {
    return refused("contains %@, which is never removable", name);
}

SafetyVerdict protectedData(std::string_view path) {
    return refused("The directory contains protected data: %@.", printable(lastComponent(path)));
}

template <typename Range>
bool holds(const Range& range, std::string_view name) {
    return std::ranges::find(range, name) != std::ranges::end(range);
}

// Asked of every entry of a tree.
bool isGuardedName(std::string_view name) {
    if (name.starts_with('.'))
        return name == ".env" || name.starts_with(".env.") || holds(kNeverRemovable, name);
    return name == "Keychains";
}

// Of what downloaded packages bring along the user has nothing to lose.
bool isPackagedName(std::string_view name) {
    return name == ".git" || name.starts_with(".env");
}

bool leadsUp(std::string_view path) {
    return holds(pathComponents(path), "..");
}

std::string knownHome(const std::string& home) {
    const std::string standard = standardisedPath(home);
    return !standard.starts_with('/') || standard == "/" || leadsUp(home) ? "" : standard;
}

// Where the folder really lies. Its missing part is as written: what is missing is no link. Empty when a link on the way
// leads nowhere, absent when that cannot be told.
std::optional<std::string> resolvedFolder(const std::string& folder) {
    auto resolved = canonicalPath(folder);
    if (resolved) return *std::move(resolved);
    if (resolved.error().kind != Error::Kind::missing || folder == "/") return std::nullopt;
    if (statusOf(folder)) return "";
    auto above = resolvedFolder(folderOf(folder));
    if (!above || above->empty()) return above;
    return standardisedPath(*above + "/" + std::string(lastComponent(folder)));
}

// What the user named, and where it leads, be its end there yet or not: either is meant.
std::vector<std::string> protectedForms(const std::string& path) {
    std::vector<std::string> forms = {standardisedPath(path)};
    if (!path.starts_with('/')) return forms;
    auto resolved = resolvedFolder(path);
    if (resolved && !resolved->empty() && *resolved != forms.front()) forms.push_back(*std::move(resolved));
    return forms;
}

bool isLauncher(std::string_view command) {
    return holds(kLaunchers, command);
}

SafetyVerdict verdictOnTree(const MeasuredTree& tree) {
    if (!tree.marks.empty()) return protectedData(tree.marks.front());
    if (!tree.whole.otherVolumePaths.empty()) return refused("A mounted volume is inside this directory.");
    if (!tree.whole.unreadablePaths.empty()) return refused("Part of the directory cannot be validated.");
    return SafetyVerdict::allowed();
}

}  // namespace

SafetyGuard::SafetyGuard(SafetyScope scope) : scope_(std::move(scope)) {
    scope_.home = knownHome(scope_.home);
}

SafetyVerdict SafetyGuard::verdictForItem(const CleanupItem& item) const {
    if (item.classification == Classification::protected_) return refused("classified protected");
    if (const auto* command = std::get_if<RunCommand>(&item.removal.how)) {
        std::string_view name = lastComponent(command->executable);
        if (isLauncher(name) && !command->arguments.empty()) name = command->arguments.front();
        if (const Refusal refusal = dataRefusal(name)) return *refusal;
        return verdictForRunning(command->executable, command->arguments);
    }
    const std::vector<std::string>& paths = item.removal.affectedPaths();
    if (paths.empty()) return refused("nothing to remove");
    for (const std::string& path : paths) {
        SafetyVerdict verdict = verdictForDeleting(path);
        if (!verdict.isAllowed()) return verdict;
    }
    return SafetyVerdict::allowed();
}

SafetyVerdict SafetyGuard::verdictForDeleting(const std::string& path) const {
    if (path.contains('\0') || leadsUp(path)) return refused("invalid path or parent-directory traversal");
    const std::string standard = standardisedPath(path);
    if (const Refusal refusal = placeRefusal(standard)) return *refusal;
    if (const Refusal refusal = protectedVerdict(standard)) return *refusal;
    if (const Refusal refusal = symlinkVerdict(standard)) return *refusal;
    if (scope_.projectArtifacts.contains(standard)) return artifactVerdict(standard);
    if (scope_.appLeftovers.contains(standard)) return leftoverVerdict(standard);
    if (scope_.exportCopies.contains(standard)) return exportVerdict(standard);
    return cacheVerdict(standard);
}

SafetyGuard::Refusal SafetyGuard::placeRefusal(std::string_view path) const {
    if (!path.starts_with('/')) return refused("not an absolute path");
    if (path.contains("..")) return refused("path tries to climb out of its directory");
    if (path == home()) return refused("that is the home folder itself");
    if (!isBelow(path, home())) return refused("outside the home folder");
    for (const std::string_view name : pathComponents(relative(path))) {
        if (holds(kNeverRemovable, name)) return neverRemovable(name);
    }
    return std::nullopt;
}

SafetyGuard::Refusal SafetyGuard::protectedVerdict(std::string_view path) const {
    for (const std::string& chosen : scope_.protectedPaths) {
        for (const std::string& form : protectedForms(chosen)) {
            if (isAtOrBelow(path, form) || isBelow(form, path)) {
                return refused("inside a protected path: %@",
                               abbreviatedPath(standardisedPath(chosen), home()));
            }
        }
    }
    return std::nullopt;
}

SafetyGuard::Refusal SafetyGuard::symlinkVerdict(const std::string& path) const {
    const auto status = statusOf(path);
    if (!status && status.error().kind != Error::Kind::missing) return unreadable();
    if (status && status->isLink()) return refused("that path is a symlink");
    const std::string parent = folderOf(path);
    const auto resolved = resolvedFolder(parent);
    const auto resolvedHome = resolvedFolder(home());
    if (!resolved || !resolvedHome) return unreadable();
    if (*resolved != parent) return refused("a parent directory is a symlink");
    // Beside a home that is moved at this moment the two need not agree.
    if (!isAtOrBelow(*resolved, *resolvedHome))
        return refused("resolves to a location outside the home folder");
    return std::nullopt;
}

SafetyVerdict SafetyGuard::artifactVerdict(std::string_view path) const {
    const bool isKnown = scope_.artifactNames.contains(std::string(lastComponent(path)));
    return isKnown ? SafetyVerdict::allowed() : refused("not a recognised generated directory");
}

SafetyVerdict SafetyGuard::leftoverVerdict(std::string_view path) const {
    if (!looksLikeBundleIdentifier(lastComponent(path))) {
        return refused("not named like an application's own folder");
    }
    if (!holds(kApplicationDataFolders, folderOf(relative(path)))) {
        return refused("not directly inside a folder applications leave data in");
    }
    return SafetyVerdict::allowed();
}

// Exports lie where people keep things, so their place says nothing; what they are does.
SafetyVerdict SafetyGuard::exportVerdict(const std::string& path) const {
    if (!isDeveloperExport(path)) return refused("not a developer export archive");
    const auto status = statusOf(path);
    if (status && !status->isRegular()) return refused("not a regular file");
    for (const std::string_view name : pathComponents(relative(path))) {
        // Tools keep such archives to install from, each its own.
        if (name.starts_with('.') || name == "site-packages" || name == "ensurepip" || name.ends_with(".app"))
            return refused("inside a tool's own folder");
    }
    return SafetyVerdict::allowed();
}

SafetyVerdict SafetyGuard::cacheVerdict(std::string_view path) const {
    const std::string_view place = relative(path);
    for (const std::string_view name : pathComponents(place)) {
        if (holds(kForbiddenComponents, name)) return neverRemovable(name);
    }
    for (const std::string_view root : kAllowedRoots) {
        if (place == root && !root.contains('/')) return refused("too close to the top of the home folder");
        if (isAtOrBelow(place, root)) return SafetyVerdict::allowed();
    }
    return refused("not inside a location Brindle is allowed to clean");
}

JudgedTree SafetyGuard::judgedTree(const std::string& path) const {
    const auto status = statusOf(path);
    const auto homeStatus = statusOf(home());
    if (!status || !homeStatus) return {unreadable()};
    if (status->device != homeStatus->device) return {refused("The path is on another volume.")};
    const auto isData = [this](std::string_view entry) {
        return !isPackagedName(lastComponent(entry)) || !isInsideVendoredPackage(entry);
    };
    if (isGuardedName(lastComponent(path)) && isData(path)) return {protectedData(path)};
    HardlinkTracker hardlinks;
    const AreaRule rule = {.isArea = [](std::string_view) { return false; },
                           .isMark = [](std::string_view name, bool) { return isGuardedName(name); },
                           .keepsMark = isData};
    const MountPoints mounts = MountPoints::current();
    if (!mounts.areKnown()) return {refused("Could not validate the directory tree.")};
    const MeasuredTree tree =
        DirectorySizer().measureWithAreas(path, {.hardlinks = &hardlinks, .mounts = mounts}, rule);
    if (!tree.root) return {refused("Could not validate the directory tree.")};
    JudgedTree judged{verdictOnTree(tree)};
    judged.object = PathIdentity{tree.root->device, tree.root->inode, tree.root->mode};
    if (judged.verdict.isAllowed()) judged.measurement = tree.whole;
    return judged;
}

SafetyGuard::Refusal SafetyGuard::dataRefusal(std::string_view command) const {
    for (const std::string& place : dataLocationsOf(command, home())) {
        if (auto refusal = protectedVerdict(place)) return refusal;
    }
    return std::nullopt;
}

SafetyVerdict SafetyGuard::verdictForRunning(const std::string& executable,
                                             const std::vector<std::string>& arguments) const {
    std::string command(lastComponent(executable));
    if (executable.contains('/')) {
        const auto trusted = ProcessRunner::developerPathsFor(home());
        const auto isIt = [&](const std::string& folder) { return folder + "/" + command == executable; };
        if (home().empty() || command.empty() || std::ranges::none_of(trusted, isIt))
            return refused("untrusted executable location");
    }
    ArgumentList judged = arguments;
    if (isLauncher(command)) {
        if (judged.empty()) return refused("no command given");
        command = judged.front();
        judged.erase(judged.begin());
    }
    const auto approved = allowedCommands().find(command);
    if (approved == allowedCommands().end()) return refused("%@ is not a command Brindle may run", command);
    if (approved->second.contains(judged)) return SafetyVerdict::allowed();
    judged.insert(judged.begin(), command);
    return refused("%@ is not an approved invocation", fmt::format("{}", fmt::join(judged, " ")));
}

bool SafetyGuard::looksLikeBundleIdentifier(std::string_view name) {
    constexpr std::array<std::string_view, 3> kSuffixes = {".savedState", ".plist", ".binarycookies"};
    const auto* suffix = std::ranges::find_if(kSuffixes, [&](auto ending) { return name.ends_with(ending); });
    if (suffix != kSuffixes.end()) name.remove_suffix(suffix->size());
    if (name == "com.apple" || name.starts_with("com.apple.")) return false;
    int parts = 1;
    std::size_t length = 0;  // of the current part
    while (!name.empty()) {
        const Utf8Character letter = firstCharacter(name);
        name.remove_prefix(letter.bytes.size());
        const bool isDot = letter.code == '.';
        if (isDot && length == 0) return false;
        if (!isDot && letter.code != '-' && letter.code != '_' && !isLetterOrDigit(letter.code)) return false;
        parts += isDot ? 1 : 0;
        length = isDot ? 0 : length + 1;
    }
    return length > 0 && parts >= 3;
}

bool SafetyGuard::isInsideVendoredPackage(std::string_view path) const {
    if (!isBelow(path, home()) || leadsUp(path)) return false;
    const auto names = pathComponents(relative(path));
    return std::ranges::any_of(kVendoredPackages, [&](std::string_view pattern) {
        const auto wanted = pathComponents(pattern);
        const auto matches = [](std::string_view name, std::string_view want) {
            return want == "*" ? name != "." : name == want;
        };
        return std::ranges::mismatch(names, wanted, matches).in2 == wanted.end();
    });
}

std::string_view SafetyGuard::relative(std::string_view path) const {
    return path.substr(home().size() + 1);
}

}  // namespace brindle
