#include "core/modules/git_remote_host.h"

#include <algorithm>
#include <utility>

#include "core/text/ascii.h"
#include "core/tools/git_remote_address.h"

namespace brindle {

namespace {

// The name of a remote in a section's head: [remote "origin"], or the old [remote.origin]. Absent for other sections.
std::optional<std::string> remoteNamed(std::string_view head) {
    constexpr std::string_view kRemote = "remote";
    head = trimmed(head);
    if (head.size() <= kRemote.size() || lowerCase(head.substr(0, kRemote.size())) != kRemote)
        return std::nullopt;
    head.remove_prefix(kRemote.size());
    if (head.starts_with('.')) return std::string(head.substr(1));
    head = trimmed(head);
    if (head.size() < 2 || !head.starts_with('"') || !head.ends_with('"')) return std::nullopt;
    return std::string(head.substr(1, head.size() - 2));
}

// Quotes taken off, a comment cut off. Absent for what needs more than that: an escape, or a quote without an end.
std::optional<std::string> plainValue(std::string_view text) {
    std::string value;
    bool isQuoted = false;
    for (const char c : trimmed(text)) {
        if (c == '\\') return std::nullopt;
        if (c == '"') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && (c == '#' || c == ';')) {
            break;
        } else {
            value += c;
        }
    }
    if (isQuoted) return std::nullopt;
    return std::string(trimmed(value));
}

// The section's head that a line begins with is taken off the line; a remote's name becomes `remote`.
void takeHead(std::string_view& line, std::optional<std::string>& remote) {
    if (!line.starts_with('[')) return;
    bool isQuoted = false;
    std::size_t end = 1;
    for (; end < line.size() && (isQuoted || line[end] != ']'); ++end) isQuoted ^= line[end] == '"';
    const bool isWhole = end < line.size();
    remote = isWhole ? remoteNamed(line.substr(1, end - 1)) : std::nullopt;
    line = isWhole ? trimmed(line.substr(end + 1)) : std::string_view();
}

}  // namespace

std::optional<std::string> hostOfAddress(std::string_view address) {
    auto parsed = parseGitRemote(address);
    if (!parsed || parsed->host.empty()) return std::nullopt;
    return std::move(parsed->host);
}

std::optional<std::string> gitRemoteHost(std::string_view config) {
    std::optional<std::string> remote;  // whose section this is
    std::optional<std::string> first;
    std::optional<std::string> origin;
    while (!config.empty()) {
        const std::size_t end = std::min(config.find_first_of("\r\n"), config.size());
        std::string_view line = trimmed(config.substr(0, end));
        config.remove_prefix(std::min(end + 1, config.size()));
        takeHead(line, remote);
        const std::size_t equals = line.find('=');
        if (!remote || equals == std::string_view::npos ||
            lowerCase(trimmed(line.substr(0, equals))) != "url")
            continue;
        const std::string address = plainValue(line.substr(equals + 1)).value_or("");
        if (!first) first = address;
        if (!origin && *remote == "origin") origin = address;
    }
    const auto& address = origin ? origin : first;
    return address ? hostOfAddress(*address) : std::nullopt;
}

}  // namespace brindle
