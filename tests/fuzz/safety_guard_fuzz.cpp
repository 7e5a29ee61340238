// Lines: a path the user protects, a path to delete (also tried below the home folder), an executable, its arguments.
#include <filesystem>
#include <vector>

#include "core/guard/safety_guard.h"
#include "core/guard/safety_tables.h"
#include "tests/fuzz/target.h"

namespace {

const std::string kHome = "/nowhere/home";

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines(1);
    for (const char letter : text) {
        if (letter == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += letter;
        }
    }
    if (lines.size() < 3) lines.resize(3);
    return lines;
}

void checkAllowed(const std::string& path, const std::string& chosen) {
    require(path.find('\0') == std::string::npos && path.find("..") == std::string::npos);
    std::string plain = std::filesystem::path(path).lexically_normal().string();
    while (plain.ends_with('/')) plain.pop_back();
    require(plain.starts_with(kHome + "/"));
    for (const std::filesystem::path& name : std::filesystem::path(plain)) {
        for (const std::string_view never : brindle::kNeverRemovable) require(name != never);
    }
    require(chosen.empty() || !chosen.starts_with('/') || !(plain + "/").starts_with(chosen + "/"));
}

}  // namespace

void check(std::string_view text) {
    const auto lines = linesOf(text);
    const std::string below = kHome + "/" + lines[1];
    const brindle::SafetyGuard guard({.home = kHome,
                                      .protectedPaths = {lines[0]},
                                      .projectArtifacts = {kHome + "/code/node_modules"},
                                      .artifactNames = {"node_modules"},
                                      .appLeftovers = {below}});
    for (const std::string& path : {lines[1], below}) {
        if (guard.verdictForDeleting(path).isAllowed()) checkAllowed(path, lines[0]);
        guard.isInsideVendoredPackage(path);
    }
    const std::vector<std::string> arguments(lines.begin() + 3, lines.end());
    if (guard.verdictForRunning(lines[2], arguments).isAllowed()) {
        require(arguments.size() <= 5);
        require(lines[2].find('/') == std::string::npos || lines[2].starts_with('/'));
    }
    if (brindle::SafetyGuard::looksLikeBundleIdentifier(lines[1])) {
        require(lines[1].find_first_of("/ \t\n") == std::string::npos && !lines[1].starts_with("com.apple."));
    }
}
