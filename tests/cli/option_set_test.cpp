#include "cli/option_set.h"

#include <gtest/gtest.h>

#include "cli/completion.h"
#include "cli/exit_code.h"
#include "cli/help.h"
#include "cli/man_page.h"
#include "core/platform/files.h"
#include "tests/cli/collected_run.h"

namespace brindle {

namespace {

using test::contains;
using test::expectAll;
using test::unwrapped;

std::string manualOf(const OptionSet& set) {
    std::string text = manPage(set);
    std::erase(text, '\\');
    return text;
}

}  // namespace

TEST(OptionSet, EveryOptionIsInHelpManualAndCompletions) {
    const OptionSet set;
    const std::string manual = manualOf(set);
    std::vector<const CLI::App*> apps = set.commands();
    ASSERT_EQ(apps.size(), 16U);
    apps.push_back(&set.program());
    for (const CLI::App* app : apps) {
        const std::string name = app == &set.program() ? "" : app->get_name();
        const std::string help = unwrapped(helpText(set, name, {}));
        expectAll({" " + name}, unwrapped(helpText(set, "", {})));
        for (const CLI::Option* option : OptionSet::optionsOf(*app)) {
            const std::string heading = optionHeading(*option);
            expectAll({heading + " " + optionMeaning(set, *option)}, help);
            expectAll({heading + "fR\n" + optionMeaning(set, *option)}, manual);
            for (const std::string& spelled : OptionSet::names(*option)) {
                for (const char* shell : {"bash", "zsh"}) expectAll({spelled}, completionScript(set, shell));
                const std::string fish = (spelled.starts_with("--") ? " -l " : " -s ") +
                                         spelled.substr(spelled.rfind('-') == 0 ? 1 : 2);
                if (option != app->get_help_ptr()) expectAll({fish}, completionScript(set, "fish"));
            }
        }
        ASSERT_FALSE(set.examples(*app).empty()) << name;
        expectAll({set.examples(*app).front().line}, help);
    }
}

TEST(OptionSet, IsDocumentedWithEveryExitCode) {
    const auto document = readFile(test::resourcesFolder() + "/../docs/cli.md");
    ASSERT_TRUE(document);
    const OptionSet set;
    for (const ExitCodeMeaning& each : kExitCodes) {
        const std::string meaning(each.meaning);
        expectAll({"| " + std::to_string(number(each.code)) + " | " + meaning}, *document);
        expectAll({meaning}, manualOf(set));
    }
    for (const CLI::App* command : set.commands()) {
        expectAll({"brindle " + command->get_name()}, *document);
        for (const CLI::Option* option : OptionSet::optionsOf(*command)) {
            expectAll({OptionSet::names(*option).back()}, *document);
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
        EXPECT_TRUE(options->command == Command::scan && options->isJson && options->home == "/a");
        EXPECT_TRUE(options->language == "de" && options->only == ModuleID::go);
        EXPECT_EQ(options->filter.leastBytes, 1'500'000U);
    }
}

TEST(OptionSet, SaysWhatItDidNotUnderstand) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"scna"}, "there is no command scna; did you mean scan?"},
        {{"sc"}, "there is no command sc"},  // nothing is abbreviated
        {{"scan", "--jsno"}, "there is no option --jsno; did you mean --json?"},
        {{"scan", "there"}, "scan does not know what to do with there"},
        {{"scan", "--json=3"}, "--json takes no value"},
        {{"scan", "--home"}, "--home needs a value"},
        {{"scan", "--only", "pyton"}, "did you mean python?"},
        {{"scan", "--min-size", ""}, "is no size"},
        {{"scan", "--lang", "xx"}, "--lang: xx is none of en, pt-PT, es, fr, de"},
        {{"explain"}, "explain needs to be told what: ITEM|PATH is missing"},
        {{"settings", "cadence", "daily", "--reset"}, "--reset takes no value"},
        {{"project", ".", "--json", "--recover"}, "--recover asks a question, so it does not go with --json"},
        {{"projects", "--sort", "sise"}, "--sort: sise is none of size, age, name; did you mean size?"},
        {{"--json"}, "--json needs a command"},
    };
    for (const auto& [arguments, sentence] : cases) {
        OptionSet set;
        const auto options = set.parse(arguments);
        ASSERT_FALSE(options) << sentence;
        expectAll({sentence}, options.error().sentence);
    }
}

TEST(OptionSet, UnderstandsHelpProjectsAndValuesAsTheyAre) {
    using Arguments = std::vector<std::string>;
    for (const Arguments& arguments :
         {Arguments{"help", "scan"}, Arguments{"scan", "--safe", "-h"}, Arguments{"--help", "scan"}}) {
        const auto options = OptionSet().parse(arguments);
        ASSERT_TRUE(options);
        EXPECT_TRUE(options->command == Command::help && options->helpTopic == "scan");
    }
    const auto list = OptionSet().parse({"projects", "--dormant", "--sort", "age"});
    EXPECT_TRUE(list && list->onlyDormant && list->order == ProjectOrder::age);
    const auto values =
        OptionSet().parse({"settings", "project-roots", "[a,b]", "", "scan", "--", "-x", "--json"});
    ASSERT_TRUE(values) << values.error().sentence;
    EXPECT_EQ(values->settingTexts, (Arguments{"[a,b]", "", "scan", "-x", "--json"}))
        << "handed on unchanged";
}

}  // namespace brindle
