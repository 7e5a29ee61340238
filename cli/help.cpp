#include "cli/help.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "cli/display_width.h"
#include "cli/exit_code.h"

namespace brindle {

namespace {

using HelpRow = std::pair<std::string, std::string>;

// Two columns; a left side that is too wide, or a narrow terminal, puts the right side on a line of its own.
std::string table(const std::vector<HelpRow>& rows, const Look& look) {
    constexpr unsigned kMostLeft = 30;
    unsigned left = 0;
    for (const HelpRow& row : rows) {
        if (displayWidth(row.first) <= kMostLeft) left = std::max(left, displayWidth(row.first));
    }
    if (look.isNarrow()) left = 4;
    std::string text;
    for (const auto& [name, meaning] : rows) {
        const bool isBeside = displayWidth(name) <= left;
        text += "  " + padRight(name, left) + (isBeside ? "" : "\n");
        bool isFirst = isBeside;
        for (const std::string& line : wrap(meaning, look.width - left - 4)) {
            text += (isFirst ? std::string("  ") : std::string(left + 4, ' ')) + line + "\n";
            isFirst = false;
        }
    }
    return text;
}

// Examples are there to be copied: they are never broken.
std::string exampleLines(const OptionSet& set, const CLI::App& command, const Look& look) {
    unsigned lines = 0;
    unsigned meanings = 0;
    for (const Example& each : set.examples(command)) {
        lines = std::max(lines, displayWidth(each.line));
        meanings = std::max(meanings, displayWidth(each.meaning));
    }
    const bool isBeside = 2 + lines + 4 + meanings <= look.width;
    std::string text;
    for (const Example& each : set.examples(command)) {
        if (isBeside) {
            text += "  " + padRight(each.line, lines) + "  " + look.palette.quiet("# " + each.meaning) + "\n";
            continue;
        }
        for (const std::string& line : wrap(each.meaning, look.width - 4)) {
            text += "  " + look.palette.quiet("# " + line) + "\n";
        }
        text += "  " + each.line + "\n";
    }
    return text;
}

std::string paragraph(const std::string& words, const Look& look) {
    std::string text;
    for (const std::string& line : wrap(words, look.width)) text += line + "\n";
    return text;
}

std::vector<HelpRow> optionRows(const OptionSet& set, const CLI::App& command) {
    std::vector<HelpRow> rows;
    for (const CLI::Option* option : OptionSet::optionsOf(command)) {
        rows.emplace_back(optionHeading(*option), optionMeaning(set, *option));
    }
    return rows;
}

std::vector<HelpRow> argumentRows(const OptionSet& set, const CLI::App& command) {
    std::vector<HelpRow> rows;
    for (const CLI::Option* argument : OptionSet::argumentsOf(command)) {
        rows.emplace_back(argument->get_type_name(), optionMeaning(set, *argument));
    }
    return rows;
}

std::string programSections(const OptionSet& set, const Look& look) {
    std::vector<HelpRow> commands;
    for (const CLI::App* each : set.commands())
        commands.emplace_back(each->get_name(), each->get_description());
    std::vector<HelpRow> codes;
    for (const ExitCodeMeaning& each : kExitCodes) {
        codes.emplace_back(std::to_string(number(each.code)), each.meaning);
    }
    return "\n" + look.palette.heading("Commands") + "\n" + table(commands, look) + "\n" +
           look.palette.heading("Options of every command") + "\n" +
           table(optionRows(set, set.program()), look) + "\n" + look.palette.heading("Exit codes") + "\n" +
           table(codes, look);
}

std::string commandSections(const OptionSet& set, const CLI::App& command, const Look& look) {
    std::string text;
    const std::vector<HelpRow> arguments = argumentRows(set, command);
    if (!arguments.empty()) {
        text += "\n" + look.palette.heading("Arguments") + "\n" + table(arguments, look);
    }
    text += "\n" + look.palette.heading("Options") + "\n" + table(optionRows(set, command), look);
    std::vector<HelpRow> general = optionRows(set, set.program());
    std::erase_if(general, [](const HelpRow& row) { return row.first.ends_with("--help"); });
    return text + "\n" + look.palette.heading("Options of every command") + "\n" + table(general, look);
}

}  // namespace

std::string optionHeading(const CLI::Option& option) {
    std::string heading;
    for (const std::string& name : OptionSet::names(option)) heading += (heading.empty() ? "" : ", ") + name;
    if (OptionSet::takesValue(option)) heading += " " + option.get_type_name();
    return heading;
}

std::string optionMeaning(const OptionSet& set, const CLI::Option& option) {
    std::string list;
    for (const std::string& choice : set.choices(option)) list += (list.empty() ? "" : ", ") + choice;
    return option.get_description() + (list.empty() ? "" : ": " + list);
}

std::string usageLine(const OptionSet& set, const CLI::App& command) {
    if (&command == &set.program()) return "brindle COMMAND [OPTIONS]";
    std::string line = "brindle " + command.get_name() + " [OPTIONS]";
    for (const CLI::Option* argument : OptionSet::argumentsOf(command)) {
        const std::string name = argument->get_type_name();
        const bool isList = argument->get_items_expected_max() > 1;
        line += argument->get_required() ? " " + name : fmt::format(" [{}{}]", name, isList ? "..." : "");
    }
    return line;
}

std::string helpText(const OptionSet& set, const std::string& commandName, const Look& look) {
    const CLI::App* named = set.commandNamed(commandName);
    const CLI::App& command = named != nullptr ? *named : set.program();
    std::string about = command.get_description();
    if (named != nullptr) about.front() = static_cast<char>(about.front() - 'a' + 'A');
    return look.palette.heading("Examples") + "\n" + exampleLines(set, command, look) + "\n" +
           look.palette.heading("Usage") + "\n  " + usageLine(set, command) + "\n\n" +
           paragraph(about + (named != nullptr ? "." : ""), look) +
           (named != nullptr ? commandSections(set, command, look) : programSections(set, look));
}

}  // namespace brindle
