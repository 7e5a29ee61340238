// brindle settings [NAME [VALUE...]]
#include <vector>

#include "cli/command.h"
#include "cli/display_width.h"
#include "cli/suggestion.h"
#include "core/model/model_json.h"
#include "core/settings/setting_table.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

struct Entry {
    const Setting* setting;
    ShownSetting shown;
};

Outcome failure(const CommandContext& context, const Error& error, ExitCode code = ExitCode::failed) {
    complain(context.streams, error.describe());
    return {code, ""};
}

std::expected<std::vector<Entry>, Error> entries(const CommandContext& context, const Setting* only) {
    std::vector<Entry> result;
    for (const Setting& setting : allSettings()) {
        if (only != nullptr && &setting != only) continue;
        auto shown = shownSetting(setting, context.session.defaults());
        if (!shown) return std::unexpected(shown.error());
        result.push_back({&setting, std::move(*shown)});
    }
    return result;
}

std::string_view originText(ShownSetting::Origin origin) {
    switch (origin) {
        case ShownSetting::Origin::stored:
            return "stored";
        case ShownSetting::Origin::byDefault:
            return "default";
        case ShownSetting::Origin::unusable:
            return "unusable";
    }
    return "";
}

Json entryJson(const Entry& entry) {
    return Json{{"name", entry.setting->name},           {"key", entry.setting->key},
                {"value", jsonText(entry.shown.text)},   {"origin", originText(entry.shown.origin)},
                {"default", entry.setting->defaultText}, {"meaning", entry.setting->meaning}};
}

std::string shownDefault(const Setting& setting) {
    return localized(setting.defaultText.empty() ? "(empty)" : setting.defaultText);
}

std::string remark(const Entry& entry) {
    switch (entry.shown.origin) {
        case ShownSetting::Origin::stored:
            return localized("set; its default is %@", shownDefault(*entry.setting));
        case ShownSetting::Origin::byDefault:
            return localized("default");
        case ShownSetting::Origin::unusable:
            return localized("stored value makes no sense; the default %@ holds",
                             shownDefault(*entry.setting));
    }
    return "";
}

std::string entryText(const Entry& entry, const Look& look) {
    const bool isDefault = entry.shown.origin == ShownSetting::Origin::byDefault;
    const std::string value = isDefault ? localized(entry.shown.text) : entry.shown.text;
    std::string text = look.palette.heading(entry.setting->name) + "\n";
    for (const std::string& line :
         wrap(printable(value.empty() ? localized("(empty)") : value), look.width - 4)) {
        text += "    " + line + "\n";
    }
    for (const std::string& line :
         wrap(localized(entry.setting->meaning) + " (" + printable(remark(entry)) + ")", look.width - 4)) {
        text += "    " + look.palette.quiet(line) + "\n";
    }
    return text;
}

Outcome show(const CommandContext& context, const Setting* only) {
    const auto list = entries(context, only);
    if (!list) return failure(context, list.error());
    const std::string location = context.session.defaults().location();
    if (context.options.isJson) {
        Json settings = Json::array();
        for (const Entry& entry : *list) settings.push_back(entryJson(entry));
        const Json json{{"schemaVersion", 1}, {"location", jsonText(location)}, {"settings", settings}};
        return {ExitCode::success, json.dump(2) + "\n"};
    }
    std::string text;
    for (const Entry& entry : *list) text += entryText(entry, context.look);
    if (only != nullptr) return {ExitCode::success, text};
    text += "\n";
    for (const std::string& line : wrap(localized("Kept in %@", printable(location)), context.look.width)) {
        text += line + "\n";
    }
    return {ExitCode::success, text};
}

Outcome unknownSetting(const CommandContext& context) {
    const std::string& name = context.options.settingName;
    std::vector<std::string> known;
    for (const Setting& setting : allSettings()) known.emplace_back(setting.name);
    std::string sentence = localized("there is no setting %@", printable(name));
    const auto close = closest(name, known);
    sentence +=
        close ? localized("; did you mean %@?", *close) : localized("; \"brindle settings\" lists them");
    complain(context.streams, sentence);
    return {ExitCode::notFound, ""};
}

Outcome change(const CommandContext& context, const Setting& setting) {
    const std::vector<std::string> texts =
        context.options.resetsSetting ? std::vector<std::string>{"default"} : context.options.settingTexts;
    if (const auto parsed = parsedSetting(setting, texts); !parsed) {
        return failure(context, parsed.error(), ExitCode::usage);
    }
    if (const auto changed = changeSetting(setting, texts, context.session.defaults()); !changed) {
        return failure(context, changed.error());
    }
    return show(context, &setting);
}

}  // namespace

Outcome runSettings(const CommandContext& context) {
    const Options& options = context.options;
    if (options.settingName.empty()) return show(context, nullptr);
    const Setting* setting = settingNamed(options.settingName);
    if (setting == nullptr) return unknownSetting(context);
    if (options.resetsSetting || !options.settingTexts.empty()) return change(context, *setting);
    return show(context, setting);
}

}  // namespace brindle
