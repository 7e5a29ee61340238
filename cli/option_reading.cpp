// What was typed, checked and made into options.
#include <charconv>

#include "cli/option_set.h"
#include "cli/option_text.h"
#include "core/settings/setting_text.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

// "30d" or "8w", as days.
std::optional<int> daysFromText(std::string_view text) {
    constexpr int kMost = 100'000;
    if (text.empty()) return std::nullopt;
    const int unit = text.back() == 'd' ? 1 : text.back() == 'w' ? 7 : 0;
    int number = 0;
    const char* last = text.data() + text.size() - 1;
    const auto [end, failure] = std::from_chars(text.data(), last, number);
    if (unit == 0 || failure != std::errc() || end != last || number < 0 || number > kMost)
        return std::nullopt;
    return number * unit;
}

}  // namespace

Options OptionSet::general() const {
    Options options;
    options.home = given(typed_.home, program_.get_option("--home"));
    options.language = given(typed_.language, program_.get_option("--lang"));
    options.isJson = typed_.json;
    options.isColourForbidden = typed_.noColour;
    return options;
}

std::expected<Options, UsageError> OptionSet::understood() const {
    Options options = general();
    const CLI::App* command = chosen();
    if (command == nullptr && options.isJson) {
        return std::unexpected(UsageError{localized("--json needs a command"), ""});
    }
    if (command == nullptr) return options;
    options.command = commandOf(command->get_name());
    options.helpTopic = unguarded(typed_.topic);
    options.subject = unguarded(typed_.subject);
    options.shell = unguarded(typed_.shell);
    if (auto read = readScan(options); !read) return std::unexpected(read.error());
    if (auto read = readClean(options); !read) return std::unexpected(read.error());
    if (auto read = readHistory(options); !read) return std::unexpected(read.error());
    if (auto read = readProjects(options); !read) return std::unexpected(read.error());
    if (auto read = readSchedule(options); !read) return std::unexpected(read.error());
    if (auto read = readDuplicates(options); !read) return std::unexpected(read.error());
    if (auto read = readSettings(options); !read) return std::unexpected(read.error());
    return options;
}

std::expected<void, UsageError> OptionSet::readScan(Options& options) const {
    options.includesProjects = !typed_.noProjects;
    options.showsTimings = typed_.timings;
    options.only = moduleIDFrom(typed_.only);
    if (typed_.safe) options.filter.classifications.insert(Classification::safe);
    if (typed_.review) options.filter.classifications.insert(Classification::review);
    if (typed_.protected_) options.filter.classifications.insert(Classification::protected_);
    if (options.command != Command::scan) return {};
    const auto bytes = leastSize();
    if (!bytes) return std::unexpected(bytes.error());
    options.filter.leastBytes = bytes->value_or(0);
    return {};
}

std::expected<std::optional<std::uint64_t>, UsageError> OptionSet::leastSize() const {
    if (!given(typed_.leastSize, chosen()->get_option("--min-size"))) return std::nullopt;
    const auto bytes = bytesFromText(unguarded(typed_.leastSize));
    if (bytes) return bytes;
    return std::unexpected(
        UsageError{localized("--min-size: %@ is no size; write 100MB, 1.5GB, 500KB or a number of bytes",
                             printable(unguarded(typed_.leastSize))),
                   chosen()->get_name()});
}

