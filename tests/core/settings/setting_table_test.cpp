#include "core/settings/setting_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

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
    using Case = std::tuple<const char*, List, DefaultsValue>;
    const Case cases[] = {
        {"low-disk-threshold", {"20GB"}, std::uint64_t{20'000'000'000}},
        {"low-disk-threshold", {" 500 mb "}, std::uint64_t{500'000'000}},
        {"low-disk-threshold", {"1.5TB"}, std::uint64_t{1'500'000'000'000}},
        {"low-disk-threshold", {"0.001kb"}, std::uint64_t{1}},
        {"low-disk-threshold", {"18446744073709551615"}, ~std::uint64_t{0}},
        {"low-disk-threshold", {"1", "2"}, std::monostate()},
        {"low-disk-threshold", {}, std::monostate()},
        {"auto-clean", {"ON"}, true},
        {"auto-clean", {"no"}, false},
        {"cadence", {"Daily"}, std::string("daily")},
        {"language", {"pt-pt"}, std::string("pt-PT")},
        {"last-scheduled-run", {"1970-01-01T01:00:10+01:00"}, TimePoint(std::chrono::seconds(10))},
        {"disabled-modules", {"docker, xcode", "docker"}, List{"xcode", "docker"}},
        {"disabled-modules", {"docker,"}, std::monostate()},
        {"disabled-modules", {""}, List{}},
        {"project-roots", {R"(a\,b , c\\,d\e)", "/srv"}, List{"a,b", "c\\", "d\\e", "/srv"}},
        {"project-roots", {"~/src"}, std::monostate()},
        {"project-roots", {"a", ""}, std::monostate()},
        {"protected-paths", {"/a,/b"}, List{"/a", "/b"}},
        {"protected-paths", {"/a", "b"}, std::monostate()},
    };
    for (const auto& [name, texts, expected] : cases) {
        const auto value = parsedSetting(named(name), texts);
        EXPECT_EQ(value.value_or(std::monostate()), expected) << name << testing::PrintToString(texts);
    }
}

TEST(SettingTable, NamesWhatItDidNotUnderstandAndWhatThereIs) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"auto-clean", "1", "auto-clean"},
        {"cadence", "hourly", "cadence"},
        {"language", "pt", "language"},
        {"last-scheduled-run", "yesterday", "last-scheduled-run"},
        {"disabled-modules", "docker,teleporter", "(\"teleporter\": the modules are xcode, docker, "},
    };
    for (const std::string size : {"-1", "GB", "20.", "1.2.3", "20GiB", "0x10", "", "1.50B", "1.05B",
                                   "18446744073709551616", "18447PB"}) {
        EXPECT_FALSE(parsedSetting(named("low-disk-threshold"), List{size})) << size;
    }
    for (const auto& [name, text, said] : cases)
        EXPECT_THAT(parsedSetting(named(name), List{text}).error().describe(), HasSubstr(said));
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
    ASSERT_TRUE(changeSetting(named("project-roots"), List{"default"}, *defaults));
    EXPECT_EQ(shown("brindle.projectRoots").origin, Origin::byDefault);
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
