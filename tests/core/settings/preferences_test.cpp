#include "core/settings/preferences.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "core/platform/files.h"
#include "core/settings/setting_table.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/resource_bundle.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using List = std::vector<std::string>;
using Origin = ShownSetting::Origin;
using test::TestHome;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Preferences preferencesWith(TestHome& home, std::string_view json) {
    return Preferences(fileDefaults(home.text("preferences.json", json)));
}

void expectDefaults(const Preferences& preferences) {
    EXPECT_THAT(preferences.disabledModules(), IsEmpty());
    EXPECT_THAT(preferences.projectRoots(), ElementsAre("Projects", "Developer", "Code", "code", "src", "dev",
                                                        "work", "repos", "Documents/GitHub", "Sites"));
    EXPECT_THAT(preferences.protectedPaths(), IsEmpty());
    EXPECT_FALSE(preferences.lowDiskAlertsEnabled() || preferences.autoCleanEnabled() ||
                 preferences.scheduledScansEnabled() || preferences.hasCompletedOnboarding());
    EXPECT_EQ(preferences.lowDiskThreshold(), 20'000'000'000U);
    EXPECT_EQ(preferences.notifyThreshold(), 20'000'000'000U);
    EXPECT_EQ(preferences.cadence(), Cadence::weekly);
    EXPECT_FALSE(preferences.lastScheduledRun() || preferences.preferredLanguage());
}

TEST(Preferences, AnswerTheirDefaultsWhereNothingOrAnotherTypeIsStored) {
    TestHome home;
    const Preferences preferences(fileDefaults(home.path("none.json")));
    expectDefaults(preferences);
    EXPECT_TRUE(preferences.readable());
    for (const std::string_view wrong : {"\"true\"", "null", "[1]", "{}", "-1", "1e300"}) {
        std::string json;
        for (const std::string_view key :
             {"disabledModules", "projectRoots", "protectedPaths", "lowDiskAlerts", "lowDiskThreshold",
              "autoClean", "scheduledScans", "cadence", "lastScheduledRun", "notifyThresholdBytes",
              "onboarded", "language"}) {
            json += fmt::format("{}\"brindle.{}\":{}", json.empty() ? "{" : ",", key, wrong);
        }
        expectDefaults(preferencesWith(home, json + "}"));
    }
}

// What is shown for an absent key, typed back in, changes no getter: the table and the getters agree.
TEST(Preferences, AreInForceAsTheTableShowsThem) {
    TestHome home;
    const auto defaults = fileDefaults(home.path("p.json"));
    for (const Setting& setting : allSettings()) {
        const auto shown = *shownSetting(setting, *defaults);
        EXPECT_EQ(shown.origin, ShownSetting::Origin::byDefault) << setting.name;
        if (shown.text.starts_with("(")) continue;
        ASSERT_TRUE(changeSetting(setting, std::vector{shown.text}, *defaults)) << setting.name;
        EXPECT_EQ(*shownSetting(setting, *defaults),
                  (ShownSetting{ShownSetting::Origin::stored, shown.text}));
    }
    expectDefaults(Preferences(defaults));
}

TEST(Preferences, StoreEverySettingUnderItsOwnKeyForAnotherInstance) {
    TestHome home;
    const std::string path = home.path("preferences.json");
    Preferences writer(fileDefaults(path));
    const TimePoint moment{std::chrono::seconds(1'795'245'567)};
    ASSERT_TRUE(writer.setDisabledModules({ModuleID::docker, ModuleID::xcode}) &&
                writer.setProjectRoots({"b", "a", "/srv/a"}) && writer.setProtectedPaths({"/b", "/a"}) &&
                writer.setLowDiskAlertsEnabled(true) && writer.setLowDiskThreshold(1) &&
                writer.setAutoCleanEnabled(true) && writer.setScheduledScansEnabled(true) &&
                writer.setCadence(Cadence::monthly) && writer.setLastScheduledRun(moment) &&
                writer.setNotifyThreshold(2) && writer.setHasCompletedOnboarding(true) &&
                writer.setPreferredLanguage("pt-PT"));
    const Preferences reader(fileDefaults(path));
    EXPECT_THAT(reader.disabledModules(), ElementsAre(ModuleID::xcode, ModuleID::docker));
    EXPECT_THAT(reader.projectRoots(), ElementsAre("b", "a", "/srv/a"));
    EXPECT_THAT(reader.protectedPaths(), ElementsAre("/a", "/b"));
    EXPECT_TRUE(reader.lowDiskAlertsEnabled() && reader.autoCleanEnabled() &&
                reader.scheduledScansEnabled() && reader.hasCompletedOnboarding());
    EXPECT_TRUE(reader.lowDiskThreshold() == 1 && reader.notifyThreshold() == 2 &&
                reader.cadence() == Cadence::monthly && reader.lastScheduledRun() == moment &&
                reader.preferredLanguage() == "pt-PT");
    // Twelve keys, the date's tag, and its own two.
    EXPECT_EQ(std::ranges::count(*readFile(path), ':'), 13 + 2);
    ASSERT_TRUE(writer.setPreferredLanguage({}) && writer.setLastScheduledRun({}));
    EXPECT_FALSE(reader.preferredLanguage() || reader.lastScheduledRun());
}

TEST(Preferences, TakeWhatIsUsableOfAHandEditedFile) {
    TestHome home;
    const auto preferences = preferencesWith(home, R"({"brindle.language": "pt", "brindle.projectRoots": [],
        "brindle.disabledModules": ["xcode", "teleporter", "xcode"],
        "brindle.lowDiskThreshold": 1e10, "brindle.notifyThresholdBytes": 7.9})");
    EXPECT_EQ(preferences.preferredLanguage(), std::nullopt);
    EXPECT_THAT(preferences.projectRoots(), IsEmpty());
    EXPECT_THAT(preferences.disabledModules(), ElementsAre(ModuleID::xcode));
    EXPECT_EQ(preferences.lowDiskThreshold(), 10'000'000'000U);
    EXPECT_EQ(preferences.notifyThreshold(), 7U);
    EXPECT_TRUE(preferences.readable());
}

TEST(Preferences, AreNotReadableWhenWhatHoldsBrindleBackCannotBeTrusted) {
    using Case = std::pair<const char*, const char*>;
    const Case cases[] = {
        {"{", "not JSON"},
        {R"({"brindle.protectedPaths": ["/a", 1]})", "brindle.protectedPaths is not a list of text"},
        {R"({"brindle.protectedPaths": ["/a", "~/keep"]})",
         "~/keep in brindle.protectedPaths does not begin with /"},
        {R"({"brindle.disabledModules": true})", "brindle.disabledModules is not a list of text"},
    };
    TestHome home;
    for (const auto& [json, reason] : cases) {
        const auto outcome = preferencesWith(home, json).readable();
        ASSERT_FALSE(outcome) << json;
        EXPECT_THAT(outcome.error().describe(), HasSubstr(reason));
    }
}

TEST(Preferences, AddAndRemoveProtectedPathsWithoutLosingOthers) {
    TestHome home;
    const auto path = home.path("preferences.json");
    {
        std::vector<std::jthread> writers;
        for (const char* name : {"/a", "/b"}) {
            writers.emplace_back([&path, name] {
                Preferences preferences(fileDefaults(path));
                for (int round = 0; round < 20; ++round)
                    EXPECT_TRUE(preferences.addProtectedPath(name + std::to_string(round)));
            });
        }
    }
    Preferences preferences(fileDefaults(path));
    EXPECT_EQ(preferences.protectedPaths().size(), 40U);
    ASSERT_TRUE(preferences.setProtectedPaths({"/a"}) && preferences.addProtectedPath("/caf\xe9,x"));
    ASSERT_TRUE(preferences.removeProtectedPath("/a") && preferences.removeProtectedPath("/never"));
    EXPECT_THAT(preferences.protectedPaths(), ElementsAre("/caf\xe9,x"));
}

TEST(Preferences, RefuseWhatWouldProtectNothing) {
    TestHome home;
    const std::string json = R"({"brindle.protectedPaths": "/home/u/keep"})";
    auto preferences = preferencesWith(home, json);
    EXPECT_FALSE(preferences.addProtectedPath("relative"));
    EXPECT_FALSE(preferences.addProtectedPath(std::string("/a\0b", 4)));
    EXPECT_FALSE(preferences.setProtectedPaths({"/a", "~/b"}));
    EXPECT_FALSE(preferences.addProtectedPath("/a"));  // would replace what the user meant to protect
    EXPECT_FALSE(preferences.setPreferredLanguage("tlh"));
    EXPECT_EQ(*readFile(home.path("preferences.json")), json);
}

TEST(Preferences, ApplyAndTakeBackTheLanguageOfTextsAndNumbers) {
    TestHome home;
    Preferences preferences(fileDefaults(home.path("preferences.json")));
    ASSERT_TRUE(preferences.setPreferredLanguage("de"));
    preferences.applyLanguage();
    EXPECT_EQ(CoreStrings::overrideLanguage(), "de");
    EXPECT_EQ(ByteFormat::shortText(1'234'567), "1,2 MB");
    ASSERT_TRUE(preferences.setPreferredLanguage(std::nullopt));
    preferences.applyLanguage();
    EXPECT_EQ(CoreStrings::overrideLanguage(), std::nullopt);
    EXPECT_EQ(ByteFormat::overrideLocale(), std::nullopt);
}

const Setting& named(std::string_view name) {
    const Setting* setting = settingNamed(name);
    if (setting == nullptr) throw std::invalid_argument(std::string(name));
    return *setting;
}

TEST(SettingTable, UnderstandsWhatAPersonTypes) {
    using Case = std::tuple<const char*, List, DefaultsValue>;
    const Case cases[] = {
        {"low-disk-threshold", {"20GB"}, std::uint64_t{20'000'000'000}},
        {"low-disk-threshold", {"0.001kb"}, std::uint64_t{1}},
        {"low-disk-threshold", {"18446744073709551615"}, ~std::uint64_t{0}},
        {"low-disk-threshold", {}, std::monostate()},
        {"auto-clean", {"ON"}, true},
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
        fileDefaults(home.text("p.json", R"({"brindle.cadence": "Daily", "brindle.lowDiskThreshold": -5,
        "brindle.protectedPaths": ["keep"], "brindle.autoClean": "true",
        "brindle.disabledModules": ["teleporter", "go"], "brindle.projectRoots": ["a,b", "c\\"]})"));
    const auto shown = [&](std::string_view name) { return *shownSetting(named(name), *defaults); };
    EXPECT_EQ(shown("cadence"), (ShownSetting{Origin::unusable, "weekly"}));
    EXPECT_EQ(shown("low-disk-threshold"), (ShownSetting{Origin::unusable, "20GB"}));
    EXPECT_EQ(shown("protected-paths").origin, Origin::unusable);
    EXPECT_EQ(shown("auto-clean"), (ShownSetting{Origin::unusable, "false"}));
    EXPECT_EQ(shown("disabled-modules"), (ShownSetting{Origin::stored, "go"}));
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
