// May it go? The last line before anything is deleted, moved to the Trash, or handed to a tool that deletes.
//
// The guard is narrow on purpose. It derives its answer from the path and from what lies there at this moment, never
// from what a module said, but that what a module calls protected stays. What it does not know it refuses.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/model/directory_measurement.h"
#include "core/model/path_identity.h"
#include "core/model/safety_verdict.h"

namespace brindle {

// What the guard is to know of one user and one scan. Paths are absolute.
struct SafetyScope {
    std::string home = {};  // links resolved
    std::set<std::string> protectedPaths =
        {};  // the user's; of each the place it leads to is protected as well
    std::set<std::string> projectArtifacts = {};  // generated folders inside projects that the scan offered
    std::set<std::string> artifactNames = {};     // the names that such a folder may have
    std::set<std::string> appLeftovers =
        {};  // folders of applications that are gone, as the scan offered them
    // Archives to be handed on of which an identical copy stays, as the user chose them.
    std::set<std::string> exportCopies = {};
};

// A tree as it was when it was judged.
struct JudgedTree {
    SafetyVerdict verdict = SafetyVerdict::allowed();
    DirectoryMeasurement measurement = {};    // only when allowed; each file once
    std::optional<PathIdentity> object = {};  // which object was looked at
};

// An immutable value without open resources: build one per operation, copy it, use it from any thread. Nothing throws;
// what cannot be examined is refused. Names are compared byte for byte, on volumes that ignore case, too.
class SafetyGuard {
  public:
    // A home that is not absolute, is "/" or holds ".." is no home: nothing lies in it.
    explicit SafetyGuard(SafetyScope scope);

    // Standardised; empty when it was no home.
    const std::string& home() const { return scope_.home; }
    const SafetyScope& scope() const { return scope_; }

    // The whole item: refused with the first of its paths that is. An item that is removed by a command is refused also
    // when the command would touch something the user protects.
    SafetyVerdict verdictForItem(const CleanupItem& item) const;

    // Whether the path may be deleted or moved to the Trash. Reads the status of the path and of the folders above it;
    // what lies below is not looked at. A path at which nothing lies is judged by its names.
    SafetyVerdict verdictForDeleting(const std::string& path) const;

    // Whether what lies at the path may be removed as a whole, and what lies there: everything in it is looked at, links
    // not followed, by all the workers of the process. Blocks. Not asked by the verdicts above: ask just before removing.
    JudgedTree judgedTree(const std::string& path) const;
    SafetyVerdict treeVerdict(const std::string& path) const { return judgedTree(path).verdict; }

    // Whether this may be run, with exactly these arguments. A name without "/" is looked for in the trusted folders
    // by whoever runs it (ProcessRunner).
    SafetyVerdict verdictForRunning(const std::string& executable,
                                    const std::vector<std::string>& arguments) const;

    // Whether a folder is named as applications name their own: "com.example.app", with ".savedState", ".plist" or
    // ".binarycookies" behind it or not. Never one of the system's own.
    static bool looksLikeBundleIdentifier(std::string_view name);

    // Whether the path is, or lies below, the sources of a downloaded package, where ".git" and ".env" are not the
    // user's.
    bool isInsideVendoredPackage(std::string_view path) const;

  private:
    using Refusal = std::optional<SafetyVerdict>;  // absent: this step has nothing against it

    Refusal placeRefusal(std::string_view path) const;
    Refusal protectedVerdict(std::string_view path) const;
    Refusal symlinkVerdict(const std::string& path) const;
    SafetyVerdict artifactVerdict(std::string_view path) const;
    SafetyVerdict leftoverVerdict(std::string_view path) const;
    SafetyVerdict exportVerdict(const std::string& path) const;
    SafetyVerdict cacheVerdict(std::string_view path) const;
    Refusal dataRefusal(std::string_view command) const;
    std::string_view relative(std::string_view path) const;

    SafetyScope scope_;
};

}  // namespace brindle
