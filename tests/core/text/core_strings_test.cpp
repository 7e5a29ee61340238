#include "core/text/core_strings.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <thread>
#include <tuple>
#include <utility>

#include "core/text/byte_format.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::TestHome;

class Strings : public testing::Test {
  protected:
    void SetUp() override {
        home.text("en.lproj/core.json", R"({"Free": "Free", "only core": "core en", "both": "core en",
            "count.x": {"one": "%d thing", "other": "%d things"}, "count.en": {"one": "%d day", "other": "%d days"}})");
        home.text("fr.lproj/core.json", R"({"Free": "Libre", "%@ of %@": "%2$@ dont %1$@", "both": "core fr",
            "count.x": {"one": "%d chose", "other": "%d choses"}})");
        home.text("pl.lproj/core.json",
                  R"({"count.x": {"one": "%d plik", "few": "%d pliki", "many": "%d plików",
            "other": "%d pliku"}, "count.y": {"one": "%d dzień", "other": "%d dni"}, "count.flat": "%d razem"})");
        home.text("main/en.lproj/cli.json", R"({"both": "main en", "only main": "main en"})");
        home.text("main/fr.lproj/cli.json", R"({"both": "main fr", "only main": "main fr"})");
        CoreStrings::setBundles({home.path(), "core", {"en"}}, {home.path("main"), "cli", {"en"}});
    }

    void TearDown() override {
        CoreStrings::setOverrideLanguage(std::nullopt);
        CoreStrings::setBundles({}, {});
    }

    TestHome home;
};

TEST_F(Strings, AsksTheCoreThenTheProgramThenAnswersTheKey) {
    using Case = std::tuple<std::optional<std::string>, const char*, const char*>;
    const Case cases[] = {{std::nullopt, "", ""},
                          {std::nullopt, "both", "core en"},
                          {std::nullopt, "only main", "main en"},
                          {"fr", "Free", "Libre"},
                          {"fr", "only core", "only core"},
                          {"pl", "only main", "main en"},
                          {"../en", "only core", "core en"}};
    for (const auto& [language, key, text] : cases) {
        CoreStrings::setOverrideLanguage(language);
        EXPECT_EQ(localized(key), text) << language.value_or("system");
    }
    CoreStrings::setBundles({}, {});
    EXPECT_EQ(localized("both"), "both");
}

TEST_F(Strings, FillsPlaceholdersAfterTheLookup) {
    EXPECT_EQ(localized("%@ of %@", "a", std::string("b")), "a of b");
    EXPECT_EQ(localized("%@ and %@", "%@ 100%", "b"), "%@ 100% and b");
    EXPECT_EQ(localized("100%% of %@, 5% off, %d, %", "x"), "100% of x, 5% off, %d, %");
    EXPECT_EQ(localized("%@ %@ %3$@ %0$@ %9999999999999999999999$@", "x"),
              "x %@ %3$@ %0$@ %9999999999999999999999$@");
    CoreStrings::setOverrideLanguage("fr");
    EXPECT_EQ(localized("%@ of %@", "un", "deux"), "deux dont un");
}

TEST_F(Strings, ChoosesThePluralFormByTheRulesOfTheLanguageItWasFoundIn) {
    using Case = std::tuple<const char*, const char*, std::int64_t, const char*>;
    const Case cases[] = {{"en", "count.x", 0, "0 things"},  {"en", "count.x", 1, "1 thing"},
                          {"fr", "count.x", 0, "0 chose"},   {"fr", "count.x", 1'000'000, "1,000,000 choses"},
                          {"pl", "count.x", 22, "22 pliki"}, {"pl", "count.x", 12, "12 plików"},
                          {"pl", "count.y", 2, "2 dni"},     {"pl", "count.flat", 1, "1 razem"},
                          {"fr", "count.en", 0, "0 days"},   {"fr", "count.nowhere", 3, "count.nowhere"}};
    for (const auto& [language, key, n, text] : cases) {
        CoreStrings::setOverrideLanguage(language);
        EXPECT_EQ(CoreStrings::plural(key, n), text) << language;
    }
}

