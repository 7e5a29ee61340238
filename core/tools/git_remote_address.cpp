#include "core/tools/git_remote_address.h"

#include <algorithm>

#include "core/text/ascii.h"

namespace brindle {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

bool isScheme(std::string_view text) {
    return !text.empty() && isAsciiLetter(text.front()) && std::ranges::all_of(text, [](char c) {
        return isAsciiLetterOrDigit(c) || c == '+' || c == '.' || c == '-';
    });
}

bool isPlainHost(std::string_view host) {
    return !host.empty() && std::ranges::all_of(host, [](char c) {
        return isAsciiLetterOrDigit(c) || c == '.' || c == '-' || c == '_';
    });
}

bool isBracketedHost(std::string_view host) {
    return host.size() > 2 && host.starts_with('[') && host.ends_with(']') &&
           host.substr(1, host.size() - 2).find_first_not_of("0123456789abcdefABCDEF:.") == kNowhere;
}

// What stands between "//" and the next "/".
std::optional<std::string_view> hostOfAuthority(std::string_view authority) {
    if (const std::size_t at = authority.rfind('@'); at != kNowhere) authority.remove_prefix(at + 1);
    const std::size_t bracket = authority.starts_with('[') ? authority.find(']') : 0;
    if (bracket == kNowhere) return std::nullopt;
    const std::size_t colon = std::min(authority.find(':', bracket), authority.size());
    const std::string_view port = authority.substr(std::min(colon + 1, authority.size()));
    const std::string_view host = authority.substr(0, colon);
    if (!std::ranges::all_of(port, isAsciiDigit)) return std::nullopt;
    return isPlainHost(host) || isBracketedHost(host) ? std::optional(host) : std::nullopt;
}

// What follows "file://". Another machine's files are not reached that way.
std::optional<GitRemoteAddress> fileAddress(std::string_view rest) {
    const std::size_t slash = rest.find('/');
    const std::string_view machine = rest.substr(0, slash);
    if (slash == kNowhere || !(machine.empty() || lowerCase(machine) == "localhost")) return std::nullopt;
    return GitRemoteAddress{.host = {}, .path = std::string(rest.substr(slash))};
}

// What follows "https://" and the like.
std::optional<GitRemoteAddress> urlAddress(std::string_view rest) {
    const std::size_t end = std::min(rest.find_first_of("/?#"), rest.size());
    std::string_view path = rest.substr(end);
    // An "@" further on: perhaps a password with a "/" in it, and what looks like the host is a piece of it.
    if (path.find('@') != kNowhere) return std::nullopt;
    // A query may name the repository, or hold a token: neither can be told.
    if (path.find_first_of("?#") != kNowhere) path = {};
    const auto host = hostOfAuthority(rest.substr(0, end));
    if (!host) return std::nullopt;
    return GitRemoteAddress{.host = std::string(*host), .path = std::string(path)};
}

// user@host:path, as for scp; a colon behind a "/" belongs to a path on this machine.
std::optional<GitRemoteAddress> shortAddress(std::string_view address) {
    const std::string_view head = address.substr(0, address.find('/'));
    if (head.find(':') == kNowhere) return GitRemoteAddress{.host = {}, .path = std::string(address)};
    const std::size_t at = head.rfind('@');
    const std::size_t start = at == kNowhere ? 0 : at + 1;
    const std::size_t colon = head.find(':', start);
    if (colon == kNowhere || address.substr(colon).starts_with("::")) return std::nullopt;
    const bool isDoubtful = address.find('@', colon) != kNowhere;
    const bool isDrive = at == kNowhere && colon == 1;
    const std::string_view host = head.substr(start, colon - start);
    if (isDoubtful || isDrive || !isPlainHost(host)) return std::nullopt;
    return GitRemoteAddress{.host = std::string(host), .path = std::string(address.substr(colon + 1))};
}

}  // namespace

std::optional<GitRemoteAddress> parseGitRemote(std::string_view address) {
    if (address.empty()) return std::nullopt;
    const std::size_t end = address.find("://");
    if (end == kNowhere || !isScheme(address.substr(0, end))) return shortAddress(address);
    const std::string_view rest = address.substr(end + 3);
    return lowerCase(address.substr(0, end)) == "file" ? fileAddress(rest) : urlAddress(rest);
}

}  // namespace brindle
