// Identical files, as a search for duplicates found them. Values: what was true then may be different now.
#pragma once

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/path_identity.h"
#include "core/model/raw_text.h"

namespace brindle {

// Whether a file of this name is an archive made to be handed on, which a developer's tool can make again: .ipa, .apk, .aab
// or .whl, in any case.
bool isDeveloperExport(std::string_view path);

struct DuplicateFile {
    std::string path;  // absolute; bytes, not text; also what identifies it
    PathIdentity identity;
    std::uint64_t logicalBytes = 0;
    std::uint64_t unstoredBytes =
        0;  // of these, what takes no room: holes, and what the file system compresses away
    std::chrono::sys_seconds modified = {};
    std::int32_t modifiedNanoseconds = 0;  // beyond the second
    // Files of a group with the same number other than 0 are clones: they lie on the same blocks.
    std::uint32_t storage = 0;

    bool operator==(const DuplicateFile&) const = default;

    bool isDeveloperExport() const { return brindle::isDeveloperExport(path); }
    std::uint64_t storedBytes() const { return logicalBytes - unstoredBytes; }
};

struct DuplicateGroup {
    std::string hash;  // SHA-256 of the content, lower-case hexadecimal; also what identifies it
    std::vector<DuplicateFile> files;  // two or more, by path

    bool operator==(const DuplicateGroup&) const = default;

    std::uint64_t bytesEach() const { return files.empty() ? 0 : files.front().logicalBytes; }
    // What would be free if the largest copy on disk were left: nothing where all lie on the same blocks.
    std::uint64_t wastedBytes() const;
    // What would be free without these files of the group: nothing for blocks on which another one lies, too.
    std::uint64_t bytesFreedWithout(const std::set<std::string>& paths) const;
    bool sharesStorage() const;
};

struct SkippedLocation {
    enum class Reason { excluded, project, otherVolume, trash, unreadable };

    std::string path;
    Reason reason = Reason::unreadable;

    bool operator==(const SkippedLocation&) const = default;
};

template <>
struct RawTexts<SkippedLocation::Reason> {
    static constexpr std::array<std::string_view, 5> kTexts = {"excluded", "project", "otherVolume", "trash",
                                                               "unreadable"};
};

std::string label(SkippedLocation::Reason reason);  // localised

struct DuplicateReport {
    std::string root;                      // absolute, links resolved
    std::vector<DuplicateGroup> groups;    // most wasted first
    std::vector<SkippedLocation> skipped;  // by path
    bool cancelled = false;                // stopped early: there may be more
    // False: files that programs of other users hold open are not known to be open.
    bool knowsAllOpenFiles = true;

    bool operator==(const DuplicateReport&) const = default;

    std::uint64_t wastedBytes() const;
};

}  // namespace brindle
