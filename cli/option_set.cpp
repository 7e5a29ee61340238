#include "cli/option_set.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "cli/option_text.h"
#include "cli/suggestion.h"
#include "core/modules/default_modules.h"
#include "core/settings/setting_keys.h"
#include "core/settings/setting_table.h"
#include "core/settings/setting_text.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::string_view kAbout =
    "Finds the storage that developer tools quietly fill, says what each pile of it is and how it comes "
    "back, and removes what you choose. \"brindle clean\" asks first, and what it did stands in the history, "
    "from which \"brindle restore\" puts back what lies in the Trash; \"brindle project PATH --recover\" "
    "pushes a project's commits, after asking.";

struct NamedCommand {
    std::string_view name;
    Command command;
};

constexpr std::array<NamedCommand, 16> kCommands = {{{"scan", Command::scan},
                                                     {"explain", Command::explain},
                                                     {"clean", Command::clean},
                                                     {"history", Command::history},
                                                     {"restore", Command::restore},
                                                     {"projects", Command::projects},
                                                     {"project", Command::project},
                                                     {"disk", Command::disk},
                                                     {"schedule", Command::schedule},
                                                     {"duplicates", Command::duplicates},
                                                     {"modules", Command::modules},
                                                     {"settings", Command::settings},
                                                     {"doctor", Command::doctor},
                                                     {"completion", Command::completion},
                                                     {"man", Command::man},
                                                     {"help", Command::help}}};

// CLI11 takes a value in brackets for a list of its own, and forgets about "--" on the way from a command to
// the program. A zero byte, which no argument can hold, keeps it from both.
void guard(std::vector<std::string>& arguments) {
    const auto mark = std::ranges::find(arguments, "--");
    for (auto each = arguments.begin(); each != arguments.end(); ++each) {
        if (each > mark || each->starts_with('[')) each->insert(each->begin(), '\0');
    }
    if (mark != arguments.end()) arguments.erase(mark);
}

// Of the modules that this version has. Projects are looked for by the scan itself.
std::vector<std::string> moduleNames() {
    std::vector<std::string> names;
    const ModuleList modules = defaultModules({});
    for (const ModuleID each : allCases<ModuleID>()) {
        const bool isBuilt =
            each == ModuleID::projects ||
            std::ranges::any_of(modules, [&](const auto& module) { return module->id() == each; });
        if (isBuilt) names.emplace_back(rawText(each));
    }
    return names;
}

