// What the user asked for: every setting with its type and its default, over the store that keeps them.
#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/model/cadence.h"
#include "core/model/module_id.h"
#include "core/platform/user_defaults.h"
#include "core/settings/setting_keys.h"

namespace brindle {

// A front without a state of its own: every getter reads the store afresh, so the program and a scheduler
// beside it see the same values. As safe between threads and processes as the store is.
//
// A getter answers the setting's default when the key is absent, when its value is of another type, and when
// the store cannot be read. The last would leave out what the user protected: whoever is about to clean or
// schedule asks readable() first and stops on its error; a scan, which changes nothing, says so and goes on.
//
// A setter stores the value or returns why it could not; then the store is as it was.
class Preferences {
  public:
    explicit Preferences(std::shared_ptr<UserDefaults> defaults) : defaults_(std::move(defaults)) {}

    // Whether the settings that hold Brindle back can be trusted: an error when the store cannot be read,
    // when the protected paths or the disabled modules are stored as anything but a list of text, and when a
    // protected path is not absolute and so would protect nothing.
    std::expected<void, Error> readable() const;

    // Identities that scans skip. Texts that name none are ignored on reading.
    std::set<ModuleID> disabledModules() const;
    std::expected<void, Error> setDisabledModules(const std::set<ModuleID>& modules);

    // Searched for projects, in this order; relative ones lie in the home folder. An empty list is a choice.
    std::vector<std::string> projectRoots() const;
    std::expected<void, Error> setProjectRoots(const std::vector<std::string>& roots);

    // Absolute paths that nothing may touch; a setter refuses any other. Adding and removing one is a single
    // step: two processes that each add one keep both. They refuse to replace a stored value that is no list
    // of text.
    std::set<std::string> protectedPaths() const;
    std::expected<void, Error> setProtectedPaths(const std::set<std::string>& paths);
    std::expected<void, Error> addProtectedPath(const std::string& path);
    std::expected<void, Error> removeProtectedPath(const std::string& path);

    // Whether, and below how many free bytes, low space raises an alert.
    bool lowDiskAlertsEnabled() const;
    std::expected<void, Error> setLowDiskAlertsEnabled(bool enabled);
    std::uint64_t lowDiskThreshold() const;
    std::expected<void, Error> setLowDiskThreshold(std::uint64_t bytes);

    // Scans on a schedule, how often, whether they also clean, and when the last one ran (whole seconds).
    bool scheduledScansEnabled() const;
    std::expected<void, Error> setScheduledScansEnabled(bool enabled);
    Cadence cadence() const;
    std::expected<void, Error> setCadence(Cadence cadence);
    bool autoCleanEnabled() const;
    std::expected<void, Error> setAutoCleanEnabled(bool enabled);
    std::optional<TimePoint> lastScheduledRun() const;
    std::expected<void, Error> setLastScheduledRun(std::optional<TimePoint> moment);

    // Bytes from which a scheduled scan's find is worth a notification.
    std::uint64_t notifyThreshold() const;
    std::expected<void, Error> setNotifyThreshold(std::uint64_t bytes);

    bool hasCompletedOnboarding() const;
    std::expected<void, Error> setHasCompletedOnboarding(bool completed);

    // One of kAvailableLanguages, or absent to follow the system; the setter refuses any other.
    std::optional<std::string> preferredLanguage() const;
    std::expected<void, Error> setPreferredLanguage(const std::optional<std::string>& language);
    // Makes the stored choice the language of every text and number from now on, in the whole process.
    void applyLanguage() const;

  private:
    template <typename T>
    std::optional<T> stored(std::string_view key) const;
    std::optional<std::uint64_t> storedNumber(std::string_view key) const;
    template <typename T>
    std::expected<void, Error> setOrRemove(std::string_view key, const std::optional<T>& value);
    template <typename Edit>
    std::expected<void, Error> editProtectedPaths(const Edit& edit);

    std::shared_ptr<UserDefaults> defaults_;
};

// The whole bytes that a stored number stands for; absent for other types and for numbers that have no
// unsigned 64-bit equivalent (negative, too large). Fractions are cut off.
std::optional<std::uint64_t> unsignedNumberIn(const DefaultsValue& value);

// Whether a path can protect anything: it begins with "/" and holds no zero byte.
bool isProtectablePath(std::string_view path);

}  // namespace brindle
