#include "core/modules/xcode_device_support.h"

#include <algorithm>
#include <charconv>

#include "core/modules/xcode_items.h"
#include "core/text/ascii.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kFolderSuffix = " DeviceSupport";

// "iPhone12,1"
bool isModel(std::string_view word) {
    const std::size_t comma = word.find(',');
    if (comma == std::string_view::npos || comma + 1 == word.size() || !isAsciiLetter(word.front()))
        return false;
    return std::ranges::all_of(word.substr(0, comma), isAsciiLetterOrDigit) &&
           std::ranges::all_of(word.substr(comma + 1), isAsciiDigit);
}

// "arm64e", "arm64_32"
bool isArchitecture(std::string_view word) {
    const auto fits = [](char character) { return isAsciiLetterOrDigit(character) || character == '_'; };
    return !word.empty() && isAsciiLetter(word.front()) && std::ranges::all_of(word, fits);
}

// "(21E219)"
std::optional<std::string> buildIn(std::string_view word) {
    if (word.size() < 3 || word.front() != '(' || word.back() != ')') return std::nullopt;
    const std::string_view build = word.substr(1, word.size() - 2);
    if (!std::ranges::all_of(build, isAsciiLetterOrDigit)) return std::nullopt;
    return std::string(build);
}

std::optional<std::vector<std::uint32_t>> numbersIn(std::string_view version) {
    std::vector<std::uint32_t> numbers;
    for (const std::string_view part : split(version, '.')) {
        std::uint32_t number = 0;
        const char* const last = part.data() + part.size();
        const auto [end, failure] = std::from_chars(part.data(), last, number);
        if (failure != std::errc() || end != last) return std::nullopt;
        numbers.push_back(number);
    }
    while (numbers.size() > 1 && numbers.back() == 0) numbers.pop_back();
    return numbers;
}

struct VersionFolder {
    std::string platform;
    NamedFolder folder;
    std::optional<DeviceSupportVersion> version;
};

std::vector<VersionFolder> versionFolders(const ScanContext& context) {
    std::vector<VersionFolder> found;
    for (const NamedFolder& support : ownFolders(context, kXcodeFolder)) {
        if (!support.name.ends_with(kFolderSuffix)) continue;
        const std::string platform = support.name.substr(0, support.name.size() - kFolderSuffix.size());
        const std::string relative = std::string(kXcodeFolder) + "/" + support.name;
        for (NamedFolder& folder : ownFolders(context, relative)) {
            auto version = DeviceSupportVersion::parse(folder.name);
            found.push_back({platform, std::move(folder), std::move(version)});
        }
    }
    return found;
}

// Several models may share the newest version.
bool isNewest(const VersionFolder& candidate, const std::vector<VersionFolder>& all) {
    return candidate.version && std::ranges::none_of(all, [&](const VersionFolder& other) {
               return other.platform == candidate.platform && other.version &&
                      other.version->numbers > candidate.version->numbers;
           });
}

std::string whySuggested(const VersionFolder& folder, const std::vector<VersionFolder>& all) {
    if (!folder.version) {
        return "Its name does not tell which system version it belongs to, so look at it before you remove "
               "it.";
    }
    if (isNewest(folder, all)) {
        return "This is the newest version of its platform here and likely the one your devices run. Keep it "
               "if you still debug on them: Xcode has to copy it again before it can.";
    }
    return "A newer version of the same platform is here too. This one serves only devices that still run "
           "it, and crash reports from it.";
}

std::vector<Fact> factsOf(const DeviceSupportVersion& version) {
    std::vector<Fact> facts;
    if (!version.model.empty()) facts.push_back({"Device model", version.model});
    facts.push_back({"System version", version.versionText});
    if (!version.build.empty()) facts.push_back({"System build", version.build});
    return facts;
}

std::optional<CleanupItem> itemOf(const ScanContext& context, const VersionFolder& found,
                                  const std::vector<VersionFolder>& all) {
    const auto& [platform, folder, version] = found;
    const auto measurement = measureOccupied(context, folder.path);
    if (!measurement) return std::nullopt;
    CleanupItemFields fields = itemFields(
        {ModuleID::xcode, "deviceSupport." + platform + "/" + folder.name,
         localized("Device support for %@ %@", platform, folder.name), context.displayPath(folder.path)},
        *measurement);
    fields.classification = Classification::review;
    fields.explanation = {
        .storedWhatItIs =
            "System symbols that Xcode copied from a connected device. Debugging on that system version and "
            "reading its crash reports need them.",
        .storedWhatHappensNext =
            "Xcode copies them again when a device with exactly this version is connected. Without such a "
            "device they do not come back.",
        .storedWhySuggested = whySuggested(found, all),
        .regeneratedBy =
            Regeneration{Regeneration::Kind::action, "Connect a device that runs this system version"},
        .facts = version ? factsOf(*version) : std::vector<Fact>{},
    };
    std::ranges::copy(ageAndFileCount(context, *measurement), std::back_inserter(fields.explanation.facts));
    fields.removal = {DeletePaths{{folder.path}}};
    return CleanupItem(std::move(fields));
}

}  // namespace

std::optional<DeviceSupportVersion> DeviceSupportVersion::parse(std::string_view folderName) {
    auto words = split(folderName, ' ');
    const auto take = [&words] { words.erase(words.begin()); };
    DeviceSupportVersion version;
    if (isModel(words.front())) {
        version.model = words.front();
        take();
    }
    if (words.empty()) return std::nullopt;
    const auto numbers = numbersIn(words.front());
    if (!numbers) return std::nullopt;
    version.numbers = *numbers;
    version.versionText = words.front();
    take();
    if (const auto build = words.empty() ? std::nullopt : buildIn(words.front())) {
        version.build = *build;
        take();
    }
    if (!words.empty() && isArchitecture(words.front())) take();
    if (!words.empty()) return std::nullopt;
    return version;
}

std::vector<CleanupItem> deviceSupportItems(const ScanContext& context) {
    const auto all = versionFolders(context);
    std::vector<CleanupItem> items;
    for (const VersionFolder& folder : all) {
        if (auto item = itemOf(context, folder, all)) items.push_back(std::move(*item));
    }
    return items;
}

}  // namespace brindle
