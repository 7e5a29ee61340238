// The small files by which Python's tools say which interpreter they mean. Pure functions on text; bytes that are no
// UTF-8 pass through.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// pyvenv.cfg of an environment: "key = value" lines, keys in any case, of a key that comes twice the last.
struct PyvenvConfig {
    std::vector<std::string> interpreters =
        {};  // absolute paths that lie in the interpreter's tree, "home" first
    std::optional<std::string> version = {};  // "3.11.4"

    bool operator==(const PyvenvConfig&) const = default;
};
PyvenvConfig parsePyvenvConfig(std::string_view text);

// Pyenv's "version" and a folder's ".python-version": names separated by blanks and line breaks, "#" begins a comment,
// a leading "python-" is dropped. "system" is no version of pyenv's and is left out.
std::vector<std::string> parsePythonVersions(std::string_view text);

// Whether pyenv could mean the installed `version` by `name`: the same, "3.11" for "3.11.4", "pypy3.9" for
// "pypy3.9-7.3.12", "3.13t" for "3.13.1t". Pyenv takes the newest of several; whoever must not be wrong takes all.
bool namesPythonVersion(std::string_view name, std::string_view version);

}  // namespace brindle