std::vector<std::string> settingNames() {
    std::vector<std::string> names;
    for (const Setting& setting : allSettings()) names.emplace_back(setting.name);
    return names;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace

Command OptionSet::commandOf(std::string_view name) {
    const auto* found = std::ranges::find(kCommands, name, &NamedCommand::name);
    return found == kCommands.end() ? Command::help : found->command;
}

OptionSet::OptionSet() : program_(std::string(kAbout), "brindle") {
    program_.require_subcommand(0, 1);
    program_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    program_.set_help_flag("-h,--help", "show this help");
    program_.set_version_flag("--version", BRINDLE_VERSION, "show the version");
    examples_[&program_] = {{"brindle scan", "what takes space in your home folder"},
                            {"brindle explain python.pip", "all that is known of one item of the report"},
                            {"brindle clean --safe", "remove what is safe to remove, after asking"},
                            {"brindle projects --sort age", "your projects, longest untouched first"},
                            {"brindle doctor", "why something could not be measured"}};
    defineGlobals();
    defineScan();
    defineInspection();
    defineClean();
    defineHistory();
    defineProjects();
    defineSchedule();
    defineDuplicates();
    defineSettings();
    defineManual();
}

CLI::App& OptionSet::command(std::string_view name, std::string_view description,
                             std::vector<Example> examples) {
    CLI::App* made = program_.add_subcommand(std::string(name), std::string(description));
    made->fallthrough();
    made->set_help_flag("-h,--help", "show this help");
    examples_[made] = std::move(examples);
    return *made;
}

void OptionSet::addLeastSize(CLI::App& command, const std::string& description) {
    command.add_option("--min-size", typed_.leastSize, description)->type_name("SIZE");
}

void OptionSet::limitTo(const CLI::Option* option, std::vector<std::string> texts, bool isStrict) {
    choices_.insert_or_assign(option, Choices{std::move(texts), isStrict});
}

void OptionSet::defineGlobals() {
    program_
        .add_option("--home", typed_.home,
                    "look at the folder DIR as if it were your home, with its own preferences and history")
        ->type_name("DIR");
    addFlag(program_, "--json", typed_.json,
            "print one JSON document instead of text; its texts are always English");
    const CLI::Option* language =
        program_.add_option("--lang", typed_.language, "speak the language LANG")->type_name("LANG");
    limitTo(language, {kAvailableLanguages.begin(), kAvailableLanguages.end()});
    addFlag(program_, "--no-color", typed_.noColour, "no colours, whatever the terminal can do");
}

void OptionSet::defineScan() {
    CLI::App& scan =
        command("scan", "look at the home folder and report what takes space",
                {{"brindle scan", "everything"},
                 {"brindle scan --safe --min-size 500MB", "only what is safe to remove and worth it"},
                 {"brindle scan --only rust", "only what one module finds"},
                 {"brindle scan --json | jq .totals", "for a script"}});
    addFlag(scan, "--no-projects", typed_.noProjects, "do not look for software projects");
    const CLI::Option* only =
        scan.add_option("--only", typed_.only,
                        "run only the module MODULE, even one that the settings disable")
            ->type_name("MODULE");
    limitTo(only, moduleNames());
    addFlag(scan, "--safe", typed_.safe, "show items that are safe to remove");
    addFlag(scan, "--review", typed_.review, "show items that want a look first");
    addFlag(scan, "--protected", typed_.protected_, "show items that are never removed");
    addLeastSize(scan, "show items of SIZE or more: 100MB, 1.5GB, 500KB or bytes; decimal units");
    addFlag(scan, "--timings", typed_.timings, "say on standard error how long each step took");
}

void OptionSet::defineInspection() {
    CLI::App& explain = command("explain", "tell all that is known of one item or path",
                                {{"brindle explain python.pip", "an item, as the report names it"},
                                 {"brindle explain ~/.cargo/registry", "whatever covers a file or folder"}});
    explain.add_option("item", typed_.subject, "an item's name as the report shows it, or a path")
        ->type_name("ITEM|PATH")
        ->required();
    command("disk", "show the whole volume, how its free space develops, and when it will be low",
            {{"brindle disk", "a bar, a line and a forecast"},
             {"brindle disk --json | jq .daysUntilLowSpace", "for a script"}});
    command("modules", "list the modules and whether there is something for them on this machine",
            {{"brindle modules", "all of them"}});
    command("doctor", "show what stands in the way of a full scan",
            {{"brindle doctor", "access, tools, folders that cannot be read"}});
}

void OptionSet::defineClean() {
    CLI::App& clean =
        command("clean", "remove what you choose, after showing it and asking",
                {{"brindle clean", "choose from a list"},
                 {"brindle clean python.pip rust.cargoRegistry", "these items"},
                 {"brindle clean --safe --older-than 30d --dry-run", "what would go, without touching it"},
                 {"brindle clean --module node --dry-run --plan plan.json",
                  "put it down in a file, with what lies there"},
                 {"brindle clean --plan plan.json", "do exactly that"}});
    clean
        .add_option("item", typed_.subjects,
                    "an item as the report names it, a part of its name, or its path")
        ->type_name("ITEM|PATH")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addFlag(clean, "--safe", typed_.safe, "take items that are safe to remove, and no others");
    limitTo(clean.add_option("--module", typed_.only, "take items of the module MODULE")->type_name("MODULE"),
            moduleNames());
    clean
        .add_option("--older-than", typed_.leastAge,
                    "take items in which nothing was written for AGE or longer: 30d, 8w")
        ->type_name("AGE");
    addLeastSize(clean, "take items of SIZE or more: 100MB, 1.5GB, 500KB or bytes; decimal units");
    addFlag(clean, "--include-review", typed_.includeReview,
            "take items to review, too, without their being named");
    addFlag(clean, "--dry-run", typed_.dryRun, "rehearse: everything but the removal itself");
    addFlag(clean, "--yes", typed_.yes, "do not ask");
    clean
        .add_option(
            "--plan", typed_.plan,
            "with --dry-run: write the plan into FILE; without: do what the plan in FILE says, as far as "
            "nothing has changed")
        ->type_name("FILE");
}

void OptionSet::defineHistory() {
    constexpr const char* kCleanup =
        "a cleanup: its number in the list, 1 being the newest, or the beginning of its identity";
    CLI::App& history = command("history", "list the cleanups, or tell all of one",
                                {{"brindle history", "all of them, the newest first"},
                                 {"brindle history 1", "the newest: what went, how it comes back"}});
    history.add_option("id", typed_.cleanup, kCleanup)->type_name("ID");
    CLI::App& restore =
        command("restore", "put back what a cleanup moved to the Trash",
                {{"brindle restore 1", "all that the newest moved to the Trash, after asking"},
                 {"brindle restore 1 3 --as ~/copy", "one entry, under another name"}});
    restore.add_option("id", typed_.cleanup, kCleanup)->type_name("ID")->required();
    restore
        .add_option("entry", typed_.restoreEntries,
                    "an entry of it: its number on the page of the cleanup, its item, or where one thing of "
                    "it was; all if none is named")
        ->type_name("ENTRY")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    restore
        .add_option("--as", typed_.restorePlace,
                    "put the one thing back at PATH instead of where it was; never over anything")
        ->type_name("PATH");
    addFlag(restore, "--dry-run", typed_.restoreRehearsal, "say what would be put back, and leave it");
    addFlag(restore, "--yes", typed_.restoreYes, "put back without asking");
}

void OptionSet::defineProjects() {
    CLI::App& projects =
        command("projects", "list the software projects, and what in them could be generated again",
                {{"brindle projects", "all of them, the largest first"},
                 {"brindle projects --dormant --sort age", "those left alone, the oldest first"}});
    addFlag(projects, "--dormant", typed_.dormant, "list those that were left alone for 90 days or more");
    const CLI::Option* order =
        projects
            .add_option("--sort", typed_.order, "in which order to list them, by size if nothing is said")
            ->type_name("ORDER");
    limitTo(order, {RawTexts<ProjectOrder>::kTexts.begin(), RawTexts<ProjectOrder>::kTexts.end()});
    CLI::App& project =
        command("project", "tell all that is known of one project",
                {{"brindle project ~/Projects/lantern", "size, Git, worktrees, the next step"},
                 {"brindle project . --recover", "put its commits on a remote, after asking"}});
    project.add_option("path", typed_.subject, "the project's folder")->type_name("PATH")->required();
    addFlag(project, "--recover", typed_.recover,
            "ask, then create a private repository and push, or push to the remote that is there");
}

void OptionSet::defineSchedule() {
    CLI::App& schedule = command(
        "schedule", "have scans run by themselves",
        {{"brindle schedule", "how it stands: cadence, last and next run, timer"},
         {"brindle schedule on weekly", "from now on, as often as that"},
         {"brindle schedule install", "have the system start them, with a timer of your own"},
         {"brindle settings auto-clean on", "let them remove what is safe and belongs to no project"}});
    const CLI::Option* action =
        schedule
            .add_option(
                "action", typed_.scheduleAction,
                "what to do: show how it stands, if nothing is said; switch scheduled scans on or off; run "
                "one now; install or remove the timer that starts them")
            ->type_name("ACTION");
    limitTo(action, {RawTexts<ScheduleAction>::kTexts.begin(), RawTexts<ScheduleAction>::kTexts.end()});
    const CLI::Option* cadence =
        schedule.add_option("cadence", typed_.cadence, "with on: how often")->type_name("CADENCE");
    limitTo(cadence, {RawTexts<Cadence>::kTexts.begin(), RawTexts<Cadence>::kTexts.end()});
    addFlag(schedule, "--if-due", typed_.ifDue, "with run: only when it is time, and at low priority");
}

void OptionSet::defineSettings() {
    CLI::App& settings = command(
        "settings", "show and change the preferences",
        {{"brindle settings", "all of them, with their values"},
         {"brindle settings disabled-modules docker xcode", "change one; a list takes several values"},
         {"brindle settings --reset disabled-modules", "back to its default"}});
    const CLI::Option* name =
        settings.add_option("name", typed_.settingName, "the setting to show or change")->type_name("NAME");
    limitTo(name, settingNames(), false);
    settings.add_option("value", typed_.settingTexts, "its new value")
        ->type_name("VALUE")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addFlag(settings, "--reset", typed_.reset, "put the setting back to its default");
}

void OptionSet::defineManual() {
    CLI::App& completion =
        command("completion", "print the completions for a shell",
                {{"brindle completion bash > ~/.local/share/bash-completion/completions/brindle", "for bash"},
                 {"brindle completion fish > ~/.config/fish/completions/brindle.fish", "for fish"},
                 {"brindle completion zsh > _brindle", "for zsh, in a folder of $fpath"}});
    const CLI::Option* shell =
        completion.add_option("shell", typed_.shell, "the shell")->type_name("SHELL")->required();
    limitTo(shell, {"bash", "zsh", "fish"});
    command("man", "print the manual page", {{"brindle man | man -l -", "read it"}});
    CLI::App& help =
        command("help", "explain a command", {{"brindle help scan", "the same as brindle scan --help"}});
    const CLI::Option* topic = help.add_option("command", typed_.topic, "the command")->type_name("COMMAND");
    std::vector<std::string> names;
    for (const NamedCommand& each : kCommands) names.emplace_back(each.name);
    limitTo(topic, names);
}

std::vector<const CLI::App*> OptionSet::commands() const {
    return program_.get_subcommands(std::function<bool(const CLI::App*)>());
}

const CLI::App* OptionSet::commandNamed(std::string_view name) const {
    for (const CLI::App* each : commands()) {
        if (each->get_name() == name) return each;
    }
    return nullptr;
}

std::vector<const CLI::Option*> OptionSet::optionsOf(const CLI::App& command) {
    std::vector<const CLI::Option*> options = command.get_options();
    std::erase_if(options, [](const CLI::Option* each) { return each->get_positional(); });
    const auto help = std::ranges::find(options, command.get_help_ptr());
    if (help != options.end()) std::rotate(help, help + 1, options.end());
    return options;
}

std::vector<const CLI::Option*> OptionSet::argumentsOf(const CLI::App& command) {
    std::vector<const CLI::Option*> options = command.get_options();
    std::erase_if(options, [](const CLI::Option* each) { return !each->get_positional(); });
    return options;
}

std::vector<std::string> OptionSet::names(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& each : option.get_snames()) names.push_back("-" + each);
    for (const std::string& each : option.get_lnames()) names.push_back("--" + each);
    return names;
}

