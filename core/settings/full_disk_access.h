// Whether the operating system lets this program look into the library folders that it guards (macOS: Full
// Disk Access). There is no call that answers, so known guarded places are tried; where none of them exists,
// as on other systems, nothing stands in the way and access counts as granted.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// Reads nothing but the probes and the paths it is asked about; every call tries them afresh, since the user
// may change the setting at any time. Immutable and usable from any thread.
class FullDiskAccess {
  public:
    // `systemLibrary` is another folder only in tests.
    explicit FullDiskAccess(const std::string& home, const std::string& systemLibrary = "/Library");

    // True as soon as one probe that exists can be read, and when none exists. A probe of which it cannot be
    // told whether it exists counts as one that cannot be read.
    bool isGranted() const;

    // Those of the paths, in their order, that exist and whose content cannot be listed.
    static std::vector<std::string> blockedPaths(const std::vector<std::string>& among);

    // What the user can do about blocked places: the English source, and localised at every call.
    static constexpr std::string_view kRemedy =
        "Open System Settings → Privacy & Security → Full Disk Access, turn on Brindle, then quit and reopen "
        "Brindle and scan again.";
    static std::string remedy();

    // One line a probe, in the order in which they are tried: "PATH: readable", "PATH: not there" or
    // "PATH: could not read: REASON". English, for diagnostics.
    std::string report() const;

    // Opens the pane of the system's settings where access is granted (macOS).
    static std::string settingsURL();

  private:
    struct Probe {
        std::string path;
        bool isFolder;
    };

    std::vector<Probe> probes_;
};

}  // namespace brindle
