#include "core/settings/setting_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "core/model/cadence.h"
#include "core/model/module_id.h"
#include "core/settings/preferences.h"
#include "core/settings/setting_keys.h"
#include "core/settings/setting_text.h"
#include "core/text/ascii.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using List = std::vector<std::string>;
using Parsed = std::expected<DefaultsValue, Error>;

constexpr std::array<Setting, 12> kSettings = {{
    {settingKey::kDisabledModules, "disabled-modules", SettingType::moduleList, "Modules that scans skip",
     ""},
    {settingKey::kProjectRoots, "project-roots", SettingType::folderList, "Folders searched for projects",
     "Projects,Developer,Code,code,src,dev,work,repos,Documents/GitHub,Sites"},
    {settingKey::kProtectedPaths, "protected-paths", SettingType::protectedPaths,
     "Paths that nothing may touch", ""},
    {settingKey::kLowDiskAlerts, "low-disk-alerts", SettingType::flag,
     "Whether low free space raises an alert", "false"},
    {settingKey::kLowDiskThreshold, "low-disk-threshold", SettingType::bytes,
     "Free space below which the alert is raised", "20GB"},
    {settingKey::kScheduledScans, "scheduled-scans", SettingType::flag, "Whether scans run on a schedule",
     "false"},
    {settingKey::kCadence, "cadence", SettingType::cadence, "How often scheduled scans run", "weekly"},
    {settingKey::kAutoClean, "auto-clean", SettingType::flag,
     "Whether scheduled scans also clean what is safe", "false"},
    {settingKey::kNotifyThreshold, "notify-threshold", SettingType::bytes,
     "Size from which a scheduled scan notifies", "20GB"},
    {settingKey::kLastScheduledRun, "last-scheduled-run", SettingType::moment,
     "When the last scheduled scan ran", "(never)"},
    {settingKey::kOnboarded, "onboarded", SettingType::flag, "Whether the introduction was finished",
     "false"},
    {settingKey::kLanguage, "language", SettingType::language, "Language of all texts", "(the system's)"},
}};

std::unexpected<Error> notUnderstood(const Setting& setting, std::string_view text, std::string_view right) {
    return std::unexpected(malformedError(fmt::format("understand {}", setting.name), "",
                                          fmt::format("\"{}\": {}", printable(text), right)));
}

template <typename Names>
std::string joined(const Names& names) {
    std::string text;
    for (const auto& name : names) text += (text.empty() ? "" : ", ") + std::string(name);
    return text;
}

Parsed parsedModules(const Setting& setting, const List& entries) {
    std::set<ModuleID> modules;
    for (const std::string& entry : entries) {
        const auto module = moduleIDFrom(entry);
        if (!module) {
            return notUnderstood(setting, entry, "the modules are " + joined(RawTexts<ModuleID>::kTexts));
        }
        modules.insert(*module);
    }
    List texts;
    for (const ModuleID module : modules) texts.emplace_back(rawText(module));
    return texts;
}

Parsed parsedFolders(const Setting& setting, const List& entries, bool absolute) {
    for (const std::string& entry : entries) {
        if (entry.empty()) return notUnderstood(setting, entry, "an entry of the list is empty");
        if (entry.starts_with('~'))
            return notUnderstood(setting, entry, "write the folder in full, without ~");
        if (absolute && !isProtectablePath(entry))
            return notUnderstood(setting, entry, "a path begins with /");
    }
    return entries;
}

Parsed parsedWord(const Setting& setting, const std::string& text) {
    const std::string word(trimmed(text));
    if (setting.type == SettingType::cadence) {
        if (cadenceFrom(lowerCase(word))) return lowerCase(word);
        return notUnderstood(setting, text, "choose one of " + joined(RawTexts<Cadence>::kTexts));
    }
    for (const std::string_view language : kAvailableLanguages) {
        if (lowerCase(word) == lowerCase(language)) return std::string(language);
    }
    return notUnderstood(setting, text, "choose one of " + joined(kAvailableLanguages));
}

Parsed parsedMoment(const Setting& setting, const std::string& text) {
    if (const auto moment = timeFromIso8601(trimmed(text))) return *moment;
    return notUnderstood(setting, text, "write a moment such as 2026-11-21T07:19:27Z");
}

Parsed parsedBytes(const Setting& setting, const std::string& text) {
    if (const auto bytes = bytesFromText(text)) return *bytes;
    return notUnderstood(setting, text, "write a size such as 20GB, 1.5TB or 20000000000");
}

Parsed parsedFlag(const Setting& setting, const std::string& text) {
    if (const auto flag = flagFromText(text)) return *flag;
    return notUnderstood(setting, text, "write true or false");
}