bool OptionSet::takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

const std::vector<std::string>& OptionSet::choices(const CLI::Option& option) const {
    static const std::vector<std::string> kNone;
    const auto found = choices_.find(&option);
    return found == choices_.end() ? kNone : found->second.texts;
}

const std::vector<Example>& OptionSet::examples(const CLI::App& command) const {
    return examples_.at(&command);
}

std::expected<Options, UsageError> OptionSet::parse(std::vector<std::string> arguments) {
    guard(arguments);
    std::ranges::reverse(arguments);  // as CLI11 wants them
    std::optional<Command> manual;
    try {
        program_.parse(arguments);
    } catch (const CLI::CallForHelp&) {
        manual = Command::help;
    } catch (const CLI::CallForVersion&) {
        manual = Command::version;
    } catch (const CLI::ParseError& error) {
        return std::unexpected(complaint(error));
    }
    if (manual) {
        Options options = general();
        options.command = *manual;
        if (const CLI::App* command = chosen()) options.helpTopic = command->get_name();
        return options;
    }
    if (auto checked = checkChoices(); !checked) return std::unexpected(checked.error());
    return understood();
}

CLI::App* OptionSet::chosen() const {
    const auto parsed = program_.get_subcommands();
    return parsed.empty() ? nullptr : parsed.front();
}

