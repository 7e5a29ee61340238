// The virtual devices of the Android emulator, found in ~/.android/avd by the emulator's own rules: a record NAME.ini
// names the folder that holds the device, by "path", or, when nothing lies there, by "path.rel" below ~/.android.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/modules/android_ini.h"
#include "core/scan/scan_context.h"

namespace brindle {

struct VirtualDevice {
    enum class State {
        whole,             // a record and its folder, both in ~/.android/avd; nobody uses them now
        withoutFolder,     // the record's folder, which would lie in ~/.android/avd, is gone
        withoutRecord,     // no record names the folder
        perhapsRecorded,   // the same, but there is a record that cannot be read
        recordUnreadable,  // or not understood
        folderUnreadable,  // or its config.ini, or not understood
        folderNotFound,    // it is not where the record says, and may lie on a disk that is not there now
        elsewhere,         // the folder lies outside ~/.android/avd
        shared,            // several records name the folder
        linked,            // a symbolic link is on the way to the record or the folder
        running,           // an emulator holds it
        locked,            // an emulator's lock file lies in it: running, or left by a crash
        holdsKeys,         // somebody keeps signing keys in the folder
    };

    State state = State::whole;
    std::vector<std::string> names;    // of the records; of the folder where there is none
    std::vector<std::string> records;  // their paths
    std::string folder;                // empty where there is none
    AndroidIni record;                 // what is known of both
    AndroidIni config;
    // The system images it starts from, as usedSystemImage says it; absent when that is not known.
    std::optional<std::vector<std::string>> images;
};

struct VirtualDevices {
    std::vector<VirtualDevice> devices;  // records by name, then folders without one
    bool isComplete = true;              // false when ~/.android/avd could not be listed

    // A name for the first device of which is not known what it starts from.
    std::optional<std::string> unknownUser() const;
    // The names of the devices that start from this image ("android-34/google_apis/arm64-v8a").
    std::vector<std::string> usersOf(std::string_view image) const;
};

// Blocking; reads small files only. Folders that cannot be listed are recorded in the diagnostics.
VirtualDevices findVirtualDevices(const ScanContext& context);

// Where a device's "image.sysdir.N" points below a folder system-images, in lower case, with single slashes and none
// at the ends; empty when it points elsewhere. Absent when that cannot be said.
std::optional<std::string> usedSystemImage(std::string_view directory);

}  // namespace brindle
