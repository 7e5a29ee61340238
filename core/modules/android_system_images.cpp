#include "core/modules/android_system_images.h"

#include <algorithm>
#include <array>

#include "core/modules/measured_item.h"
#include "core/modules/real_folders.h"
#include "core/text/core_strings.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

struct SdkFolder {
    std::string_view path;  // below the home folder
    std::string_view key;
    bool isRemovable;
};

constexpr std::array<SdkFolder, 2> kSdkFolders = {{
    {"Library/Android/sdk/system-images", "systemImage.", true},
    {"Android/Sdk/system-images", "sdkSystemImage.", false},
}};

constexpr std::string_view kWhatItIs =
    "The system that virtual Android devices of one version start from, downloaded once and shared by all of "
    "them.";
constexpr std::string_view kWhatHappensNext =
    "It goes to the Trash. A device that needs it does not start until it is downloaded again.";
constexpr std::string_view kWhySuggested =
    "No virtual device in ~/.android/avd uses it. It is review rather than safe because it is a large "
    "download, and devices that are kept elsewhere are not looked at.";

struct Image {
    const SdkFolder& sdk;
    std::string path;
    std::string name;  // "android-34/google_apis/arm64-v8a"
};

// What lies at that depth and is no image (of the oldest tools, or half downloaded) is left alone.
bool isImage(const ScanContext& context, const std::string& folder) {
    return std::ranges::any_of(std::array{"package.xml", "source.properties", "build.prop", "system.img"},
                               [&](const char* name) { return context.exists(folder + "/" + name); });
}

std::vector<Image> imagesIn(const ScanContext& context, const SdkFolder& sdk) {
    std::vector<Image> images;
    if (!isRealFolder(context, sdk.path)) return images;
    const std::string root = context.path(sdk.path);
    for (const std::string& api : realFoldersIn(context, root)) {
        for (const std::string& tag : realFoldersIn(context, api)) {
            for (const std::string& abi : realFoldersIn(context, tag)) {
                if (isImage(context, abi)) images.push_back({sdk, abi, abi.substr(root.size() + 1)});
            }
        }
    }
    return images;
}

std::string joined(std::string name, std::string_view separator) {
    for (std::size_t at = 0; (at = name.find('/', at)) != std::string::npos; at += separator.size())
        name.replace(at, 1, separator);
    return name;
}

// Why an image stays; absent when nothing speaks against removing it.
std::optional<std::string> reasonToKeep(const VirtualDevices& found, const std::string& image) {
    const auto users = found.usersOf(image);
    if (!users.empty()) {
        std::string names = users[0];
        for (std::size_t index = 1; index < users.size(); ++index) names += ", " + users[index];
        return localized("Needed to start: %@. Remove the virtual device first.", names);
    }
    if (!found.isComplete)
        return localized(
            "The virtual devices in ~/.android/avd could not be read, so no system image can be called "
            "unused.");
    if (const auto unknown = found.unknownUser())
        return localized(
            "It could not be read what the virtual device %@ starts from, so no system image can be called "
            "unused.",
            *unknown);
    return std::nullopt;
}

void offer(const std::string& package, CleanupItemFields& fields) {
    fields.explanation.storedWhatHappensNext = kWhatHappensNext;
    fields.explanation.storedWhySuggested = kWhySuggested;
    const auto install = commandLineOn("sdkmanager", package);
    fields.explanation.regeneratedBy =
        install
            ? Regeneration{Regeneration::Kind::command, *install}
            : Regeneration{Regeneration::Kind::action, "Download it again in Android Studio's SDK Manager"};
    fields.classification = Classification::review;
}

std::optional<CleanupItem> itemOf(const ScanContext& context, const VirtualDevices& found,
                                  const Image& image) {
    const auto measurement = measureOccupied(context, image.path);
    if (!measurement) return std::nullopt;
    const std::string package = "system-images;" + joined(image.name, ";");
    auto fields = itemFields({.module = ModuleID::android,
                              .key = std::string(image.sdk.key) + image.name,
                              .title = localized("Android system image %@", joined(image.name, " · ")),
                              .detail = context.displayPath(image.path)},
                             *measurement);
    fields.removal = {DeletePaths{{image.path}}};
    fields.explanation = {.storedWhatItIs = std::string(kWhatItIs),
                          .storedWhatHappensNext = std::string(kNothingIsRemoved),
                          .storedWhySuggested = std::nullopt,
                          .regeneratedBy = std::nullopt,
                          .facts = ageAndFileCount(context, *measurement)};
    if (const auto reason = reasonToKeep(found, image.name)) {
        fields.explanation.storedWhatItIs = *reason;
    } else if (image.sdk.isRemovable) {
        offer(package, fields);
    } else {
        fields.explanation.storedWhatItIs =
            "No virtual device in ~/.android/avd uses this system image, but Brindle removes nothing from "
            "this folder.";
        if (const auto command = commandLineOn("sdkmanager --uninstall", package))
            fields.explanation.facts.push_back({"Remove it yourself with", *command});
    }
    return CleanupItem(std::move(fields));
}

}  // namespace

std::vector<CleanupItem> systemImageItems(const ScanContext& context, const VirtualDevices& found) {
    std::vector<CleanupItem> items;
    for (const SdkFolder& sdk : kSdkFolders) {
        for (const Image& image : imagesIn(context, sdk)) {
            if (auto item = itemOf(context, found, image)) items.push_back(std::move(*item));
        }
    }
    return items;
}

bool hasSystemImages(const ScanContext& context) {
    return std::ranges::any_of(kSdkFolders,
                               [&](const SdkFolder& sdk) { return context.exists(context.path(sdk.path)); });
}

}  // namespace brindle
