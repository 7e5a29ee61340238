// The one definition of every command and option: parsing, help, man page and completions all come from it.
#pragma once

#include <CLI/CLI.hpp>
#include <expected>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cli/options.h"

namespace brindle {

// A command line that was not understood.
struct UsageError {
    std::string sentence;  // for the user, in the interface language
    std::string command;   // whose help would tell more; empty for the program's own
};

struct Example {
    std::string line;
    std::string meaning;
};

// Descriptions and examples are English. Lives as long as the program's one run.
class OptionSet {
  public:
    OptionSet();

    // Of the program's arguments, without its own name. Call once.
    std::expected<Options, UsageError> parse(std::vector<std::string> arguments);

    const CLI::App& program() const { return program_; }
    static Command commandOf(std::string_view name);  // help for what is none
    std::vector<const CLI::App*> commands() const;
    const CLI::App* commandNamed(std::string_view name) const;

    // Options in the order of definition, the one for help last; arguments are options without a dash.
    static std::vector<const CLI::Option*> optionsOf(const CLI::App& command);
    static std::vector<const CLI::Option*> argumentsOf(const CLI::App& command);
    static std::vector<std::string> names(const CLI::Option& option);  // "-h", "--help"
    static bool takesValue(const CLI::Option& option);

    // The texts that an option or argument accepts; empty where anything goes.
    const std::vector<std::string>& choices(const CLI::Option& option) const;
    const std::vector<Example>& examples(const CLI::App& command) const;

  private:
    // As CLI11 fills them; Options is made of them once all are checked.
    struct Typed {
        std::string home, language, only, leastSize, leastAge, plan, subject, order, settingName, shell,
            topic;
        std::vector<std::string> settingTexts, subjects;
        std::string cleanup, restorePlace;
        std::vector<std::string> restoreEntries;
        std::string scheduleAction, cadence;
        bool ifDue = false;
        bool restoreRehearsal = false, restoreYes = false;
        bool json = false, noColour = false, noProjects = false, timings = false, reset = false;
        bool dormant = false, recover = false;
        std::string keep;
        bool trashes = false;
        bool safe = false, review = false, protected_ = false;
        bool includeReview = false, dryRun = false, yes = false;
    };

    struct Choices {
        std::vector<std::string> texts;
        bool isStrict;
    };

    CLI::App& command(std::string_view name, std::string_view description, std::vector<Example> examples);
    void addLeastSize(CLI::App& command, const std::string& description);
    // `isStrict`: anything else is a usage error; otherwise the choices are only offered.
    void limitTo(const CLI::Option* option, std::vector<std::string> texts, bool isStrict = true);
    void defineGlobals();
    void defineScan();
    void defineInspection();
    void defineClean();
    void defineHistory();
    void defineProjects();
    void defineSchedule();
    void defineDuplicates();
    void defineSettings();
    void defineManual();

    CLI::App* chosen() const;
    UsageError complaint(const CLI::ParseError& error) const;
    UsageError complaintOfExtra(const std::string& extra) const;
    std::expected<void, UsageError> checkChoices() const;
    Options general() const;  // what may be said with every command
    std::expected<Options, UsageError> understood() const;
    std::expected<void, UsageError> readScan(Options& options) const;
    std::expected<void, UsageError> readClean(Options& options) const;
    std::expected<std::optional<std::uint64_t>, UsageError> leastSize() const;
    std::expected<void, UsageError> readHistory(Options& options) const;
    std::expected<void, UsageError> readProjects(Options& options) const;
    std::expected<void, UsageError> readSchedule(Options& options) const;
    std::expected<void, UsageError> readDuplicates(Options& options) const;
    std::expected<void, UsageError> readSettings(Options& options) const;

    CLI::App program_;
    Typed typed_;
    std::map<const CLI::Option*, Choices> choices_;
    std::map<const CLI::App*, std::vector<Example>> examples_;
};

}  // namespace brindle