bool isList(SettingType type) {
    return type == SettingType::moduleList || type == SettingType::folderList ||
           type == SettingType::protectedPaths;
}

Parsed parsedValue(const Setting& setting, std::span<const std::string> texts) {
    switch (setting.type) {
        case SettingType::flag:
            return parsedFlag(setting, texts.front());
        case SettingType::bytes:
            return parsedBytes(setting, texts.front());
        case SettingType::moduleList:
            return parsedModules(setting, listFromTexts(texts));
        case SettingType::folderList:
            return parsedFolders(setting, listFromTexts(texts), false);
        case SettingType::protectedPaths:
            return parsedFolders(setting, listFromTexts(texts), true);
        case SettingType::cadence:
        case SettingType::language:
            return parsedWord(setting, texts.front());
        case SettingType::moment:
            return parsedMoment(setting, texts.front());
    }
    return notUnderstood(setting, texts.front(), "unknown type");
}

// The stored list as typed, if each entry is one that the setting can mean.
std::optional<std::string> listTextIn(const Setting& setting, const DefaultsValue& value) {
    const auto* list = std::get_if<List>(&value);
    if (list == nullptr) return std::nullopt;
    if (setting.type == SettingType::protectedPaths && !std::ranges::all_of(*list, isProtectablePath)) {
        return std::nullopt;
    }
    List shown = *list;
    // Texts that name no module mean nothing, so they are not shown as if they did.
    if (setting.type == SettingType::moduleList) {
        std::erase_if(shown, [](const std::string& text) { return !moduleIDFrom(text); });
    }
    return listText(shown);
}

// A stored word, if it is one that could have been typed.
std::optional<std::string> wordIn(const Setting& setting, const DefaultsValue& value) {
    const auto* word = std::get_if<std::string>(&value);
    if (word == nullptr) return std::nullopt;
    const auto parsed = parsedWord(setting, *word);
    // Stored words are case-sensitive, typed ones are not.
    return parsed && *parsed == value ? std::optional(*word) : std::nullopt;
}

std::optional<std::string> textOf(const Setting& setting, const DefaultsValue& value) {
    switch (setting.type) {
        case SettingType::flag:
            if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
            return std::nullopt;
        case SettingType::bytes:
            if (const auto bytes = unsignedNumberIn(value)) return exactBytesText(*bytes);
            return std::nullopt;
        case SettingType::moduleList:
        case SettingType::folderList:
        case SettingType::protectedPaths:
            return listTextIn(setting, value);
        case SettingType::cadence:
        case SettingType::language:
            return wordIn(setting, value);
        case SettingType::moment:
            if (const auto* moment = std::get_if<TimePoint>(&value)) return iso8601(*moment);
            return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

std::span<const Setting> allSettings() {
    return kSettings;
}

const Setting* settingNamed(std::string_view nameOrKey) {
    const auto found = std::ranges::find_if(kSettings, [&](const Setting& setting) {
        return setting.name == nameOrKey || setting.key == nameOrKey;
    });
    return found == kSettings.end() ? nullptr : &*found;
}

std::expected<std::optional<DefaultsValue>, Error> parsedSetting(const Setting& setting,
                                                                 std::span<const std::string> texts) {
    if (texts.empty()) return notUnderstood(setting, "", "a value is missing");
    if (texts.size() == 1 && trimmed(texts.front()) == "default") return std::nullopt;
    if (texts.size() > 1 && !isList(setting.type))
        return notUnderstood(setting, texts[1], "it takes one value");
    auto value = parsedValue(setting, texts);
    if (!value) return std::unexpected(value.error());
    return *std::move(value);
}

std::expected<void, Error> changeSetting(const Setting& setting, std::span<const std::string> texts,
                                         UserDefaults& defaults) {
    const auto value = parsedSetting(setting, texts);
    if (!value) return std::unexpected(value.error());
    return *value ? defaults.set(setting.key, **value) : defaults.remove(setting.key);
}

std::expected<ShownSetting, Error> shownSetting(const Setting& setting, const UserDefaults& defaults) {
    using Origin = ShownSetting::Origin;
    const auto value = defaults.value(setting.key);
    if (!value) return std::unexpected(value.error());
    if (!*value) return ShownSetting{Origin::byDefault, std::string(setting.defaultText)};
    if (auto text = textOf(setting, **value)) return ShownSetting{Origin::stored, *std::move(text)};
    return ShownSetting{Origin::unusable, std::string(setting.defaultText)};
}

}  // namespace brindle