TEST_F(Strings, ShowsTheOldOrTheNewLanguageWhileItChanges) {
    std::atomic<bool> isDone = false;
    std::atomic<int> strange = 0;
    const auto read = [&] {
        while (!isDone) {
            const std::string text = localized("Free");
            const std::string size = ByteFormat::shortText(1500);
            const std::string phrase = CoreStrings::plural("count.x", 1234);
            strange += text == "Free" || text == "Libre" ? 0 : 1;
            strange += size == "1.5 KB" || size == "1,5 KB" ? 0 : 1;
            strange += phrase.starts_with("1.234 ") || phrase.starts_with("1,234 ") ? 0 : 1;
        }
    };
    std::vector<std::jthread> readers;
    for (int reader = 0; reader < 3; ++reader) readers.emplace_back(read);
    for (int change = 0; change < 200; ++change) {
        CoreStrings::setOverrideLanguage(change % 2 == 0 ? std::optional<std::string>("fr") : std::nullopt);
        ByteFormat::setOverrideLocale(change % 2 == 0 ? std::optional<std::string>("de") : std::nullopt);
    }
    isDone = true;
    readers.clear();
    ByteFormat::setOverrideLocale(std::nullopt);
    EXPECT_EQ(strange, 0);
}

TEST(ResourceBundle, AnswersInTheLanguageThatSuitsTheSystemBest) {
    TestHome home;
    for (const char* language : {"de", "en", "es", "fr", "pt-PT"})
        home.text(std::string(language) + ".lproj/core.json", "{}");
    home.text("xx.lproj", "a file, not a folder");
    using Case = std::pair<std::vector<std::string>, const char*>;
    const Case cases[] = {{{}, "en"},
                          {{"fr_CA.UTF-8"}, "fr"},
                          {{"de-AT", "fr"}, "de"},
                          {{"pt_BR", "en"}, "pt-PT"},
                          {{"not a language", "de"}, "de"}};
    for (const auto& [system, language] : cases)
        EXPECT_EQ(ResourceBundle(home.path(), "core", system).language(), language);
    const ResourceBundle bundle(home.path(), "core", {});
    EXPECT_EQ(bundle.languages(), (std::vector<std::string>{"de", "en", "es", "fr", "pt-PT"}));
    EXPECT_EQ(bundle.answeringIn("pt").language(), "en");
}

TEST(ResourceBundle, TakesWhatIsUsableAndSaysWhyThereIsNothing) {
    TestHome home;
    const auto problem = [&](const char* content) {
        home.text("en.lproj/core.json", content);
        return ResourceBundle(home.path(), "core", {}).problem();
    };
    EXPECT_EQ(ResourceBundle(home.path("absent"), "core", {"fr"}).problem(),
              home.path("absent/en.lproj/core.json") + " could not be read");
    for (const char* broken : {"{\"cut\": \"sho", "[1]", "{\"a\": \"\xFF\"}"})
        EXPECT_EQ(problem(broken), home.path("en.lproj/core.json") + " is not a JSON object");
    EXPECT_EQ(problem(R"({"a": 1, "b": {"one": "%d"}, "c": {"one": 1, "other": "%d cs"}, "e": "E"})"), "");
    const ResourceBundle bundle(home.path(), "core", {});
    for (const char* key : {"a", "b", "c"}) EXPECT_EQ(bundle.text(key, "none"), "none");
    EXPECT_EQ(bundle.text("e", "none"), "E");
    EXPECT_EQ(bundle.plural("b", 1, "none"), "none");
    EXPECT_EQ(bundle.plural("c", 1, "none"), "%d cs");
}

