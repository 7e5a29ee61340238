#include "cli/option_set.h"

#include <gtest/gtest.h>

#include "cli/completion.h"
#include "cli/exit_code.h"
#include "cli/help.h"
#include "cli/man_page.h"
#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle {

namespace {

bool lacks(const std::string& text, const std::string& part) {
    return text.find(part) == std::string::npos;
}

std::string withoutBackslashes(std::string text) {
    std::erase(text, '\\');
    return text;
}

// Every line break and run of blanks is one blank: help is wrapped.
std::string unwrapped(const std::string& text) {
    std::string plain;
    for (const char letter : text) {
        const bool isBlank = letter == ' ' || letter == '\n';
        if (!isBlank || !plain.ends_with(' ')) plain += isBlank ? ' ' : letter;
    }
    return plain;
}

}  // namespace

TEST(OptionSet, EveryOptionIsInHelpManualAndCompletions) {
    const OptionSet set;
    const std::string manual = withoutBackslashes(manPage(set));
    std::vector<const CLI::App*> apps = set.commands();
    ASSERT_EQ(apps.size(), 8U);
    apps.push_back(&set.program());
    for (const CLI::App* app : apps) {
        const std::string name = app == &set.program() ? "" : app->get_name();
        const std::string help = unwrapped(helpText(set, name, {}));
        EXPECT_FALSE(lacks(unwrapped(helpText(set, "", {})), " " + name)) << name;
        for (const CLI::Option* option : OptionSet::optionsOf(*app)) {
            const std::string heading = optionHeading(*option);
            EXPECT_FALSE(lacks(help, heading + " " + optionMeaning(set, *option))) << heading;
            EXPECT_FALSE(lacks(manual, heading + "fR\n" + optionMeaning(set, *option))) << heading;
            for (const std::string& spelled : OptionSet::names(*option)) {
                for (const char* shell : {"bash", "zsh"}) {
                    EXPECT_FALSE(lacks(completionScript(set, shell), spelled)) << shell << " " << spelled;
                }
                const std::string fish = (spelled.starts_with("--") ? " -l " : " -s ") +
                                         spelled.substr(spelled.rfind('-') == 0 ? 1 : 2);
                if (option != app->get_help_ptr()) {
                    EXPECT_FALSE(lacks(completionScript(set, "fish"), fish)) << spelled;
                }
            }
        }
        ASSERT_FALSE(set.examples(*app).empty()) << name;
        EXPECT_FALSE(lacks(help, set.examples(*app).front().line)) << name;
    }
}

TEST(OptionSet, IsDocumentedWithEveryExitCode) {
    const auto document = readFile(test::resourcesFolder() + "/../docs/cli.md");
    ASSERT_TRUE(document);
    const OptionSet set;
    const std::string manual = withoutBackslashes(manPage(set));
    for (const ExitCodeMeaning& each : kExitCodes) {
        const std::string row = "| " + std::to_string(number(each.code)) + " | " + std::string(each.meaning);
        EXPECT_FALSE(lacks(*document, row)) << row;
        EXPECT_FALSE(lacks(manual, std::string(each.meaning)));
    }
    for (const CLI::App* command : set.commands()) {
        EXPECT_FALSE(lacks(*document, "brindle " + command->get_name())) << command->get_name();
        for (const CLI::Option* option : OptionSet::optionsOf(*command)) {
            EXPECT_FALSE(lacks(*document, OptionSet::names(*option).back())) << optionHeading(*option);
        }
    }
}

TEST(OptionSet, UnderstandsGlobalOptionsBeforeAndAfterTheCommand) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--json", "--home", "/a", "--lang", "de", "scan", "--only", "go",
                                   "--min-size", "1.5MB"},
          std::vector<std::string>{"scan", "--only=go", "--min-size=1500000", "--json", "--home=/a",
                                   "--lang=de"}}) {
        OptionSet set;
        const auto options = set.parse(arguments);
        ASSERT_TRUE(options) << options.error().sentence;
        EXPECT_EQ(options->command, Command::scan);
        EXPECT_TRUE(options->isJson);
        EXPECT_EQ(options->home, "/a");
        EXPECT_EQ(options->language, "de");
        EXPECT_EQ(options->only, ModuleID::go);
        EXPECT_EQ(options->filter.leastBytes, 1'500'000U);
    }
}

TEST(OptionSet, HandsSettingValuesOnUnchanged) {
    OptionSet set;
    const auto options = set.parse({"settings", "project-roots", "[a,b]", "", "scan", "--", "-x", "--json"});
    ASSERT_TRUE(options) << options.error().sentence;
    EXPECT_EQ(options->settingTexts, (std::vector<std::string>{"[a,b]", "", "scan", "-x", "--json"}));
}

TEST(OptionSet, SaysWhatItDidNotUnderstand) {
    struct Case {
        std::vector<std::string> arguments;
        std::string sentence;
    };
    const std::vector<Case> cases = {
        {{"scna"}, "there is no command scna; did you mean scan?"},
        {{"sc"}, "there is no command sc"},  // nothing is abbreviated
        {{"scan", "--jsno"}, "there is no option --jsno; did you mean --json?"},
        {{"scan", "-x"}, "there is no option -x"},
        {{"scan", "there"}, "scan does not know what to do with there"},
        {{"scan", "--json=3"}, "--json takes no value"},
        {{"scan", "--home"}, "--home needs a value"},
        {{"scan", "--only", "pyton"}, "did you mean python?"},
        {{"scan", "--min-size", "-5"}, "--min-size: -5 is no size"},
        {{"scan", "--min-size", ""}, "is no size"},
        {{"scan", "--lang", "xx"}, "--lang: xx is none of en, pt-PT, es, fr, de"},
        {{"explain"}, "explain needs to be told what: ITEM|PATH is missing"},
        {{"settings", "--reset"}, "--reset needs the name of a setting"},
        {{"settings", "cadence", "daily", "--reset"}, "--reset takes no value"},
        {{"completion", "tcsh"}, "tcsh is none of bash, zsh, fish"},
        {{"--json"}, "--json needs a command"},
    };
    for (const Case& each : cases) {
        OptionSet set;
        const auto options = set.parse(each.arguments);
        ASSERT_FALSE(options) << each.sentence;
        EXPECT_FALSE(lacks(options.error().sentence, each.sentence)) << options.error().sentence;
    }
}

TEST(OptionSet, ShowsTheSameHelpForTheOptionAndTheCommand) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"help", "scan"},
                                                      {"scan", "-h"},
                                                      {"scan", "--safe", "--help"},
                                                      {"--help", "scan"}}) {
        OptionSet set;
        const auto options = set.parse(arguments);
        ASSERT_TRUE(options);
        EXPECT_EQ(options->command, Command::help);
        EXPECT_EQ(options->helpTopic, "scan");
    }
}

}  // namespace brindle
