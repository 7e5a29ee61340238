#include "core/modules/installed_applications.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "core/modules/bundle_information.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/machine.h"

namespace brindle {

namespace {

using Reason = UnreachableLocation::Reason;

constexpr std::string_view kNothingClaimed =
    "Without it Brindle cannot know which applications are gone, so nothing is shown as left behind by one. "
    "Check folder permissions or grant Full Disk Access, then scan again.";
constexpr std::string_view kNameSpared =
    "Brindle could not read which application this is. Nothing that may be its own is shown as left behind.";

// The deepest folder of applications: "Toolbox/apps/TOOL/CHANNEL/VERSION/NAME.app".
constexpr int kFolderDepth = 5;
// Bundles within bundles.
constexpr int kBundleDepth = 4;

// Where bundles keep what has an identifier of its own, below their content.
constexpr std::array<std::string_view, 20> kNestedPlaces = {
    "/Applications",
    "/Extensions",
    "/Frameworks",
    "/Helpers",
    "/Library/HelperTools",
    "/Library/LaunchAgents",
    "/Library/LaunchDaemons",
    "/Library/LaunchServices",
    "/Library/LoginItems",
    "/Library/QuickLook",
    "/Library/Spotlight",
    "/Library/SystemExtensions",
    "/MacOS",
    "/PlugIns",
    "/Resources",
    "/SharedFrameworks",
    "/SharedSupport",
    "/Support",
    "/Wrapper",
    "/XPCServices",
};

// Looking into these makes the system ask the user, unless access was granted.
constexpr std::array<std::string_view, 3> kAskedFor = {"Desktop", "Documents", "Downloads"};
constexpr std::string_view kOtherVolumes = "/Volumes/";

std::string resolved(const std::string& folder, const ScanContext& context) {
    return folder.starts_with('/') ? folder : context.path(folder);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.find_last_of('/') + 1);
}

bool isInside(const std::string& path, const std::string& folder) {
    return path.starts_with(folder + "/");
}

std::string contentOf(const std::string& bundle) {
    for (const char* const content : {"/Contents", "/Versions/Current"}) {
        if (exists(bundle + content)) return bundle + content;
    }
    return bundle;
}

class InstalledSearch {
  public:
    InstalledSearch(const LeftoverSettings& settings, const ScanContext& context)
        : context_(context), mayLookAnywhere_(settings.mayReadContainers(context.home)) {}

    void readApplicationFolder(const std::string& folder, bool isRequired) {
        if (isRequired || isThere(folder)) readFolder(folder, 0);
    }

    void readServiceFolder(const std::string& folder) {
        for (const std::string& name : namesIn(folder)) {
            rememberNamed(name);
            const auto job = name.ends_with(".plist") ? readPropertyList(folder + "/" + name) : std::nullopt;
            if (job) remember(launchJobIn(*job));
        }
    }

    void readCommandFolder(const std::string& folder) {
        for (const std::string& name : namesIn(folder)) found_.commands.insert(comparableName(name));
    }

    void readPrograms(const std::optional<std::vector<std::string>>& programs) {
        if (!programs) {
            found_.isComplete = false;
            found_.unreachable.push_back(
                {"running programs", Reason::toolchainNotRunning, std::string(kSystemSilent)});
            return;
        }
        for (const std::string& program : *programs) {
            found_.programs.push_back(program);
            rememberNamed(nameOf(program));
            for (const std::string& bundle : bundlesAround(program)) readBundle(bundle, 0);
        }
    }

    InstalledApplications result() && {
        if (context_.isCancelled()) found_.isComplete = false;
        if (found_.isComplete && found_.identifiers.empty()) {
            found_.isComplete = false;
            found_.unreachable.push_back(
                {"application folders", Reason::missing, std::string(kNothingClaimed)});
        }
        return std::move(found_);
    }

  private:
    // Also a link that leads nowhere, and what lies behind a folder that cannot be entered.
    static bool isThere(const std::string& path) {
        const auto status = statusOf(path);
        return status || status.error().kind != Error::Kind::missing;
    }

    // Of a folder from which nothing may be missed; what is no folder holds nothing.
    std::vector<std::string> namesIn(const std::string& folder) {
        const auto place = canonicalPath(folder);
        if (place ? wouldAsk(*place) : isThere(folder)) {
            giveUp(folder, Reason::permissionDenied);
            return {};
        }
        auto names = listFolder(folder);
        if (names) return *std::move(names);
        if (names.error().kind != Error::Kind::missing) giveUp(folder, Reason::permissionDenied);
        return {};
    }

    void giveUp(const std::string& path, Reason reason) {
        found_.isComplete = false;
        found_.unreachable.push_back({path, reason, std::string(kNothingClaimed)});
    }

    void rememberNameOnly(const std::string& path, bool isSaid = true) {
        std::string name = nameOf(path);
        name.resize(std::min(name.size(), name.rfind('.')));
        found_.namesOnly.push_back(std::move(name));
        if (isSaid && said_.insert(path).second)
            found_.unreachable.push_back({path, Reason::permissionDenied, std::string(kNameSpared)});
    }

    void rememberNamed(std::string_view name) {
        if (const auto identifier = identifierFromName(name)) found_.identifiers.add(*identifier);
    }

    void remember(const LaunchJob& job) {
        if (job.label) found_.identifiers.add(*job.label);
        if (!job.program) return;
        found_.programs.push_back(*job.program);
        for (const std::string& bundle : bundlesAround(*job.program)) readBundle(bundle, 0);
    }

