// What a bundle's and a service's property lists say of who they are.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/modules/property_list.h"

namespace brindle {

// CFBundleIdentifier; absent when there is none or an empty one.
std::optional<std::string> bundleIdentifierIn(const PropertyList& information);

// Of a bundle: an application, an extension, a framework, an application for other devices in its wrapper. Absent when
// no information can be read, so for anything that is no bundle.
std::optional<std::string> bundleIdentifierOf(const std::string& bundle);

// Whether folders of this name are bundles; only an application, an extension or a service of one is `isProgram`.
struct BundleKind {
    bool isBundle = false;
    bool isProgram = false;
};
BundleKind bundleKindOf(std::string_view name);

// What launchd is told to start: the job's name, and the program's path as it stands there.
struct LaunchJob {
    std::optional<std::string> label;
    std::optional<std::string> program;
};
LaunchJob launchJobIn(const PropertyList& job);

// Every bundle that a program's path leads through, outermost first:
// "/A/X.app/Contents/Frameworks/Y.app/Contents/MacOS/Y" lies in "/A/X.app" and "/A/X.app/Contents/Frameworks/Y.app".
std::vector<std::string> bundlesAround(std::string_view program);

}  // namespace brindle