std::expected<void, UsageError> OptionSet::readClean(Options& options) const {
    if (options.command != Command::clean) return {};
    const auto misused = [](const std::string& sentence) {
        return std::unexpected(UsageError{sentence, "clean"});
    };
    const auto bytes = leastSize();
    if (!bytes) return std::unexpected(bytes.error());
    CleanWish& wish = options.clean;
    wish = {.subjects = {},
            .onlySafe = typed_.safe,
            .includesReview = typed_.includeReview,
            .leastDays = daysFromText(unguarded(typed_.leastAge)),
            .leastBytes = *bytes,
            .isRehearsal = typed_.dryRun,
            .isConfirmed = typed_.yes,
            .planFile = given(typed_.plan, chosen()->get_option("--plan"))};
    for (const std::string& each : typed_.subjects) wish.subjects.push_back(unguarded(each));
    if (given(typed_.leastAge, chosen()->get_option("--older-than")) && !wish.leastDays) {
        return misused(
            localized("--older-than: %@ is no age; write 30d or 8w", printable(unguarded(typed_.leastAge))));
    }
    if (wish.planFile && wish.planFile->empty()) return misused(localized("%@ needs a value", "--plan"));
    if (wish.onlySafe && wish.includesReview)
        return misused(localized("--safe and --include-review contradict each other"));
    if (wish.isPlanCarriedOut() && options.choosesItems())
        return misused(localized("the plan says what to clean, so nothing else can be chosen beside it"));
    if (options.isJson && !wish.isConfirmed && !wish.isRehearsal)
        return misused(localized("--json asks no question, so it needs --yes or --dry-run"));
    return {};
}

std::expected<void, UsageError> OptionSet::readHistory(Options& options) const {
    if (options.command != Command::history && options.command != Command::restore) return {};
    options.subject = unguarded(typed_.cleanup);
    if (options.command == Command::history) return {};
    const CLI::App* restore = commandNamed("restore");
    for (const std::string& each : restore->get_option("entry")->results())
        options.restore.entries.push_back(unguarded(each));
    options.restore.place = given(typed_.restorePlace, restore->get_option("--as"));
    options.restore.isRehearsal = typed_.restoreRehearsal;
    options.restore.isAgreed = typed_.restoreYes;
    if (!options.isJson || typed_.restoreRehearsal || typed_.restoreYes) return {};
    return std::unexpected(
        UsageError{localized("restore asks a question; --json needs --yes or --dry-run"), "restore"});
}

std::expected<void, UsageError> OptionSet::readProjects(Options& options) const {
    options.onlyDormant = typed_.dormant;
    options.order = fromRawText<ProjectOrder>(unguarded(typed_.order)).value_or(ProjectOrder::size);
    options.recovers = typed_.recover;
    if (!options.recovers || !options.isJson) return {};
    return std::unexpected(
        UsageError{localized("--recover asks a question, so it does not go with --json"), "project"});
}

std::expected<void, UsageError> OptionSet::readSchedule(Options& options) const {
    if (options.command != Command::schedule) return {};
    const auto misused = [](const std::string& sentence) {
        return std::unexpected(UsageError{sentence, "schedule"});
    };
    options.scheduleAction =
        fromRawText<ScheduleAction>(unguarded(typed_.scheduleAction)).value_or(ScheduleAction::status);
    options.cadence = cadenceFrom(unguarded(typed_.cadence));
    options.onlyIfDue = typed_.ifDue;
    if (options.cadence && options.scheduleAction != ScheduleAction::on)
        return misused(localized("a cadence goes with \"schedule on\" alone"));
    if (options.onlyIfDue && options.scheduleAction != ScheduleAction::run)
        return misused(localized("--if-due goes with \"schedule run\" alone"));
    const bool isTimer = options.scheduleAction == ScheduleAction::install ||
                         options.scheduleAction == ScheduleAction::uninstall;
    if (isTimer && options.home)
        return misused(
            localized("a timer belongs to the user who is logged in, so --home does not go with it"));
    return {};
}

std::expected<void, UsageError> OptionSet::readSettings(Options& options) const {
    options.settingName = unguarded(typed_.settingName);
    for (const std::string& each : commandNamed("settings")->get_option("value")->results()) {
        options.settingTexts.push_back(unguarded(each));
    }
    options.resetsSetting = typed_.reset;
    if (!typed_.reset) return {};
    if (typed_.settingName.empty()) {
        return std::unexpected(UsageError{localized("--reset needs the name of a setting"), "settings"});
    }
    if (!typed_.settingTexts.empty()) {
        return std::unexpected(UsageError{localized("--reset takes no value"), "settings"});
    }
    return {};
}

}  // namespace brindle
