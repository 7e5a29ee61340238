// What `xcrun simctl list -j` and `xcrun simctl runtime list -j` print, in every form they have had. Pure functions on
// text; fields that are not known are passed over.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

struct SimulatorDevice {
    std::string udid;     // in capitals; empty when the list has none of that form
    std::string name;     // empty when the list has none
    std::string runtime;  // as people say it: "iOS 18.2"
    bool isAvailable = true;
    bool isShutDown = false;  // false also when the list does not say

    bool operator==(const SimulatorDevice&) const = default;

    // "iPhone 15 (iOS 18.2)"
    std::string description() const;
};

// "availability" as text (up to Xcode 10) and "isAvailable" as text or truth value are all read; a device counts as
// unavailable only when something says so and nothing says otherwise. Words that a tool prints before and after the
// list are passed over. A UDID that comes twice is one device, available if it ever is. Absent for anything that
// does not hold a list of devices.
std::optional<std::vector<SimulatorDevice>> parseSimulatorDevices(std::string_view text);

// "com.apple.CoreSimulator.SimRuntime.iOS-18-2" is "iOS 18.2"; a display name stays as it is.
std::string simulatorRuntimeName(std::string_view key);

struct SimulatorRuntime {
    std::string identifier;  // the key in the list, what `simctl runtime delete` takes
    std::string title;       // "iOS 18.2"
    std::string version;     // these four are empty when the list does not say
    std::string build;
    std::string platform;  // "iphonesimulator"
    std::string kind;      // "Disk Image"
    std::string path;      // of the image; empty when it is no absolute path
    std::optional<std::uint64_t> bytes;
    std::optional<bool> isDeletable;
    std::optional<std::chrono::sys_seconds> lastUsed;

    bool operator==(const SimulatorRuntime&) const = default;
};

// A size that no disk could hold is taken for no size.
inline constexpr std::uint64_t kLargestRuntime = 1ULL << 50U;

// The dictionary by UUID of Xcode 14 and later, in the order of the keys. An image that is listed twice, by its own
// identifier or by its path, is one. Absent for anything else.
std::optional<std::vector<SimulatorRuntime>> parseSimulatorRuntimes(std::string_view text);

}  // namespace brindle