UsageError OptionSet::complaint(const CLI::ParseError& error) const {
    const CLI::App* command = chosen();
    const std::string name = command != nullptr ? command->get_name() : "";
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        const std::vector<std::string> extras = program_.remaining(true);
        if (!extras.empty()) return complaintOfExtra(unguarded(extras.front()));
    }
    const std::string what = error.what();
    const std::string subject = what.substr(0, what.find(':'));
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr && subject.starts_with('-')) {
        return {localized("%@ needs a value", printable(subject)), name};
    }
    if (what.ends_with("flag override")) {
        return {localized("%@ takes no value", "--" + what.substr(0, what.find(' '))), name};
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && command != nullptr) {
        const auto arguments = argumentsOf(*command);
        const std::string missing = arguments.empty() ? "" : arguments.front()->get_type_name();
        return {localized("%@ needs to be told what: %@ is missing", name, missing), name};
    }
    return {printable(what), name};
}

UsageError OptionSet::complaintOfExtra(const std::string& extra) const {
    const CLI::App* command = chosen();
    const std::string name = command != nullptr ? command->get_name() : "";
    const bool isOption = extra.starts_with('-');
    std::vector<std::string> known;
    if (isOption) {
        for (const CLI::App* where : {static_cast<const CLI::App*>(&program_), command}) {
            if (where == nullptr) continue;
            for (const CLI::Option* option : optionsOf(*where)) {
                std::ranges::copy(names(*option), std::back_inserter(known));
            }
        }
    } else if (command == nullptr) {
        for (const NamedCommand& each : kCommands) known.emplace_back(each.name);
    }
    const std::string shown = printable(isOption ? extra.substr(0, extra.find('=')) : extra);
    std::string sentence = isOption ? localized("there is no option %@", shown)
                           : command == nullptr
                               ? localized("there is no command %@", shown)
                               : localized("%@ does not know what to do with %@", name, shown);
    if (const auto close = closest(shown, known)) sentence += localized("; did you mean %@?", *close);
    return {sentence, name};
}

std::expected<void, UsageError> OptionSet::checkChoices() const {
    for (const auto& [option, choices] : choices_) {
        if (option->count() == 0 || !choices.isStrict) continue;
        const std::string value = unguarded(option->results().back());
        if (std::ranges::find(choices.texts, value) != choices.texts.end()) continue;
        std::string sentence = localized("%@ is none of %@", printable(value), joined(choices.texts));
        if (!option->get_positional()) sentence = names(*option).back() + ": " + sentence;
        if (const auto close = closest(value, choices.texts))
            sentence += localized("; did you mean %@?", *close);
        if (option->get_type_name() == "MODULE" && moduleIDFrom(value)) {
            sentence = localized("this version has no module %@; it has %@", value, joined(choices.texts));
        }
        const CLI::App* command = chosen();
        return std::unexpected(UsageError{sentence, command != nullptr ? command->get_name() : ""});
    }
    return {};
}

}  // namespace brindle
