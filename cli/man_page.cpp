#include "cli/man_page.h"

#include <fmt/format.h>

#include "cli/exit_code.h"
#include "cli/help.h"

namespace brindle {

namespace {

// A dash stays a dash that can be copied, a backslash a backslash, and no line becomes a request.
std::string roff(std::string_view text) {
    std::string safe;
    for (const char letter : text) {
        if (letter == '\\') {
            safe += "\\e";
        } else if (letter == '-') {
            safe += "\\-";
        } else {
            safe += letter;
        }
    }
    return safe.starts_with('.') || safe.starts_with('\'') ? "\\&" + safe : safe;
}

std::string entry(std::string_view heading, std::string_view meaning) {
    return fmt::format(".TP\n\\fB{}\\fR\n{}.\n", roff(heading), roff(meaning));
}

std::string exampleEntries(const OptionSet& set, const CLI::App& command) {
    std::string text;
    for (const Example& each : set.examples(command)) text += entry(each.line, each.meaning);
    return text;
}

std::string optionEntries(const OptionSet& set, const CLI::App& command) {
    std::string text;
    for (const CLI::Option* argument : OptionSet::argumentsOf(command)) {
        text += entry(argument->get_type_name(), optionMeaning(set, *argument));
    }
    for (const CLI::Option* option : OptionSet::optionsOf(command)) {
        text += entry(optionHeading(*option), optionMeaning(set, *option));
    }
    return text;
}

std::string commandSection(const OptionSet& set, const CLI::App& command) {
    return fmt::format(".SS {}\n{}.\n.PP\n\\fB{}\\fR\n{}", command.get_name(),
                       roff(command.get_description()), roff(usageLine(set, command)),
                       exampleEntries(set, command) + optionEntries(set, command));
}

std::string environmentSection() {
    return ".SH ENVIRONMENT\n" + entry("HOME", "the home folder, unless --home names another") +
           entry("LC_ALL, LC_MESSAGES, LANGUAGE, LANG",
                 "the language, unless --lang or a setting names one") +
           entry("NO_COLOR, CLICOLOR, CLICOLOR_FORCE, TERM",
                 "NO_COLOR or CLICOLOR=0 or TERM=dumb: no colours; CLICOLOR_FORCE=1: colours also in a pipe");
}

std::string filesSection() {
    return ".SH FILES\n" +
           entry("$XDG_CONFIG_HOME/brindle/preferences.json",
                 "the preferences, where that variable names an absolute folder") +
           entry("~/.config/brindle/preferences.json", "otherwise; with --home, in DIR/.config/brindle") +
           entry("~/Library/Application Support/Brindle/history.json",
                 "the history of cleanups, on every system") +
           entry("~/Library/Preferences",
                 "on macOS: the preferences of the current user, as the system keeps them; brindle settings "
                 "names the place");
}

std::string exitSection() {
    std::string text = ".SH EXIT STATUS\n";
    for (const ExitCodeMeaning& each : kExitCodes)
        text += entry(std::to_string(number(each.code)), each.meaning);
    return text;
}

}  // namespace

std::string manPage(const OptionSet& set) {
    std::string text = ".TH BRINDLE 1 \"\" \"brindle " BRINDLE_VERSION "\" \"User Commands\"\n";
    text += ".SH NAME\nbrindle \\- find the storage that developer tools fill\n";
    text += fmt::format(".SH SYNOPSIS\n\\fB{}\\fR\n", roff(usageLine(set, set.program())));
    text += fmt::format(".SH DESCRIPTION\n{}\n", roff(set.program().get_description()));
    text += ".SH EXAMPLES\n" + exampleEntries(set, set.program());
    text += ".SH OPTIONS\nThey may stand before or after the command.\n" + optionEntries(set, set.program());
    text += ".SH COMMANDS\n";
    for (const CLI::App* command : set.commands()) text += commandSection(set, *command);
    return text + exitSection() + environmentSection() + filesSection();
}

}  // namespace brindle
