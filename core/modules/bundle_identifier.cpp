#include "core/modules/bundle_identifier.h"

#include <algorithm>
#include <array>

#include "core/text/ascii.h"

namespace brindle {

namespace {

constexpr std::array<std::string_view, 3> kEndings = {".savedState", ".plist", ".binarycookies"};

// What identifiers begin with besides the countries' two letters. "group" and a team's ten characters are shared by
// several applications and stay out.
constexpr std::array<std::string_view, 20> kDomains = {
    "com",      "org",   "net",   "edu",  "app",     "dev",  "info",  "pro",  "xyz",    "tech",
    "software", "cloud", "tools", "team", "systems", "page", "audio", "chat", "design", "studio"};

// Where a host's name ends; an identifier that ends so may be a site's folder.
constexpr std::array<std::string_view, 3> kHostEndings = {".com", ".org", ".net"};

// Two parts that say nothing of who made it.
constexpr std::array<std::string_view, 12> kSharedBeginnings = {
    "com.github", "io.github", "com.gitlab",   "io.gitlab",       "com.bitbucket", "net.sourceforge",
    "uk.co",      "au.com",    "com.electron", "com.yourcompany", "br.com",        "jp.co"};

bool contains(const auto& list, std::string_view text) {
    return std::ranges::find(list, text) != list.end();
}

std::vector<std::string_view> partsOf(std::string_view text) {
    return split(text, '.');
}

bool isPart(std::string_view part) {
    return !part.empty() &&
           std::ranges::all_of(part, [](char c) { return isAsciiLetterOrDigit(c) || c == '-' || c == '_'; });
}

std::string_view withoutEnding(std::string_view name) {
    for (const std::string_view ending : kEndings) {
        if (name.ends_with(ending)) return name.substr(0, name.size() - ending.size());
    }
    return name;
}

bool beginsLikeADomain(const std::vector<std::string_view>& parts) {
    const std::string first = foldedIdentifier(parts.front());
    if (!std::ranges::all_of(first, isAsciiLower) || !std::ranges::any_of(parts.at(1), isAsciiLetter))
        return false;
    return first.size() == 2 || contains(kDomains, first);
}

std::size_t dotsIn(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count(text, '.'));
}

// Whether another word begins at this place: "app.helper", "app-helper", "appHelper".
bool isBoundary(std::string_view identifier, std::size_t at) {
    const char c = identifier.at(at);
    return c == '.' || c == '-' || c == '_' || (isAsciiUpper(c) && isAsciiLower(identifier.at(at - 1)));
}

}  // namespace

std::string foldedIdentifier(std::string_view text) {
    return lowerCase(text);
}

bool looksLikeBundleIdentifier(std::string_view name) {
    name = withoutEnding(name);
    if (name == "com.apple" || name.starts_with("com.apple.")) return false;
    const auto parts = partsOf(name);
    return parts.size() >= 3 && std::ranges::all_of(parts, isPart);
}

std::optional<std::string> identifierFromName(std::string_view name) {
    if (!looksLikeBundleIdentifier(name)) return std::nullopt;
    name = withoutEnding(name);
    const std::string folded = foldedIdentifier(name);
    for (const std::string_view updater : {".shipit", "-updater", ".updater"}) {
        if (!folded.ends_with(updater)) continue;
        name.remove_suffix(updater.size());
        break;
    }
    const std::string identifier = foldedIdentifier(name);
    const auto isEnd = [&](std::string_view ending) { return identifier.ends_with(ending); };
    // In either case of letters: an ending is one as it is written, the system's own in any case.
    if (!looksLikeBundleIdentifier(name) || !looksLikeBundleIdentifier(identifier) ||
        !beginsLikeADomain(partsOf(identifier)) || std::ranges::any_of(kHostEndings, isEnd)) {
        return std::nullopt;
    }
    return std::string(name);
}

std::vector<std::string> possibleOwners(std::string_view identifier) {
    std::vector<std::string> owners = {std::string(identifier)};
    for (std::size_t at = identifier.size(); at-- > 1;) {
        if (!isBoundary(identifier, at)) continue;
        const std::string_view owner = identifier.substr(0, at);
        if (dotsIn(owner) >= 2 || (identifier.at(at) == '.' && dotsIn(owner) == 1))
            owners.emplace_back(owner);
    }
    return owners;
}

std::string vendorOf(std::string_view identifier) {
    std::string folded = foldedIdentifier(identifier);
    const auto parts = partsOf(folded);
    if (parts.size() < 2) return folded;
    std::size_t length = parts[0].size() + 1 + parts[1].size();
    if (parts.size() > 2 && contains(kSharedBeginnings, std::string_view(folded).substr(0, length))) {
        length += 1 + parts[2].size();
    }
    return folded.substr(0, length);
}

std::string comparableName(std::string_view text) {
    std::string kept = foldedIdentifier(text);
    std::erase_if(kept, [](char c) { return !isAsciiLetterOrDigit(c); });
    return kept;
}

bool hasPartIn(std::string_view identifier, const std::set<std::string>& names) {
    const auto parts = partsOf(identifier);
    return std::any_of(parts.begin() + 1, parts.end(),
                       [&](std::string_view part) { return names.contains(comparableName(part)); });
}

bool mayBelongToName(std::string_view identifier, std::string_view applicationName) {
    const std::string name = comparableName(applicationName);
    if (name.size() < 3 && !isAscii(applicationName)) return true;
    const auto parts = partsOf(identifier);
    // The first part is the domain; in shorter ones than three letters nothing can be recognised.
    return std::ranges::any_of(parts.begin() + 1, parts.end(), [&](std::string_view part) {
        const std::string word = comparableName(part);
        return word == name || (word.size() >= 3 && name.contains(word)) ||
               (name.size() >= 3 && word.contains(name));
    });
}

bool IdentifierSet::add(std::string_view identifier) {
    const auto parts = partsOf(identifier);
    if (parts.size() < 2 || !std::ranges::all_of(parts, isPart)) return false;
    identifiers_.insert(foldedIdentifier(identifier));
    return true;
}

bool IdentifierSet::covers(std::string_view identifier) const {
    const std::string folded = foldedIdentifier(identifier);
    for (std::size_t length = folded.size(); length > 0; --length) {
        const std::string_view beginning = std::string_view(folded).substr(0, length);
        const bool isWhole = length == folded.size() || folded.at(length) == '.';
        // Two parts alone are a vendor's rather than an application's: only whole parts count then.
        if ((isWhole || dotsIn(beginning) >= 2) && identifiers_.contains(beginning)) return true;
    }
    const auto part = identifiers_.lower_bound(folded + ".");
    return part != identifiers_.end() && part->starts_with(folded + ".");
}

std::optional<std::string> IdentifierSet::relativeOf(std::string_view identifier) const {
    const std::string vendor = vendorOf(identifier);
    for (auto at = identifiers_.lower_bound(vendor); at != identifiers_.end() && at->starts_with(vendor);
         ++at) {
        if (vendorOf(*at) == vendor) return *at;
    }
    return std::nullopt;
}

}  // namespace brindle
