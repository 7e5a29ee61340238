#include "core/model/remote_address.h"

#include <algorithm>

#include "core/text/ascii.h"

namespace brindle {

namespace {

constexpr std::string_view kHidden = "...";
constexpr auto kNowhere = std::string_view::npos;

std::string withoutUser(std::string_view scheme, std::string_view rest) {
    const std::size_t end = std::min(rest.find_first_of("/?#"), rest.size());
    // A password may hold a "/" that was never escaped: then what looks like the host holds a ":".
    if (rest.substr(0, end).contains(':') && rest.find('@', end) != kNowhere)
        return std::string(scheme).append(kHidden);
    std::string_view authority = rest.substr(0, end);
    const std::size_t at = authority.rfind('@');
    const bool isPlainName = at != kNowhere && authority.substr(0, at).find_first_of(":@") == kNowhere;
    const bool isSsh = lowerCase(scheme).ends_with("ssh://");
    if (at != kNowhere && !(isSsh && isPlainName)) authority.remove_prefix(at + 1);
    const std::string_view path = rest.substr(end, rest.find_first_of("?#", end) - end);
    return std::string(scheme).append(authority).append(path);
}

// "user@host:path", or a place on this machine.
std::string withoutScpPassword(std::string_view address) {
    const std::size_t colon = address.substr(0, address.find('/')).find(':');
    const bool isDoubtful = colon != kNowhere && address.find('@', colon) != kNowhere;
    return std::string(isDoubtful ? kHidden : address);
}

}  // namespace

std::string withoutCredentials(std::string_view address) {
    constexpr std::string_view kMark = "://";
    const std::size_t scheme = address.find(kMark);
    if (scheme == kNowhere) return withoutScpPassword(address);
    const std::size_t rest = scheme + kMark.size();
    return withoutUser(address.substr(0, rest), address.substr(rest));
}

}  // namespace brindle
