#include "core/modules/git_remote_host.h"

#include <algorithm>

#include "core/text/ascii.h"

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

bool isHostCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == '_';
}

bool isPort(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<std::string> plainHost(std::string_view host) {
    const bool isPlain = !host.empty() && std::ranges::all_of(host, isHostCharacter);
    return isPlain ? std::optional(std::string(host)) : std::nullopt;
}

// What stands between "//" and the next "/".
std::optional<std::string> hostOfAuthority(std::string_view authority) {
    if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos)
        authority.remove_prefix(at + 1);
    const std::size_t bracket = authority.starts_with('[') ? authority.find(']') : 0;
    if (bracket == std::string_view::npos) return std::nullopt;
    const std::size_t colon = authority.find(':', bracket);
    if (colon != std::string_view::npos && !isPort(authority.substr(colon + 1))) return std::nullopt;
    const std::string_view host = authority.substr(0, colon);
    if (bracket == 0) return plainHost(host);
    const bool isAddress = host.ends_with(']') &&
                           host.substr(1, host.size() - 2).find_first_not_of("0123456789abcdefABCDEF:.") ==
                               std::string_view::npos;
    return isAddress ? std::optional(std::string(host)) : std::nullopt;
}

}  // namespace

std::optional<std::string> hostOfAddress(std::string_view address) {
    const std::size_t scheme = address.find("://");
    if (scheme != std::string_view::npos) {
        if (lowerCase(address.substr(0, scheme)) == "file") return std::nullopt;
        const std::string_view rest = address.substr(scheme + 3);
        const std::size_t end = std::min(rest.find_first_of("/?#"), rest.size());
        // An "@" further on: perhaps a password with a "/" in it, and what looks like the host is the user.
        const bool isDoubtful = rest.substr(end).find('@') != std::string_view::npos &&
                                rest.substr(0, end).find('@') == std::string_view::npos;
        return isDoubtful ? std::nullopt : hostOfAuthority(rest.substr(0, end));
    }
    // user@host:path, as for scp; a colon behind a "/" belongs to a path on this machine.
    const std::string_view head = address.substr(0, address.find('/'));
    const std::size_t at = head.rfind('@');
    const std::size_t start = at == std::string_view::npos ? 0 : at + 1;
    const std::size_t colon = head.find(':', start);
    if (colon == std::string_view::npos || address.substr(colon).starts_with("::")) return std::nullopt;
    const bool isDoubtful = at == std::string_view::npos && address.find('@') != std::string_view::npos;
    const bool isDrive = at == std::string_view::npos && colon == 1;
    return isDoubtful || isDrive ? std::nullopt : plainHost(head.substr(start, colon - start));
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
