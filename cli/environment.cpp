#include "cli/environment.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

bool isFolder(const std::string& resolvedPath) {
    const auto status = statusOf(resolvedPath);
    return status && status->isFolder();
}

std::vector<std::string> forAnotherHome(std::vector<std::string> environment, const std::string& home) {
    std::erase_if(environment, [](const std::string& entry) {
        return entry.starts_with("HOME=") || entry.starts_with("XDG_");
    });
    environment.push_back("HOME=" + home);
    return environment;
}

std::expected<SessionHome, std::string> namedHome(const std::string& named,
                                                  const Surroundings& surroundings) {
    const bool isRelative = !named.starts_with('/');
    if (isRelative && !named.empty() && surroundings.workingFolder.empty()) {
        return std::unexpected("--home: " + localized("the current folder is gone"));
    }
    const auto path = canonicalPath(isRelative ? surroundings.workingFolder + "/" + named : named);
    if (named.empty() || !path) {
        return std::unexpected(localized("--home: there is no folder %@", printable(named)));
    }
    if (!isFolder(*path)) return std::unexpected(localized("--home: %@ is no folder", printable(named)));
    return SessionHome{.path = *path,
                       .isCurrentUser = false,
                       .environment = forAnotherHome(surroundings.environment, *path)};
}

std::optional<std::string> existingFolder(const std::string& path) {
    if (!path.starts_with('/')) return std::nullopt;
    auto resolved = canonicalPath(path);
    if (!resolved || !isFolder(*resolved)) return std::nullopt;
    return *resolved;
}

bool meansEnglish(std::string_view locale) {
    return locale == "C" || locale == "POSIX" || locale.starts_with("C.");
}

// "pt_PT.UTF-8@euro" is "pt-PT".
std::string languageTag(std::string_view locale) {
    std::string tag(locale.substr(0, locale.find_first_of(".@")));
    std::ranges::replace(tag, '_', '-');
    return tag;
}

std::string firstOf(const std::vector<std::string>& environment,
                    const std::array<std::string_view, 3>& names) {
    for (const std::string_view name : names) {
        if (auto value = variable(environment, name)) return *value;
    }
    return "C";
}

}  // namespace

std::string resourceFolderBeside(const std::string& executable) {
    const std::size_t slash = executable.rfind('/');
    if (slash == std::string::npos) return "";
    return executable.substr(0, slash) + "/../share/brindle";
}

std::optional<std::string> variable(const std::vector<std::string>& environment, std::string_view name) {
    for (const std::string& entry : environment) {
        if (!entry.starts_with(name) || entry.size() <= name.size() || entry[name.size()] != '=') continue;
        if (entry.size() == name.size() + 1) return std::nullopt;
        return entry.substr(name.size() + 1);
    }
    return std::nullopt;
}

std::expected<SessionHome, std::string> chooseHome(const std::optional<std::string>& named,
                                                   const Surroundings& surroundings) {
    if (named) return namedHome(*named, surroundings);
    auto path = existingFolder(variable(surroundings.environment, "HOME").value_or(""));
    if (!path) path = existingFolder(surroundings.accountHome);
    if (!path) {
        return std::unexpected(localized("This user has no home folder. Name one with --home DIR."));
    }
    return SessionHome{.path = *path, .isCurrentUser = true, .environment = surroundings.environment};
}

std::vector<std::string> systemLanguages(const std::vector<std::string>& environment) {
    const std::string locale = firstOf(environment, {"LC_ALL", "LC_MESSAGES", "LANG"});
    if (meansEnglish(locale)) return {};
    std::vector<std::string> languages;
    std::string list = variable(environment, "LANGUAGE").value_or("") + ":" + locale;
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = std::min(list.find(':', start), list.size());
        const std::string entry = list.substr(start, end - start);
        if (!entry.empty()) languages.push_back(meansEnglish(entry) ? "en" : languageTag(entry));
        start = end + 1;
    }
    return languages;
}

std::string numberLocale(const std::vector<std::string>& environment) {
    const std::string locale = firstOf(environment, {"LC_ALL", "LC_NUMERIC", "LANG"});
    return meansEnglish(locale) ? "C" : languageTag(locale);
}

bool speaksUtf8(const std::vector<std::string>& environment) {
    if (isDumbTerminal(environment)) return false;
    std::string locale = firstOf(environment, {"LC_ALL", "LC_CTYPE", "LANG"});
    std::ranges::transform(locale, locale.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return locale.contains("utf-8") || locale.contains("utf8");
}

bool isDumbTerminal(const std::vector<std::string>& environment) {
    return variable(environment, "TERM").value_or("dumb") == "dumb";
}

bool wantsColour(const std::vector<std::string>& environment, bool isForbidden, bool isTerminal) {
    if (isForbidden || variable(environment, "NO_COLOR") || variable(environment, "TERM") == "dumb")
        return false;
    if (const auto forced = variable(environment, "CLICOLOR_FORCE"); forced && *forced != "0") return true;
    return isTerminal && !isDumbTerminal(environment) && variable(environment, "CLICOLOR") != "0";
}

}  // namespace brindle
