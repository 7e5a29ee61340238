#include "core/projects/project_collector.h"

#include <algorithm>
#include <cerrno>
#include <set>

#include "core/measure/patient_open.h"
#include "core/platform/machine.h"
#include "core/platform/open_folder.h"
#include "core/platform/path_text.h"
#include "core/projects/project_tables.h"

namespace brindle {

namespace {

using Reason = UnreachableLocation::Reason;

struct Listing {
    std::vector<std::string> names;    // all of them
    std::vector<std::string> folders;  // those that are folders, or may be
};

// 0 or an errno.
int list(OpenFolder& folder, Listing& listing) {
    EntryBlock block;
    for (;;) {
        bool isAtEnd = false;
        const int failure = folder.read(block, isAtEnd);
        if (failure != 0 || isAtEnd) return failure;
        ListedEntry entry;
        while (block.next(entry)) {
            listing.names.emplace_back(entry.name);
            if (entry.kind != ListedEntry::Kind::other) listing.folders.emplace_back(entry.name);
        }
    }
}

class Collector {
  public:
    explicit Collector(const ProjectSearch& search) : search_(search) {
        for (const std::string& root : search.roots) {
            if (!search.isCancelled()) resolveRoot(root);
        }
    }

    void collect() {
        for (const std::string& root : roots_) {
            if (!search_.isCancelled()) collectRoot(root);
        }
    }

    std::vector<ProjectFolder> result() {
        std::ranges::sort(found_, {}, &ProjectFolder::path);
        std::vector<ProjectFolder> outermost;
        std::set<std::string> taken;
        for (ProjectFolder& each : found_) {
            if (isTaken(each.path, taken)) continue;
            taken.insert(each.path);
            outermost.push_back(std::move(each));
        }
        return outermost;
    }

  private:
    void resolveRoot(const std::string& root) {
        const std::string named = root.starts_with('/') ? root : search_.home + "/" + root;
        if (auto path = canonicalPath(named)) {
            roots_.insert(*std::move(path));
        } else if (path.error().kind != Error::Kind::missing) {
            search_.report(named, Reason::permissionDenied);
        }
    }

    void collectRoot(const std::string& root) {
        OpenFolder folder;
        const int failure = openPatiently([&] { return folder.openPath(root); });
        FileStatus status;
        if (failure != 0 || folder.status(status) != 0) return noteUnopened(root, failure);
        if (!seen_.emplace(status.device, status.inode).second) return;
        mountPoints_ = search_.mounts.below(root);
        collect(folder, root, 0, status.device);
    }

    void collect(OpenFolder& folder, const std::string& path, int depth, std::int32_t device) {
        Listing listing;
        if (list(folder, listing) != 0) return search_.report(path, Reason::permissionDenied);
        if (isProject(path, listing.names)) {
            found_.push_back({path, std::move(listing.names)});
            return;
        }
        for (const std::string& name : listing.folders) {
            if (search_.isCancelled()) return;
            if (name.starts_with('.') || artifactRuleFor(name) != nullptr) continue;
            const std::string below = path == "/" ? "/" + name : path + "/" + name;
            // Another root is looked into by itself, however deep it lies here and whatever is mounted there.
            if (!roots_.contains(below)) enter(folder, name, below, depth + 1, device);
        }
    }

    void enter(const OpenFolder& parent, const std::string& name, const std::string& path, int depth,
               std::int32_t device) {
        if (std::ranges::binary_search(mountPoints_, path))
            return search_.report(path, Reason::differentVolume);
        OpenFolder folder;
        const int failure = openPatiently([&] { return folder.openAt(parent, name.c_str()); });
        FileStatus status;
        if (failure != 0 || folder.status(status) != 0) return noteUnopened(path, failure);
        if (depth > search_.maximumDepth) return search_.report(path, Reason::searchDepth);
        if (status.device != device) return search_.report(path, Reason::differentVolume);
        collect(folder, path, depth, device);
    }

    // What is gone, and what is no folder after all, is nothing to report.
    void noteUnopened(const std::string& path, int failure) const {
        if (failure == ENOENT || failure == ENOTDIR || failure == ELOOP) return;
        search_.report(path, Reason::permissionDenied);
    }

    bool isProject(const std::string& path, const std::vector<std::string>& names) const {
        if (isAtOrBelow(search_.home, path)) return false;
        return std::ranges::find(names, ".git") != names.end() || !kindsAmong(names).empty();
    }

    static bool isTaken(std::string path, const std::set<std::string>& taken) {
        for (; path != "/"; path = folderOf(path)) {
            if (taken.contains(path)) return true;
        }
        return false;
    }

    const ProjectSearch& search_;
    std::set<std::string> roots_;           // links resolved
    std::vector<std::string> mountPoints_;  // below the root that is looked into
    std::vector<ProjectFolder> found_;
    std::set<std::pair<std::int32_t, std::uint64_t>> seen_;
};

}  // namespace

std::vector<ProjectFolder> collectProjects(const ProjectSearch& search) {
    Collector collector(search);
    collector.collect();
    return collector.result();
}

}  // namespace brindle
