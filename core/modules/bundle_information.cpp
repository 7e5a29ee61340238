#include "core/modules/bundle_information.h"

#include <algorithm>
#include <array>

#include "core/platform/files.h"

namespace brindle {

namespace {

// Applications, frameworks of either form, bundles as other devices have them.
constexpr std::array<std::string_view, 4> kInformation = {
    "/Contents/Info.plist", "/Versions/Current/Resources/Info.plist", "/Resources/Info.plist", "/Info.plist"};

constexpr std::array<std::string_view, 5> kPrograms = {".app", ".appex", ".xpc", ".systemextension", ".dext"};
constexpr std::array<std::string_view, 8> kOtherBundles = {
    ".framework", ".bundle", ".plugin", ".kext", ".prefPane", ".saver", ".qlgenerator", ".mdimporter"};

bool endsWithAny(std::string_view name, const auto& endings) {
    return std::ranges::any_of(endings, [&](std::string_view ending) { return name.ends_with(ending); });
}

std::optional<std::string> identifierInWrapper(const std::string& bundle) {
    const std::string wrapper = bundle + "/Wrapper";
    const auto names = listFolder(wrapper);
    if (!names) return std::nullopt;
    for (const std::string& name : *names) {
        if (!name.ends_with(".app")) continue;
        const auto information = readPropertyList(wrapper + "/" + name + "/Info.plist");
        if (information) return bundleIdentifierIn(*information);
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> bundleIdentifierIn(const PropertyList& information) {
    auto identifier = information.text("CFBundleIdentifier");
    if (identifier && identifier->empty()) return std::nullopt;
    return identifier;
}

std::optional<std::string> bundleIdentifierOf(const std::string& bundle) {
    for (const std::string_view place : kInformation) {
        const auto information = readPropertyList(bundle + std::string(place));
        if (information) return bundleIdentifierIn(*information);
    }
    return identifierInWrapper(bundle);
}

BundleKind bundleKindOf(std::string_view name) {
    const bool isProgram = endsWithAny(name, kPrograms);
    return {.isBundle = isProgram || endsWithAny(name, kOtherBundles), .isProgram = isProgram};
}

LaunchJob launchJobIn(const PropertyList& job) {
    LaunchJob result{.label = job.text("Label"), .program = job.text("Program")};
    const PropertyList* arguments = job.find("ProgramArguments");
    const auto* list = arguments == nullptr ? nullptr : std::get_if<PropertyList::Array>(&arguments->value);
    if (result.program || list == nullptr || list->empty()) return result;
    if (const auto* first = std::get_if<std::string>(&list->front().value)) result.program = *first;
    return result;
}

std::vector<std::string> bundlesAround(std::string_view program) {
    constexpr std::string_view kInside = "/Contents/";
    std::vector<std::string> bundles;
    for (std::size_t at = program.find(kInside); at != std::string_view::npos;
         at = program.find(kInside, at + 1)) {
        if (at > 0) bundles.emplace_back(program.substr(0, at));
    }
    return bundles;
}

}  // namespace brindle
