// Identifiers of applications, "com.vendor.app", as folders are named after them: text in, answers out.
//
// Every doubt is decided for the application that is still there: what is offered as left behind must be plain.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// ASCII letters in lower case: identifiers are the same in any case.
std::string foldedIdentifier(std::string_view text);

// Whether a folder of this name may be an application's own: an optional ending ".savedState", ".plist" or
// ".binarycookies", then at least three parts of letters, digits, "-" and "_", and not Apple's. ASCII only.
bool looksLikeBundleIdentifier(std::string_view name);

// The identifier of the application that would own a folder of this name, in the name's own case and without what
// updaters and the system put behind it. Absent when the name is none by the rule above, does not begin as reversed
// domains do, or reads as a version or a host.
std::optional<std::string> identifierFromName(std::string_view name);

// The identifier itself and those of the applications that it may be a part of, longest first: "com.v.app.helper",
// "com.v.app-helper" and "com.v.appHelper" may belong to "com.v.app".
std::vector<std::string> possibleOwners(std::string_view identifier);

// "com.vendor", folded; one part more where many share the first two ("com.github.user").
std::string vendorOf(std::string_view identifier);

// What is compared of names that people read: the ASCII letters, in lower case, and the digits.
std::string comparableName(std::string_view text);

// Whether a part behind the first is one of these comparable names.
bool hasPartIn(std::string_view identifier, const std::set<std::string>& names);

// Whether an application of which only the name is known ("Google Chrome") may have this identifier; one whose name is
// in other letters may have any.
bool mayBelongToName(std::string_view identifier, std::string_view applicationName);

// The identifiers that are in use.
class IdentifierSet {
  public:
    // Of any case. False for anything but an identifier of at least two parts, which is not added.
    bool add(std::string_view identifier);
    bool empty() const { return identifiers_.empty(); }

    // One of them is this identifier, a beginning of it, or of a part of it ("com.v.app.helper" for "com.v.app").
    bool covers(std::string_view identifier) const;

    // One of the same vendor.
    std::optional<std::string> relativeOf(std::string_view identifier) const;

  private:
    std::set<std::string, std::less<>> identifiers_;  // folded
};

}  // namespace brindle
