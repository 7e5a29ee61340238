#include "cli/option_set.h"
#include "cli/option_text.h"
#include "core/text/core_strings.h"

namespace brindle {

void OptionSet::defineDuplicates() {
    CLI::App& duplicates =
        command("duplicates", "find identical files and choose which copy to keep",
                {{"brindle duplicates ~/Exports", "what lies there more than once"},
                 {"brindle duplicates ~ --min-size 100MB", "only what is worth it"},
                 {"brindle duplicates ~/Exports --trash --keep newest",
                  "of each export keep the newest copy and move the others to the Trash, after asking"}});
    duplicates.add_option("folder", typed_.subject, "a folder on your home volume")
        ->type_name("DIR")
        ->required();
    addLeastSize(duplicates, "look at files of SIZE or more: 100MB, 1.5GB, 500KB or bytes; decimal units");
    addFlag(duplicates, "--trash", typed_.trashes,
            "move copies of .ipa, .apk, .aab and .whl exports to the Trash; needs --keep");
    duplicates
        .add_option("--keep", typed_.keep, "the copy that stays: oldest, newest, or those at or below PATH")
        ->type_name("oldest|newest|PATH");
    addFlag(duplicates, "--yes", typed_.yes, "move without asking");
}

std::expected<void, UsageError> OptionSet::readDuplicates(Options& options) const {
    if (options.command != Command::duplicates) return {};
    const auto misused = [](const std::string& sentence) {
        return std::unexpected(UsageError{sentence, "duplicates"});
    };
    const auto bytes = leastSize();
    if (!bytes) return std::unexpected(bytes.error());
    DuplicateWish& wish = options.duplicates;
    const auto keep = given(typed_.keep, chosen()->get_option("--keep"));
    wish = {.leastBytes = bytes->value_or(1),
            .trashes = typed_.trashes,
            .keep = keep.value_or(""),
            .isConfirmed = typed_.yes};
    if (keep && keep->empty()) return misused(localized("%@ needs a value", "--keep"));
    if (wish.trashes && !keep)
        return misused(localized("--trash needs to be told what stays: --keep oldest, newest or a path"));
    if (!wish.trashes && (keep || wish.isConfirmed))
        return misused(localized("--keep and --yes go with --trash"));
    if (wish.trashes && options.isJson && !wish.isConfirmed)
        return misused(localized("--trash asks a question; --json needs --yes"));
    return {};
}

}  // namespace brindle
