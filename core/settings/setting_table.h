// Every setting by name, for a face that shows and changes them without knowing any one of them.
#pragma once

#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/platform/user_defaults.h"

namespace brindle {

enum class SettingType {
    flag,            // true, on, yes, false, off, no
    bytes,           // "20GB", "1.5 TB", "20000000000": decimal units, as sizes are shown
    moduleList,      // raw texts of ModuleID
    folderList,      // absolute, or relative to the home folder
    protectedPaths,  // absolute
    cadence,         // daily, weekly, monthly
    language,        // one of kAvailableLanguages
    moment,          // ISO 8601: "2026-11-21T07:19:27Z"
};

// All texts are constant. `meaning` and `defaultText` are English sources for the string lookup.
struct Setting {
    std::string_view key;   // as stored
    std::string_view name;  // as typed: "low-disk-threshold"
    SettingType type;
    std::string_view meaning;  // one line
    std::string_view
        defaultText;  // as shownSetting() would print it; words in brackets for what cannot be typed
};

// In the order in which they are shown.
std::span<const Setting> allSettings();

// By name or by key; null when there is none.
const Setting* settingNamed(std::string_view nameOrKey);

// What a person typed, as it is stored; absent for the single word "default", which stands for removing the
// key. Lists take several texts, or one with commas ("\," is a comma inside an entry, "\\" a backslash);
// blanks around an entry go, a single empty text is the empty list. Everything else takes exactly one text.
// Words and units may be in any case. The error says what was wrong and what is right.
std::expected<std::optional<DefaultsValue>, Error> parsedSetting(const Setting& setting,
                                                                 std::span<const std::string> texts);

// Parses and stores, or removes.
std::expected<void, Error> changeSetting(const Setting& setting, std::span<const std::string> texts,
                                         UserDefaults& defaults);

struct ShownSetting {
    enum class Origin {
        stored,     // what the user chose; the text can be typed to choose it again
        byDefault,  // nothing is stored
        unusable,   // something is stored that the setting cannot mean, so that its default holds
    };
    Origin origin = Origin::byDefault;
    std::string text;

    bool operator==(const ShownSetting&) const = default;
};

// An error when the store cannot be read. The text may hold any bytes of a stored path.
std::expected<ShownSetting, Error> shownSetting(const Setting& setting, const UserDefaults& defaults);

}  // namespace brindle
