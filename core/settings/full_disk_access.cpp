#include "core/settings/full_disk_access.h"

#include <cerrno>
#include <expected>
#include <system_error>

#include "core/platform/error.h"
#include "core/platform/files.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

std::expected<void, Error> listable(const std::string& path) {
    const auto names = listFolder(path);
    if (!names) return std::unexpected(names.error());
    return {};
}

bool isMissing(const std::expected<void, Error>& outcome) {
    return !outcome && outcome.error().kind == Error::Kind::missing;
}

// A file where a folder was expected answers ENOTDIR, as does a path that leads through a file: the first is
// there.
bool isBlocked(const std::string& path) {
    const auto listed = listable(path);
    if (!isMissing(listed)) return !listed;
    return listed.error().code == ENOTDIR && !isMissing(probeFile(path));
}

}  // namespace

FullDiskAccess::FullDiskAccess(const std::string& home, const std::string& systemLibrary)
    : probes_{
          {home + "/Library/Mail", true},
          {home + "/Library/Messages", true},
          {home + "/Library/Safari", true},
          {home + "/Library/Safari/Bookmarks.plist", false},
          {home + "/Library/Cookies", true},
          {home + "/Library/Containers/com.apple.stocks", true},
          {home + "/Library/Application Support/com.apple.sharedfilelist", true},
          {home + "/Library/Suggestions", true},
          {home + "/Library/Metadata/CoreSpotlight", true},
          {home + "/Library/Application Support/com.apple.TCC", true},
          {systemLibrary + "/Application Support/com.apple.TCC/TCC.db", false},
      } {}

bool FullDiskAccess::isGranted() const {
    bool anyFailed = false;
    for (const Probe& probe : probes_) {
        const auto outcome = probe.isFolder ? listable(probe.path) : probeFile(probe.path);
        if (outcome) return true;
        if (!isMissing(outcome)) anyFailed = true;
    }
    return !anyFailed;
}

std::vector<std::string> FullDiskAccess::blockedPaths(const std::vector<std::string>& among) {
    std::vector<std::string> blocked;
    for (const std::string& path : among) {
        if (isBlocked(path)) blocked.push_back(path);
    }
    return blocked;
}

std::string FullDiskAccess::remedy() {
    return localized(kRemedy);
}

std::string FullDiskAccess::report() const {
    std::string text;
    for (const Probe& probe : probes_) {
        const auto outcome = probe.isFolder ? listable(probe.path) : probeFile(probe.path);
        text += printable(probe.path) + ": ";
        if (outcome) {
            text += "readable\n";
        } else if (isMissing(outcome)) {
            text += "not there\n";
        } else {
            text += "could not read: " + std::generic_category().message(outcome.error().code) + "\n";
        }
    }
    return text;
}

std::string FullDiskAccess::settingsURL() {
    return "x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles";
}

}  // namespace brindle