    bool wouldAsk(const std::string& path) const {
        if (mayLookAnywhere_) return false;
        return path.starts_with(kOtherVolumes) ||
               std::ranges::any_of(
                   kAskedFor, [&](std::string_view folder) { return isInside(path, context_.path(folder)); });
    }

    // Each place once, however many links lead there.
    bool isNew(const std::string& path) {
        const auto place = canonicalPath(path);
        return place && seen_.insert(*place).second;
    }

    void readFolder(const std::string& folder, int depth) {
        if (context_.isCancelled() || !isNew(folder)) return noteMissing(folder, depth);
        if (depth == 0 && wouldAsk(*canonicalPath(folder))) return giveUp(folder, Reason::permissionDenied);
        const auto names = listFolder(folder);
        if (!names) return noteUnlisted(folder, names.error(), depth);
        for (const std::string& name : *names) readEntry(folder + "/" + name, depth);
    }

    // The first application folder is there on every machine of this kind.
    void noteMissing(const std::string& folder, int depth) {
        if (depth == 0 && !exists(folder)) {
            giveUp(folder, isThere(folder) ? Reason::permissionDenied : Reason::missing);
        }
    }

    // Near the top it may hold any application; further down it is part of what the folders above are named after.
    void noteUnlisted(const std::string& folder, const Error& error, int depth) {
        if (error.kind == Error::Kind::missing && depth > 0) return;
        if (depth <= 1) return giveUp(folder, Reason::permissionDenied);
        rememberNameOnly(folder);
        std::string above = folder;
        for (; depth > 1; --depth) {
            above.resize(above.find_last_of('/'));
            rememberNameOnly(above, false);
        }
    }

    void readEntry(const std::string& path, int depth) {
        const auto status = statusOf(path);
        const bool isApplication = bundleKindOf(nameOf(path)).isBundle;
        if (!status) {
            if (status.error().kind != Error::Kind::missing) rememberNameOnly(path);
            return;
        }
        if (status->isLink()) return readLink(path, depth);
        // A file of that name is what the Finder makes to lead to an application elsewhere.
        if (!status->isFolder()) return isApplication ? rememberNameOnly(path, false) : void();
        if (isApplication || exists(path + "/Contents/Info.plist")) return readBundle(path, 0);
        if (depth < kFolderDepth) readFolder(path, depth + 1);
    }

    // What lies on a volume that is away, or where nobody may look, has its name here.
    void readLink(const std::string& path, int depth) {
        const auto place = canonicalPath(path);
        if (!place || wouldAsk(*place)) return rememberNameOnly(path, false);
        const auto status = statusOf(*place);
        if (status && !status->isLink()) readEntry(*place, depth);
    }

    void readBundle(const std::string& bundle, int depth) {
        if (context_.isCancelled() || depth > kBundleDepth) return;
        // What runs or is to be started may lie where nobody may look, or on a volume that is away.
        const auto place = canonicalPath(bundle);
        if (!place || wouldAsk(*place)) return rememberNameOnly(bundle, false);
        if (!seen_.insert(*place).second) return;
        const auto identifier = bundleIdentifierOf(bundle);
        const bool isKnown = identifier && found_.identifiers.add(*identifier);
        if (!isKnown && bundleKindOf(nameOf(bundle)).isProgram) rememberNameOnly(bundle);
        const std::string content = contentOf(bundle);
        for (const std::string_view inside : kNestedPlaces)
            readNested(bundle, content + std::string(inside), depth);
    }

    void readNested(const std::string& bundle, const std::string& place, int depth) {
        const auto names = listFolder(place);
        if (!names && names.error().kind != Error::Kind::missing) rememberNameOnly(bundle);
        if (!names) return;
        for (const std::string& name : *names) {
            rememberNamed(name);
            if (bundleKindOf(name).isBundle) readBundle(place + "/" + name, depth + 1);
        }
    }

    const ScanContext& context_;
    bool mayLookAnywhere_;
    InstalledApplications found_;
    std::set<std::string> seen_;
    std::set<std::string> said_;
};

}  // namespace

bool InstalledApplications::mayOwn(const std::string& identifier) const {
    return identifiers.covers(identifier) || hasPartIn(identifier, commands) ||
           std::ranges::any_of(namesOnly,
                               [&](const std::string& name) { return mayBelongToName(identifier, name); });
}

bool InstalledApplications::startsFrom(const std::string& folder) const {
    return std::ranges::any_of(programs,
                               [&](const std::string& program) { return isInside(program, folder); });
}

bool anyApplicationFolder(const LeftoverSettings& settings) {
    return std::ranges::any_of(settings.applicationFolders, [&](const std::string& folder) {
        return folder.starts_with('/') && exists(folder);
    });
}

InstalledApplications installedApplications(const LeftoverSettings& settings, const ScanContext& context) {
    InstalledSearch search(settings, context);
    bool isRequired = true;
    for (const std::string& folder : settings.applicationFolders) {
        search.readApplicationFolder(resolved(folder, context), std::exchange(isRequired, false));
    }
    for (const std::string& folder : settings.serviceFolders)
        search.readServiceFolder(resolved(folder, context));
    for (const std::string& folder : settings.commandFolders)
        search.readCommandFolder(resolved(folder, context));
    search.readPrograms(settings.runningPrograms());
    return std::move(search).result();
}

std::optional<bool> recordHasOwner(const LeftoverSettings& settings, const std::string& identifier) {
    for (const std::string& owner : possibleOwners(identifier)) {
        const auto answer = settings.databaseKnows(owner);
        if (!answer || *answer) return answer;
    }
    return false;
}

}  // namespace brindle
