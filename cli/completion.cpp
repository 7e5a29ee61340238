#include "cli/completion.h"

#include <fmt/format.h>

#include <vector>

namespace brindle {

namespace {

std::string words(const std::vector<std::string>& list) {
    std::string text;
    for (const std::string& each : list) text += (text.empty() ? "" : " ") + each;
    return text;
}

// Between single quotes, for all three shells.
std::string shellQuoted(std::string_view text) {
    std::string safe = "'";
    for (const char letter : text) safe += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return safe + "'";
}

std::string firstChoices(const OptionSet& set, const CLI::App& command) {
    const auto arguments = OptionSet::argumentsOf(command);
    return arguments.empty() ? "" : words(set.choices(*arguments.front()));
}

bool takesPath(const CLI::App& command) {
    const auto arguments = OptionSet::argumentsOf(command);
    return !arguments.empty() && arguments.front()->get_type_name().contains("PATH");
}

std::string allNames(const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : OptionSet::optionsOf(command)) {
        text += (text.empty() ? "" : " ") + words(OptionSet::names(*option));
    }
    return text;
}

std::string commandNames(const OptionSet& set) {
    std::vector<std::string> names;
    for (const CLI::App* each : set.commands()) names.push_back(each->get_name());
    return words(names);
}

// --- bash ---

// What follows an option that takes a value.
std::string bashValueCases(const OptionSet& set, const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : OptionSet::optionsOf(command)) {
        if (!OptionSet::takesValue(*option)) continue;
        const std::string choices = words(set.choices(*option));
        const bool isFolder = option->get_type_name() == "DIR";
        text += fmt::format("        {}) {} return ;;\n", OptionSet::names(*option).back(),
                            isFolder
                                ? R"(compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -d -- "$word"));)"
                                : fmt::format(R"(COMPREPLY=($(compgen -W "{}" -- "$word"));)", choices));
    }
    return text;
}

std::string bashCommandCase(const OptionSet& set, const CLI::App& command) {
    const std::string files =
        takesPath(command) ? R"( compopt -o filenames 2>/dev/null; COMPREPLY+=($(compgen -f -- "$word"));)"
                           : "";
    return fmt::format("        {}) options=\"{}\"; arguments=\"{}\";{} ;;\n", command.get_name(),
                       allNames(command), firstChoices(set, command), files);
}

std::string namesTakingValues(const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : OptionSet::optionsOf(command)) {
        if (!OptionSet::takesValue(*option)) continue;
        for (const std::string& name : OptionSet::names(*option)) text += (text.empty() ? "" : "|") + name;
    }
    return text;
}

std::string bashScript(const OptionSet& set) {
    std::string values = bashValueCases(set, set.program());
    std::string commands;
    for (const CLI::App* each : set.commands()) {
        values += bashValueCases(set, *each);
        commands += bashCommandCase(set, *each);
    }
    return fmt::format(R"(# bash completion for brindle
_brindle() {{
    local word="${{COMP_WORDS[COMP_CWORD]}}" before="${{COMP_WORDS[COMP_CWORD-1]}}"
    local command="" options="" arguments="" index
    COMPREPLY=()
    case "$before" in
{})"
                       R"(    esac
    for ((index = 1; index < COMP_CWORD; index++)); do
        case "${{COMP_WORDS[index]}}" in
            {}) ((index++)) ;;
            -*) ;;
            *) command="${{COMP_WORDS[index]}}"; break ;;
        esac
    done
    case "$command" in
        "") arguments="{}" ;;
{})"
                       R"(    esac
    if [[ "$word" == -* ]]; then
        COMPREPLY=($(compgen -W "{} $options" -- "$word"))
    else
        COMPREPLY+=($(compgen -W "$arguments" -- "$word"))
    fi
}}
complete -F _brindle brindle
)",
                       values, namesTakingValues(set.program()), commandNames(set), commands,
                       allNames(set.program()));
}

// --- zsh ---

std::string zshText(std::string_view text) {
    std::string safe;
    for (const char letter : text) {
        if (letter == '[' || letter == ']' || letter == ':' || letter == '\\') safe += '\\';
        safe += letter;
    }
    return safe;
}

