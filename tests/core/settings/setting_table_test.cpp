#include "core/settings/setting_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "core/settings/preferences.h"
#include "core/text/resource_bundle.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::TestHome;
using testing::HasSubstr;
using List = std::vector<std::string>;
using Origin = ShownSetting::Origin;

const Setting& named(std::string_view name) {
    const Setting* setting = settingNamed(name);
    if (setting == nullptr) throw std::invalid_argument(std::string(name));
    return *setting;
}

TEST(SettingTable, UnderstandsWhatAPersonTypes) {
    const struct {
        const char* name;
        List texts;
        DefaultsValue value;
    } cases[] = {
        {"low-disk-threshold", {"20GB"}, std::uint64_t{20'000'000'000}},
        {"low-disk-threshold", {" 500 mb "}, std::uint64_t{500'000'000}},
        {"low-disk-threshold", {"1.5TB"}, std::uint64_t{1'500'000'000'000}},
        {"low-disk-threshold", {"1.50B"}, std::monostate()},
        {"low-disk-threshold", {"1.05B"}, std::monostate()},
        {"low-disk-threshold", {"0.001kb"}, std::uint64_t{1}},
        {"low-disk-threshold", {"18446744073709551615"}, ~std::uint64_t{0}},
        {"low-disk-threshold", {"18446744073709551616"}, std::monostate()},
        {"low-disk-threshold", {"18447PB"}, std::monostate()},
        {"low-disk-threshold", {"-1"}, std::monostate()},
        {"low-disk-threshold", {"GB"}, std::monostate()},
        {"low-disk-threshold", {"20."}, std::monostate()},
        {"low-disk-threshold", {"1.2.3"}, std::monostate()},
        {"low-disk-threshold", {"20GiB"}, std::monostate()},
        {"low-disk-threshold", {"0x10"}, std::monostate()},
        {"low-disk-threshold", {""}, std::monostate()},
        {"low-disk-threshold", {"1", "2"}, std::monostate()},
        {"low-disk-threshold", {}, std::monostate()},
        {"auto-clean", {"ON"}, true},
        {"auto-clean", {"no"}, false},
        {"auto-clean", {"1"}, std::monostate()},
        {"cadence", {"Daily"}, std::string("daily")},
        {"cadence", {"hourly"}, std::monostate()},
        {"language", {"pt-pt"}, std::string("pt-PT")},
        {"language", {"pt"}, std::monostate()},
        {"last-scheduled-run", {"1970-01-01T01:00:10+01:00"}, TimePoint(std::chrono::seconds(10))},
        {"last-scheduled-run", {"yesterday"}, std::monostate()},
        {"disabled-modules", {"docker, xcode", "docker"}, List{"xcode", "docker"}},
        {"disabled-modules", {"docker,"}, std::monostate()},
        {"disabled-modules", {""}, List{}},
        {"project-roots", {R"(a\,b , c\\,d\e)", "/srv"}, List{"a,b", "c\\", "d\\e", "/srv"}},
        {"project-roots", {"~/src"}, std::monostate()},
        {"project-roots", {"a", ""}, std::monostate()},
        {"protected-paths", {"/a,/b"}, List{"/a", "/b"}},
        {"protected-paths", {"/a", "b"}, std::monostate()},
    };
    for (const auto& each : cases) {
        const auto value = parsedSetting(named(each.name), each.texts);
        const std::string typed = testing::PrintToString(each.texts);
        if (each.value == DefaultsValue(std::monostate())) {
            ASSERT_FALSE(value) << each.name << typed;
            EXPECT_THAT(value.error().describe(), HasSubstr(each.name));
        } else {
            ASSERT_TRUE(value) << each.name << typed << value.error().describe();
            EXPECT_EQ(*value, each.value) << each.name << typed;
        }
    }
}

TEST(SettingTable, NamesTheModulesWhenOneIsUnknown) {
    const auto value = parsedSetting(named("disabled-modules"), List{"docker,teleporter"});
    ASSERT_FALSE(value);
    EXPECT_EQ(
        value.error().describe(),
        "could not understand disabled-modules (\"teleporter\": the modules are xcode, docker, node, python, "
        "android, homebrew, ide, rust, go, system, projects, tools, leftovers, ai)");
}

TEST(SettingTable, DefaultsShownAreThoseInForce) {
    TestHome home;
    const auto defaults = fileDefaults(home.path("p.json"));
    // What is shown for an absent key, typed back in, changes no getter: the table and the getters agree.
    for (const Setting& setting : allSettings()) {
        const auto shown = *shownSetting(setting, *defaults);
        EXPECT_EQ(shown.origin, Origin::byDefault) << setting.name;
        if (shown.text.starts_with("(")) continue;
        ASSERT_TRUE(changeSetting(setting, List{shown.text}, *defaults)) << setting.name;
        EXPECT_EQ(*shownSetting(setting, *defaults), (ShownSetting{Origin::stored, shown.text}))
            << setting.name;
    }
    const Preferences stored(defaults);
    const Preferences absent(fileDefaults(home.path("none.json")));
    EXPECT_EQ(stored.disabledModules(), absent.disabledModules());
    EXPECT_EQ(stored.projectRoots(), absent.projectRoots());
    EXPECT_EQ(stored.protectedPaths(), absent.protectedPaths());
    EXPECT_EQ(stored.lowDiskAlertsEnabled(), absent.lowDiskAlertsEnabled());
    EXPECT_EQ(stored.lowDiskThreshold(), absent.lowDiskThreshold());
    EXPECT_EQ(stored.autoCleanEnabled(), absent.autoCleanEnabled());
    EXPECT_EQ(stored.scheduledScansEnabled(), absent.scheduledScansEnabled());
    EXPECT_EQ(stored.cadence(), absent.cadence());
    EXPECT_EQ(stored.notifyThreshold(), absent.notifyThreshold());
    EXPECT_EQ(stored.hasCompletedOnboarding(), absent.hasCompletedOnboarding());
    ASSERT_TRUE(changeSetting(named("project-roots"), List{"default"}, *defaults));
    EXPECT_EQ(shownSetting(named("brindle.projectRoots"), *defaults)->origin, Origin::byDefault);
}

TEST(SettingTable, SaysWhenAStoredValueIsNotInForce) {
    TestHome home;
    const auto defaults =
        fileDefaults(home.text("p.json", R"({"brindle.cadence": "Daily", "brindle.language": "pt",
        "brindle.lowDiskThreshold": -5, "brindle.protectedPaths": ["keep"], "brindle.autoClean": "true",
        "brindle.disabledModules": ["teleporter", "go"], "brindle.notifyThresholdBytes": 1500,
        "brindle.projectRoots": ["a,b", "c\\"]})"));
    const auto shown = [&](std::string_view name) { return *shownSetting(named(name), *defaults); };
    EXPECT_EQ(shown("cadence"), (ShownSetting{Origin::unusable, "weekly"}));
    EXPECT_EQ(shown("language").origin, Origin::unusable);
    EXPECT_EQ(shown("low-disk-threshold"), (ShownSetting{Origin::unusable, "20GB"}));
    EXPECT_EQ(shown("protected-paths").origin, Origin::unusable);
    EXPECT_EQ(shown("auto-clean"), (ShownSetting{Origin::unusable, "false"}));
    EXPECT_EQ(shown("disabled-modules"), (ShownSetting{Origin::stored, "go"}));
    EXPECT_EQ(shown("notify-threshold"), (ShownSetting{Origin::stored, "1500"}));
    EXPECT_EQ(shown("project-roots"), (ShownSetting{Origin::stored, R"(a\,b,c\\)"}));
    EXPECT_FALSE(shownSetting(named("cadence"), *fileDefaults(home.text("bad.json", "{"))));
}

// A meaning that no catalogue knows could never be translated.
TEST(SettingTable, HasEveryMeaningInTheEnglishStrings) {
    const ResourceBundle english(test::resourcesFolder(), "core", {"en"});
    for (const Setting& setting : allSettings()) {
        EXPECT_EQ(english.text(setting.meaning, ""), setting.meaning);
        const std::string fallback(setting.defaultText);
        EXPECT_EQ(english.text(fallback, fallback), fallback);
        EXPECT_TRUE(!fallback.starts_with('(') || !english.text(fallback, "").empty()) << fallback;
    }
}

}  // namespace
}  // namespace brindle
