// A folder's name, then the identifiers that are installed, one a line.
#include "core/modules/bundle_identifier.h"
#include "core/modules/leftover_exclusions.h"
#include "tests/fuzz/target.h"

namespace {

std::string_view nextLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return line;
}

}  // namespace

void check(std::string_view text) {
    const std::string_view name = nextLine(text);
    const auto identifier = brindle::identifierFromName(name);
    if (!identifier) return;
    // What may be removed is named as the rules of removal want it, and the system's own is never among it.
    require(brindle::looksLikeBundleIdentifier(name) && brindle::looksLikeBundleIdentifier(*identifier));
    require(!brindle::foldedIdentifier(*identifier).starts_with("com.apple."));
    for (const auto& owner : brindle::possibleOwners(*identifier)) require(identifier->starts_with(owner));
    brindle::IdentifierSet installed;
    while (!text.empty()) installed.add(nextLine(text));
    (void)installed.relativeOf(*identifier);
    (void)brindle::isNeverLeftover(*identifier);
    (void)brindle::mayBelongToName(*identifier, name);
    installed.add(*identifier);
    require(installed.covers(*identifier) && installed.relativeOf(*identifier).has_value());
}
