#include "core/projects/recovery_guard.h"

#include <algorithm>
#include <string_view>

#include "core/platform/path_text.h"
#include "core/text/ascii.h"
#include "core/text/core_strings.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

using Arguments = std::vector<std::string>;

constexpr std::size_t kLongestName = 100;
// A tool that is started would read the text up to this byte only.
bool isCutShort(std::string_view text) {
    return text.contains('\0');
}

bool leadsUp(std::string_view path) {
    return std::ranges::count(pathComponents(path), "..") > 0;
}

bool isInsideHome(std::string_view folder, std::string_view home) {
    const bool isHome = home.starts_with('/') && standardisedPath(home) != "/" && !leadsUp(home);
    return isHome && isBelow(folder, home) && !leadsUp(folder) && !isCutShort(folder);
}

bool isRepositoryName(std::string_view name) {
    return !name.empty() && name.size() <= kLongestName && isAsciiLetterOrDigit(name.front()) &&
           std::ranges::all_of(name, [](char letter) {
               return isAsciiLetterOrDigit(letter) || letter == '-' || letter == '_' || letter == '.';
           });
}

SafetyVerdict neitherOfTheTwo() {
    return SafetyVerdict::refused(
        localized("Brindle only creates a private repository or pushes what is already committed"));
}

bool holds(const Arguments& arguments, std::string_view wanted) {
    return std::ranges::find(arguments, wanted) != arguments.end();
}

SafetyVerdict verdictForCreating(const Arguments& arguments, const std::string& folder) {
    if (!holds(arguments, "--private") || holds(arguments, "--public") || holds(arguments, "--internal"))
        return SafetyVerdict::refused(localized("a repository is only ever created private"));
    const Arguments composed = {
        "repo", "create", std::string(lastComponent(folder)), "--private", "--source=" + folder, "--push"};
    if (arguments == composed) return SafetyVerdict::allowed();
    return SafetyVerdict::refused(localized("that is not the repository command Brindle composes"));
}

// The first word that is no option; -C and -c take the next word along.
std::string_view subcommandOf(const Arguments& arguments) {
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        if (!arguments[index].starts_with('-')) return arguments[index];
        if (arguments[index] == "-C" || arguments[index] == "-c") ++index;
    }
    return "";
}

SafetyVerdict verdictForGit(const Arguments& arguments, const std::string& folder) {
    const Arguments composed = {"-C", folder, "push", "-u", "origin", "--all"};
    if (arguments == composed) return SafetyVerdict::allowed();
    if (subcommandOf(arguments) != "push") return neitherOfTheTwo();
    return SafetyVerdict::refused(localized("that is not the push command Brindle composes"));
}

}  // namespace

std::optional<std::string> RecoveryCommand::display() const {
    auto line = shellArgument(executable);
    for (const std::string& argument : arguments) {
        const auto word = shellArgument(argument);
        if (!line || !word) return std::nullopt;
        *line += " " + *word;
    }
    return line;
}

SafetyVerdict recoveryVerdict(const RecoveryCommand& command, const std::string& projectFolder,
                              const std::string& home) {
    if (!isInsideHome(projectFolder, home))
        return SafetyVerdict::refused(localized("that project is not inside the home folder"));
    if (!isRepositoryName(lastComponent(projectFolder)))
        return SafetyVerdict::refused(localized("that folder's name cannot be used as a repository name"));
    if (command.executable == "gh") return verdictForCreating(command.arguments, projectFolder);
    if (command.executable == "git") return verdictForGit(command.arguments, projectFolder);
    return neitherOfTheTwo();
}

}  // namespace brindle
