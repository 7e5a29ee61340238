#include "core/settings/preferences.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using List = std::vector<std::string>;

Error refusedPath(const std::string& path) {
    return malformedError("protect", path, "a protected path is absolute: it begins with /");
}

template <typename Texts>
std::expected<void, Error> requireProtectable(const Texts& paths) {
    const auto wrong =
        std::ranges::find_if_not(paths, [](const auto& path) { return isProtectablePath(path); });
    if (wrong != paths.end()) return std::unexpected(refusedPath(*wrong));
    return {};
}

// The list under a key; empty when the key is absent, an error when something else stands there.
std::expected<List, Error> requireList(const std::optional<DefaultsValue>& value, std::string_view key,
                                       const std::string& location) {
    if (!value) return List();
    if (const auto* list = std::get_if<List>(&*value)) return *list;
    return std::unexpected(
        malformedError("read the preferences", location, fmt::format("{} is not a list of text", key)));
}

std::expected<List, Error> readList(const UserDefaults& defaults, std::string_view key) {
    const auto value = defaults.value(key);
    if (!value) return std::unexpected(value.error());
    return requireList(*value, key, defaults.location());
}

}  // namespace

bool isProtectablePath(std::string_view path) {
    return path.starts_with('/') && path.find('\0') == std::string_view::npos;
}

std::optional<std::uint64_t> unsignedNumberIn(const DefaultsValue& value) {
    if (const auto* whole = std::get_if<std::uint64_t>(&value)) return *whole;
    const auto* number = std::get_if<double>(&value);
    constexpr double kBeyond = 18446744073709551616.0;  // 2^64
    if (number == nullptr || !(*number >= 0 && *number < kBeyond)) return std::nullopt;
    return static_cast<std::uint64_t>(*number);
}

template <typename T>
std::optional<T> Preferences::stored(std::string_view key) const {
    const auto value = defaults_->value(key);
    if (!value || !*value) return std::nullopt;
    const auto* typed = std::get_if<T>(&**value);
    return typed != nullptr ? std::optional(*typed) : std::nullopt;
}

std::optional<std::uint64_t> Preferences::storedNumber(std::string_view key) const {
    const auto value = defaults_->value(key);
    return value && *value ? unsignedNumberIn(**value) : std::nullopt;
}

template <typename T>
std::expected<void, Error> Preferences::setOrRemove(std::string_view key, const std::optional<T>& value) {
    return value ? defaults_->set(key, *value) : defaults_->remove(key);
}

std::expected<void, Error> Preferences::readable() const {
    const auto modules = readList(*defaults_, settingKey::kDisabledModules);
    if (!modules) return std::unexpected(modules.error());
    const auto paths = readList(*defaults_, settingKey::kProtectedPaths);
    if (!paths) return std::unexpected(paths.error());
    const auto wrong = std::ranges::find_if_not(*paths, isProtectablePath);
    if (wrong == paths->end()) return {};
    return std::unexpected(malformedError(
        "read the preferences", defaults_->location(),
        fmt::format("{} in {} does not begin with /", printable(*wrong), settingKey::kProtectedPaths)));
}

std::set<ModuleID> Preferences::disabledModules() const {
    std::set<ModuleID> modules;
    for (const auto& text : stored<List>(settingKey::kDisabledModules).value_or(List())) {
        if (const auto module = moduleIDFrom(text)) modules.insert(*module);
    }
    return modules;
}

std::expected<void, Error> Preferences::setDisabledModules(const std::set<ModuleID>& modules) {
    List texts;
    for (const ModuleID module : modules) texts.emplace_back(rawText(module));
    return defaults_->set(settingKey::kDisabledModules, texts);
}

std::vector<std::string> Preferences::projectRoots() const {
    if (auto roots = stored<List>(settingKey::kProjectRoots)) return *std::move(roots);
    return {kDefaultProjectRoots.begin(), kDefaultProjectRoots.end()};
}

std::expected<void, Error> Preferences::setProjectRoots(const std::vector<std::string>& roots) {
    return defaults_->set(settingKey::kProjectRoots, roots);
}

std::set<std::string> Preferences::protectedPaths() const {
    const auto paths = stored<List>(settingKey::kProtectedPaths).value_or(List());
    return {paths.begin(), paths.end()};
}

std::expected<void, Error> Preferences::setProtectedPaths(const std::set<std::string>& paths) {
    if (auto allowed = requireProtectable(paths); !allowed) return allowed;
    return defaults_->set(settingKey::kProtectedPaths, List(paths.begin(), paths.end()));
}

