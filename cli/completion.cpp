#include "cli/completion.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
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
        const bool isFolder = option->get_type_name() == "DIR";
        const bool isFile = option->get_type_name() == "FILE";
        text += fmt::format(
            "        {}) {}; return ;;\n", OptionSet::names(*option).back(),
            isFolder || isFile
                ? fmt::format("compopt -o filenames 2>/dev/null; _brindle_offer {}", isFolder ? "-d" : "-f")
                : fmt::format("_brindle_offer -W {}", shellQuoted(words(set.choices(*option)))));
    }
    return text;
}

std::string bashCommandCase(const OptionSet& set, const CLI::App& command) {
    return fmt::format("        {}) options={}; arguments={};{} ;;\n", command.get_name(),
                       shellQuoted(allNames(command)), shellQuoted(firstChoices(set, command)),
                       takesPath(command) ? " files=yes;" : "");
}

std::vector<std::string> namesTakingValues(const OptionSet& set) {
    std::vector<const CLI::App*> apps = set.commands();
    apps.push_back(&set.program());
    std::vector<std::string> names;
    for (const CLI::App* each : apps) {
        for (const CLI::Option* option : OptionSet::optionsOf(*each)) {
            if (OptionSet::takesValue(*option))
                std::ranges::copy(OptionSet::names(*option), std::back_inserter(names));
        }
    }
    return names;
}

// $PATTERN, $VALUES, $NAMES, $COMMANDS and $GENERAL stand for what the definitions say. No mapfile: the bash of
// macOS is too old for it. Where "=" separates words (it does unless the user says otherwise), "--only=x" comes
// as three of them.
constexpr std::string_view kBashScript = R"(# bash completion for brindle
_brindle_offer() {
    local each
    while IFS= read -r each; do COMPREPLY+=("$prefix$each"); done < <(compgen "$@" -- "$word")
}
_brindle() {
    local word before="" prefix="" ended="" command="" options="" arguments="" files="" positional=0 index
    local -a line=()
    COMPREPLY=()
    for ((index = 1; index <= COMP_CWORD; index++)); do
        word="${COMP_WORDS[index]}"
        if [[ "$word" == "=" && "${COMP_WORDS[index-1]}" == --* ]]; then
            ((index == COMP_CWORD)) && line+=("")
        else
            line+=("$word")
        fi
    done
    word="${line[${#line[@]}-1]}"
    ((${#line[@]} > 1)) && before="${line[${#line[@]}-2]}"
    if [[ "$word" == --*=* ]]; then
        before="${word%%=*}" prefix="${word%%=*}=" word="${word#*=}"
    fi
    for ((index = 0; index < ${#line[@]} - 1; index++)); do
        if [[ -z "$ended" ]]; then
            case "${line[index]}" in
                --) ended=yes; continue ;;
                $PATTERN) ((index++)); continue ;;
                -*) continue ;;
            esac
        fi
        if [[ -z "$command" ]]; then command="${line[index]}"; else ((positional++)); fi
    done
    [[ -z "$ended" ]] && case "$before" in
$VALUES    esac
    case "$command" in
        "") arguments=$NAMES ;;
$COMMANDS    esac
    ((positional > 0)) && arguments="" files=""
    ((positional > 1)) && options=""
    if [[ "$word" == -* && -z "$ended" ]]; then
        _brindle_offer -W $GENERAL" $options"
    else
        [[ -n "$arguments" ]] && _brindle_offer -W "$arguments"
        [[ -n "$files" ]] && { compopt -o filenames 2>/dev/null; _brindle_offer -f; }
    fi
    return 0
}
complete -F _brindle brindle
)";

std::string replaced(std::string text, std::string_view what, const std::string& with) {
    const std::size_t at = text.find(what);
    return at == std::string::npos ? text : text.replace(at, what.size(), with);
}

std::string bashScript(const OptionSet& set) {
    std::string values = bashValueCases(set, set.program());
    std::string commands;
    for (const CLI::App* each : set.commands()) {
        values += bashValueCases(set, *each);
        commands += bashCommandCase(set, *each);
    }
    std::string pattern;
    for (const std::string& name : namesTakingValues(set)) pattern += (pattern.empty() ? "" : "|") + name;
    std::string script = replaced(std::string(kBashScript), "$PATTERN", pattern);
    script = replaced(std::move(script), "$VALUES", values);
    script = replaced(std::move(script), "$NAMES", shellQuoted(commandNames(set)));
    script = replaced(std::move(script), "$COMMANDS", commands);
    return replaced(std::move(script), "$GENERAL", shellQuoted(allNames(set.program())));
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
    if (type.contains("PATH") || type == "FILE") return "_files";
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
        const std::string type = option.get_type_name();
        line += type == "DIR"    ? " -x -a '(__fish_complete_directories)'"
                : type == "FILE" ? " -r -F"
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