TEST(EnglishCatalogue, RepeatsItsKeysOrHoldsBothPluralForms) {
    const ResourceBundle bundle(test::resourcesFolder(), "core", {"en"});
    ASSERT_EQ(bundle.problem(), "");
    std::ifstream stream(test::resourcesFolder() + "/en.lproj/core.json");
    const auto catalogue = nlohmann::json::parse(stream);
    for (const auto& [key, value] : catalogue.items()) {
        const std::string one = bundle.plural(key, 1, ""), several = bundle.plural(key, 2, "");
        const bool isPlural = key.starts_with("count.");
        EXPECT_TRUE(isPlural ? one != several && several.starts_with("%d ") : bundle.text(key, "") == key)
            << key;
    }
}

class Formatting : public testing::Test {
  protected:
    void TearDown() override {
        ByteFormat::setOverrideLocale(std::nullopt);
        ByteFormat::setSystemLocale("en_US");
    }
};

TEST_F(Formatting, ChoosesTheUnitBeforeItRounds) {
    using Case = std::pair<std::uint64_t, ByteFormat::Halves>;
    const Case cases[] = {{0, {"0", "B"}},
                          {999, {"999", "B"}},
                          {1000, {"1.0", "KB"}},
                          {1250, {"1.2", "KB"}},
                          {1350, {"1.4", "KB"}},
                          {999'949, {"999.9", "KB"}},
                          {999'950, {"1000.0", "KB"}},
                          {1'000'000'000'000'000'000, {"1000.0", "PB"}},
                          {std::numeric_limits<std::uint64_t>::max(), {"18446.7", "PB"}}};
    for (const auto& [bytes, halves] : cases) {
        EXPECT_EQ(ByteFormat::split(bytes), halves) << bytes;
        EXPECT_EQ(ByteFormat::shortText(bytes), ByteFormat::value(bytes) + " " + ByteFormat::unit(bytes));
    }
}

TEST_F(Formatting, WritesNumbersAsTheLocaleDoes) {
    using Case = std::tuple<const char*, const char*, const char*, const char*>;
    const Case cases[] = {
        {"de", "1234,6 PB", "4,0s", "1.234.567"},           {"de_CH.UTF-8", "1234.6 PB", "4.0s", "1’234’567"},
        {"fr", "1234,6 PB", "4,0s", "1\u202F234\u202F567"}, {"hi_IN", "1234.6 PB", "4.0s", "12,34,567"},
        {"C.UTF-8", "1234.6 PB", "4.0s", "1,234,567"},      {"", "1234.6 PB", "4.0s", "1,234,567"}};
    for (const auto& [locale, size, duration, count] : cases) {
        ByteFormat::setSystemLocale(locale);
        EXPECT_EQ(ByteFormat::shortText(1'234'567'000'000'000'000), size) << locale;
        EXPECT_EQ(ByteFormat::seconds(4.04), duration) << locale;
        EXPECT_EQ(ByteFormat::count(1'234'567), count) << locale;
    }
    ByteFormat::setOverrideLocale("de");
    EXPECT_EQ(ByteFormat::count(1234), "1.234");
    ByteFormat::setOverrideLocale(std::nullopt);
    EXPECT_EQ(ByteFormat::count(std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,808");
}

TEST_F(Formatting, RoundsPercentagesAndKnowsNoShareOfNothing) {
    constexpr auto kMost = std::numeric_limits<std::uint64_t>::max();
    using Case = std::tuple<std::uint64_t, std::uint64_t, const char*>;
    const Case cases[] = {{1, 3, "33%"},    {2, 3, "67%"},          {1, 8, "13%"},
                          {5, 0, "0%"},     {0, 9, "0%"},           {3, 2, "150%"},
                          {1, kMost, "0%"}, {kMost, kMost, "100%"}, {kMost, 1, "1844674407370955161600%"}};
    for (const auto& [part, total, text] : cases) EXPECT_EQ(ByteFormat::percent(part, total), text);
}

}  // namespace
}  // namespace brindle
