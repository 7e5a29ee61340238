// What the program is handed from outside, and what follows from it: whose home, which language, colours or
// none.
#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/session/session.h"

namespace brindle {

// All that the command line knows of the process it runs in; tests make their own.
struct Surroundings {
    std::vector<std::string> arguments;    // without the program's own name
    std::vector<std::string> environment;  // "NAME=value"
    std::string resourceFolder;            // holds LANG.lproj folders; need not exist
    std::string accountHome;               // from the user database; empty when it names none
    std::string program;        // this program's file; absolute, empty when the system does not say
    std::string workingFolder;  // absolute, links resolved; empty when it is gone
    std::function<bool()> isInterrupted = [] { return false; };
};

// "/usr/share/brindle" for "/usr/bin/brindle"; empty for an empty path.
std::string resourceFolderBeside(const std::string& executable);

// Of a name that comes twice the first value counts. An empty value is as good as none.
std::optional<std::string> variable(const std::vector<std::string>& environment, std::string_view name);

// The folder named with --home, otherwise HOME, otherwise the account's. The error is a sentence for the
// user.
std::expected<SessionHome, std::string> chooseHome(const std::optional<std::string>& named,
                                                   const Surroundings& surroundings);

// The user's languages, best first, as "pt-PT": empty for "C" and "POSIX", which mean English. As gettext has
// it, LC_ALL outranks LC_MESSAGES and that LANG, and LANGUAGE counts only where one of them names a language.
std::vector<std::string> systemLanguages(const std::vector<std::string>& environment);

// The locale in which numbers are written: LC_ALL, LC_NUMERIC or LANG; "C" when none is set.
std::string numberLocale(const std::vector<std::string>& environment);

// Whether the terminal may be sent more than ASCII.
bool speaksUtf8(const std::vector<std::string>& environment);

// TERM is "dumb", or says nothing.
bool isDumbTerminal(const std::vector<std::string>& environment);

// --no-color, NO_COLOR and TERM=dumb forbid, CLICOLOR_FORCE demands, CLICOLOR=0 and no TERM forbid, otherwise a
// terminal gets them: the first that applies counts.
bool wantsColour(const std::vector<std::string>& environment, bool isForbidden, bool isTerminal);

}  // namespace brindle