std::string zshAction(const OptionSet& set, const CLI::Option& option) {
    const std::string type = option.get_type_name();
    if (type == "DIR") return "_files -/";
    if (type.contains("PATH")) return "_files";
    const std::string choices = words(set.choices(option));
    return choices.empty() ? " " : fmt::format("({})", choices);
}

std::string zshSpecs(const OptionSet& set, const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : OptionSet::optionsOf(command)) {
        for (const std::string& name : OptionSet::names(*option)) {
            std::string spec = fmt::format("{}[{}]", name, zshText(option->get_description()));
            if (OptionSet::takesValue(*option)) {
                spec += fmt::format(":{}:{}", zshText(option->get_type_name()), zshAction(set, *option));
            }
            text += " \\\n            " + shellQuoted(spec);
        }
    }
    return text;
}

std::string zshCommandCase(const OptionSet& set, const CLI::App& command) {
    std::string specs = zshSpecs(set, command) + zshSpecs(set, set.program());
    for (const CLI::Option* argument : OptionSet::argumentsOf(command)) {
        const bool isList = argument->get_items_expected_max() > 1;
        specs += " \\\n            " +
                 shellQuoted(fmt::format("{}:{}:{}", isList ? "*" : "", zshText(argument->get_type_name()),
                                         zshAction(set, *argument)));
    }
    return fmt::format("        {})\n            _arguments -s{} ;;\n", command.get_name(), specs);
}

std::string zshScript(const OptionSet& set) {
    std::string described;
    std::string cases;
    for (const CLI::App* each : set.commands()) {
        described +=
            "        " + shellQuoted(each->get_name() + ":" + zshText(each->get_description())) + "\n";
        cases += zshCommandCase(set, *each);
    }
    return fmt::format(R"(#compdef brindle
_brindle() {{
    local curcontext="$curcontext" state line
    local -a commands
    commands=(
{})"
                       R"(    )
    _arguments -C{} \
            '1: :->command' '*:: :->rest'
    case "$state" in
        command) _describe command commands ;;
        rest) case "$line[1]" in
{})"
                       R"(        esac ;;
    esac
}}
if [ "$funcstack[1]" = "_brindle" ]; then _brindle "$@"; else compdef _brindle brindle; fi
)",
                       described, zshSpecs(set, set.program()), cases);
}

// --- fish ---

std::string fishOption(const OptionSet& set, const CLI::Option& option, std::string_view condition) {
    std::string line = fmt::format("complete -c brindle{}", condition);
    for (const std::string& name : option.get_snames()) line += " -s " + name;
    for (const std::string& name : option.get_lnames()) line += " -l " + name;
    if (OptionSet::takesValue(option)) {
        line += option.get_type_name() == "DIR" ? " -x -a '(__fish_complete_directories)'"
                                                : " -x -a " + shellQuoted(words(set.choices(option)));
    }
    return line + " -d " + shellQuoted(option.get_description()) + "\n";
}

std::string fishScript(const OptionSet& set) {
    std::string text = "# fish completion for brindle\ncomplete -c brindle -f\n";
    for (const CLI::App* each : set.commands()) {
        text += fmt::format("complete -c brindle -n __fish_use_subcommand -a {} -d {}\n", each->get_name(),
                            shellQuoted(each->get_description()));
    }
    for (const CLI::Option* option : OptionSet::optionsOf(set.program()))
        text += fishOption(set, *option, "");
    for (const CLI::App* each : set.commands()) {
        const std::string condition = fmt::format(" -n '__fish_seen_subcommand_from {}'", each->get_name());
        for (const CLI::Option* option : OptionSet::optionsOf(*each)) {
            if (option != each->get_help_ptr()) text += fishOption(set, *option, condition);
        }
        const std::string choices = firstChoices(set, *each);
        if (!choices.empty())
            text += fmt::format("complete -c brindle{} -a {}\n", condition, shellQuoted(choices));
        if (takesPath(*each)) text += fmt::format("complete -c brindle{} -F\n", condition);
    }
    return text;
}

}  // namespace

std::string completionScript(const OptionSet& set, std::string_view shell) {
    if (shell == "bash") return bashScript(set);
    if (shell == "zsh") return zshScript(set);
    return fishScript(set);
}

}  // namespace brindle