template <typename Edit>
std::expected<void, Error> Preferences::editProtectedPaths(const Edit& edit) {
    using Result = std::expected<std::optional<DefaultsValue>, Error>;
    const std::string location = defaults_->location();
    return defaults_->update(settingKey::kProtectedPaths, [&](const auto& value) -> Result {
        auto list = requireList(value, settingKey::kProtectedPaths, location);
        if (!list) return std::unexpected(list.error());
        std::set<std::string> paths(list->begin(), list->end());
        edit(paths);
        return List(paths.begin(), paths.end());
    });
}

std::expected<void, Error> Preferences::addProtectedPath(const std::string& path) {
    if (!isProtectablePath(path)) return std::unexpected(refusedPath(path));
    return editProtectedPaths([&](std::set<std::string>& paths) { paths.insert(path); });
}

std::expected<void, Error> Preferences::removeProtectedPath(const std::string& path) {
    return editProtectedPaths([&](std::set<std::string>& paths) { paths.erase(path); });
}

bool Preferences::lowDiskAlertsEnabled() const {
    return stored<bool>(settingKey::kLowDiskAlerts).value_or(false);
}

std::expected<void, Error> Preferences::setLowDiskAlertsEnabled(bool enabled) {
    return defaults_->set(settingKey::kLowDiskAlerts, enabled);
}

std::uint64_t Preferences::lowDiskThreshold() const {
    return storedNumber(settingKey::kLowDiskThreshold).value_or(kDefaultThresholdBytes);
}

std::expected<void, Error> Preferences::setLowDiskThreshold(std::uint64_t bytes) {
    return defaults_->set(settingKey::kLowDiskThreshold, bytes);
}

bool Preferences::scheduledScansEnabled() const {
    return stored<bool>(settingKey::kScheduledScans).value_or(false);
}

std::expected<void, Error> Preferences::setScheduledScansEnabled(bool enabled) {
    return defaults_->set(settingKey::kScheduledScans, enabled);
}

Cadence Preferences::cadence() const {
    const auto text = stored<std::string>(settingKey::kCadence);
    return text ? cadenceFrom(*text).value_or(kDefaultCadence) : kDefaultCadence;
}

std::expected<void, Error> Preferences::setCadence(Cadence cadence) {
    return defaults_->set(settingKey::kCadence, std::string(rawText(cadence)));
}

bool Preferences::autoCleanEnabled() const {
    return stored<bool>(settingKey::kAutoClean).value_or(false);
}

std::expected<void, Error> Preferences::setAutoCleanEnabled(bool enabled) {
    return defaults_->set(settingKey::kAutoClean, enabled);
}

std::optional<TimePoint> Preferences::lastScheduledRun() const {
    return stored<TimePoint>(settingKey::kLastScheduledRun);
}

std::expected<void, Error> Preferences::setLastScheduledRun(std::optional<TimePoint> moment) {
    return setOrRemove(settingKey::kLastScheduledRun, moment);
}

std::uint64_t Preferences::notifyThreshold() const {
    return storedNumber(settingKey::kNotifyThreshold).value_or(kDefaultThresholdBytes);
}

std::expected<void, Error> Preferences::setNotifyThreshold(std::uint64_t bytes) {
    return defaults_->set(settingKey::kNotifyThreshold, bytes);
}

bool Preferences::hasCompletedOnboarding() const {
    return stored<bool>(settingKey::kOnboarded).value_or(false);
}

std::expected<void, Error> Preferences::setHasCompletedOnboarding(bool completed) {
    return defaults_->set(settingKey::kOnboarded, completed);
}

std::optional<std::string> Preferences::preferredLanguage() const {
    auto language = stored<std::string>(settingKey::kLanguage);
    if (!language || std::ranges::find(kAvailableLanguages, *language) == kAvailableLanguages.end()) {
        return std::nullopt;
    }
    return language;
}

std::expected<void, Error> Preferences::setPreferredLanguage(const std::optional<std::string>& language) {
    if (language && std::ranges::find(kAvailableLanguages, *language) == kAvailableLanguages.end()) {
        return std::unexpected(
            malformedError("choose the language", "", printable(*language) + " is not available"));
    }
    return setOrRemove(settingKey::kLanguage, language);
}

void Preferences::applyLanguage() const {
    const auto language = preferredLanguage();
    CoreStrings::setOverrideLanguage(language);
    ByteFormat::setOverrideLocale(language);
}

}  // namespace brindle
