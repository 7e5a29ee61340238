// English source text in, text of the interface language out.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/text/resource_bundle.h"

namespace brindle {

// Process-wide; every function may be called from any thread, and a lookup sees the bundles and the override
// as they were before a change or after it. A text is looked up in the core's bundle first, then in the
// program's own ("main"): in the override language where one is set and the bundle has it, otherwise in the
// language the bundle answers in. What no catalogue knows comes back as the key. Until setBundles is called
// there are no catalogues.
class CoreStrings {
  public:
    CoreStrings() = delete;

    static void setBundles(ResourceBundle core, ResourceBundle main);

    static std::optional<std::string> overrideLanguage();
    static void setOverrideLanguage(std::optional<std::string> language);

    static std::string localized(std::string_view key);

    // The looked-up text with each "%@" replaced by the next argument, "%2$@" by the second one, "%%" by "%".
    // A placeholder without an argument stays; an argument is never searched for placeholders itself.
    template <std::convertible_to<std::string_view>... Arguments>
        requires(sizeof...(Arguments) > 0)
    static std::string localized(std::string_view key, const Arguments&... arguments) {
        const std::array<std::string_view, sizeof...(Arguments)> list{std::string_view(arguments)...};
        return localizedWith(key, list);
    }

    // As above, for arguments that are already a list.
    static std::string localizedWith(std::string_view key, std::span<const std::string_view> arguments);

    // The plural form for n with "%d" replaced by ByteFormat::count(n). The rules are those of the language
    // in which the form was found. A counted phrase has no English source text in its key, so the English
    // catalogues are asked before the key comes back.
    static std::string plural(std::string_view key, std::int64_t n);

    // The bundle's catalogue of that language, the bundle unchanged when it has none.
    static ResourceBundle catalogue(const ResourceBundle& bundle, std::string_view language);
};

inline std::string localized(std::string_view key) {
    return CoreStrings::localized(key);
}

template <std::convertible_to<std::string_view>... Arguments>
    requires(sizeof...(Arguments) > 0)
std::string localized(std::string_view key, const Arguments&... arguments) {
    return CoreStrings::localized(key, arguments...);
}

}  // namespace brindle
