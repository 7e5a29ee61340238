#include "core/modules/android_device_items.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/modules/measured_item.h"
#include "core/modules/real_folders.h"
#include "core/platform/file_status.h"
#include "core/platform/path_text.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

using State = VirtualDevice::State;

// What is said of a device in one state. A text without a reason to suggest it belongs to a protected item.
struct Texts {
    std::string_view whatItIs;
    std::string_view whatHappensNext = kNothingIsRemoved;
    std::string_view whySuggested = {};
};

constexpr std::string_view kCreatedAgain =
    "Create the device again in Android Studio's device manager; it starts empty";

Texts offeredTexts(State state) {
    if (state == State::withoutFolder) {
        return {"The record of a virtual Android device whose folder is gone.",
                "The record goes to the Trash, and the name disappears from the list of devices.",
                "Without its folder the device cannot start. It is review rather than safe because the "
                "record can still be of use to somebody who puts the folder back."};
    }
    if (state == State::withoutRecord) {
        return {
            "The folder of a virtual Android device whose record is gone, so that no tool lists it any more.",
            "The folder goes to the Trash, with the apps and files that were stored in the device.",
            "The device cannot start as it is. It is review rather than safe because what was stored in it "
            "comes back only from the Trash."};
    }
    return {"A virtual Android device: its disks with the apps and files stored in them, and its snapshots.",
            "The device goes to the Trash, with the apps and files that were stored in it.",
            "A device can be created again in minutes. It is review rather than safe because it starts empty "
            "then: what was stored in it comes back only from the Trash."};
}

Texts textsOf(State state) {
    switch (state) {
        case State::whole:
        case State::withoutFolder:
        case State::withoutRecord:
        case State::linked:
            return offeredTexts(state);
        case State::perhapsRecorded:
            return {
                "The folder of a virtual Android device that no readable record names. A record in "
                "~/.android/avd that could not be read may belong to it."};
        case State::recordUnreadable:
            return {
                "The record of a virtual Android device that could not be read or understood, so that "
                "nothing is known of the device."};
        case State::folderUnreadable:
            return {
                "A virtual Android device whose folder or settings could not be read or understood, so that "
                "it is not known what would be lost."};
        case State::folderNotFound:
            return {
                "The record of a virtual Android device whose folder is not where it should be. It is not "
                "taken for gone: it may lie on a disk that is not connected, or have been moved."};
        case State::elsewhere:
            return {
                "A virtual Android device whose folder lies outside ~/.android/avd, where Brindle does not "
                "remove devices."};
        case State::shared:
            return {
                "A virtual Android device that has several names. Brindle does not decide which of them is "
                "wanted."};
        case State::running:
            return {"A virtual Android device that is running now. Close it and scan again to remove it."};
        case State::locked:
            return {
                "A virtual Android device with an emulator's lock file in its folder: it is running, or the "
                "emulator crashed. If no emulator is open, start the device and close it once, which takes "
                "the lock away, and scan again."};
        case State::holdsKeys:
            return {
                "A virtual Android device in whose folder somebody keeps keys or keystores. Keys are never "
                "touched."};
    }
    return {};
}

// Removing a device by the tools' own command makes sense where a record names its folder.
bool canBeRemovedByCommand(State state) {
    return state == State::elsewhere || state == State::shared;
}

// A folder elsewhere is measured only if it looks like a device's, and holds nothing that others count: a record may
// name any folder at all.
bool isCounted(const ScanContext& context, const VirtualDevice& device) {
    const std::string& folder = device.folder;
    const std::string android = context.path(".android/");
    if (folder.starts_with(android + "avd/") && lastComponent(folder) == folder.substr(android.size() + 4))
        return true;
    const bool isAbove = (android + "avd").starts_with(folder + "/") || folder == "/";
    return folder.ends_with(".avd") && !isAbove && !folder.starts_with(android) &&
           folder.find("/../") == std::string::npos && !device.config.values.empty();
}

std::vector<std::string> pathsOf(const ScanContext& context, const VirtualDevice& device) {
    std::vector<std::string> paths = device.records;
    if (!device.folder.empty() && isCounted(context, device)) paths.push_back(device.folder);
    return paths;
}

std::optional<DirectoryMeasurement> measureTogether(const ScanContext& context,
                                                    const std::vector<std::string>& paths) {
    DirectoryMeasurement total;
    for (const std::string& path : paths) {
        if (const auto part = context.measure(path)) total += *part;
    }
    if (context.isCancelled() || total.allocatedBytes == 0) return std::nullopt;
    return total;
}

// The parts of the first image that the device starts from: API level, tag, processor.
std::vector<std::string> partsOfImage(const VirtualDevice& device) {
    std::vector<std::string> parts;
    if (!device.images || device.images->empty()) return parts;
    const std::string& image = device.images->front();
    for (std::size_t start = 0; start < image.size();) {
        const std::size_t end = std::min(image.find('/', start), image.size());
        parts.push_back(image.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

std::optional<std::string> targetOf(const VirtualDevice& device) {
    const auto parts = partsOfImage(device);
    if (parts.empty()) return device.record.value("target");
    return fmt::format("{}", fmt::join(parts, " · "));
}

std::optional<std::chrono::sys_seconds> modified(const VirtualDevice& device, std::string_view name) {
    const auto status = statusOf(fmt::format("{}/{}", device.folder, name));
    if (!status) return std::nullopt;
    return std::chrono::sys_seconds(std::chrono::seconds(status->modified));
}

// The emulator writes hardware-qemu.ini whenever it starts; its disks are written while it runs.
std::optional<Fact> lastStart(const ScanContext& context, const VirtualDevice& device) {
    if (const auto started = modified(device, "hardware-qemu.ini"))
        return Fact{"Last started", context.relativeAge(started)};
    const auto used =
        std::max(modified(device, "userdata-qemu.img.qcow2"), modified(device, "userdata-qemu.img"));
    return used ? std::optional(Fact{"Last used", context.relativeAge(used)}) : std::nullopt;
}

// Counted by itself, so that the scan's own count of files with several names is not touched.
std::uint64_t snapshotBytes(const ScanContext& context, const VirtualDevice& device) {
    const std::string folder = device.folder + "/snapshots";
    const auto status = statusOf(folder);
    if (!status || !status->isFolder()) return 0;
    return context.sizer.measureConcurrently(folder, {nullptr, context.isCancelled}).allocatedBytes;
}

std::vector<Fact> factsOf(const ScanContext& context, const VirtualDevice& device,
                          const DirectoryMeasurement& measurement) {
    std::vector<Fact> facts;
    if (const auto target = targetOf(device)) facts.push_back({"Target", *target});
    if (!device.folder.empty() && isCounted(context, device)) {
        if (const auto start = lastStart(context, device)) facts.push_back(*start);
        const std::uint64_t snapshots = snapshotBytes(context, device);
        facts.push_back(
            {"Snapshots", fmt::format("{} ({})", ByteFormat::shortText(snapshots),
                                      ByteFormat::percent(snapshots, measurement.allocatedBytes))});
        facts.push_back({"Size on disk", ByteFormat::shortText(measurement.allocatedBytes)});
        facts.push_back({"Apparent size", ByteFormat::shortText(measurement.logicalBytes)});
    }
    const auto command = commandLineOn("avdmanager delete avd -n", device.names[0]);
    if (command && canBeRemovedByCommand(device.state))
        facts.push_back({"Remove it yourself with", *command});
    return facts;
}

bool isPlainWord(std::string_view text) {
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    return !text.empty() && !text.starts_with('-') &&
           text.find_first_not_of(kPlain) == std::string_view::npos;
}

Regeneration regenerationOf(const VirtualDevice& device) {
    const auto parts = partsOfImage(device);
    const bool isKnown = parts.size() == 3 && std::ranges::all_of(parts, isPlainWord);
    if (device.state != State::whole || !isKnown || !isPlainWord(device.names[0]))
        return {Regeneration::Kind::action, std::string(kCreatedAgain)};
    return {Regeneration::Kind::command, fmt::format("avdmanager create avd -n {} -k \"system-images;{}\"",
                                                     device.names[0], fmt::join(parts, ";"))};
}

std::string titleOf(const VirtualDevice& device) {
    const std::string names = fmt::format("{}", fmt::join(device.names, ", "));
    if (device.state == State::withoutRecord || device.state == State::perhapsRecorded)
        return localized("Virtual device folder %@", names);
    if (device.state == State::shared) return localized("Virtual device %@", names);
    return localized("Virtual device %@", device.config.value("avd.ini.displayname").value_or(names));
}

// Where case counts, "Phone.ini" and "Phone.INI" are two records.
std::string keyOf(const VirtualDevice& device) {
    if (device.records.empty()) return "virtualDeviceFolder." + device.names[0];
    const std::string_view record = lastComponent(device.records[0]);
    return fmt::format("virtualDevice.{}", record.ends_with(".ini") ? device.names[0] : record);
}

std::optional<CleanupItem> itemOf(const ScanContext& context, const VirtualDevice& device) {
    const auto paths = pathsOf(context, device);
    const auto measurement = measureTogether(context, paths);
    if (!measurement) return std::nullopt;
    auto fields =
        itemFields({.module = ModuleID::android,
                    .key = keyOf(device),
                    .title = titleOf(device),
                    .detail = context.displayPath(device.folder.empty() ? paths[0] : device.folder)},
                   *measurement);
    const Texts texts = textsOf(device.state);
    fields.explanation = {.storedWhatItIs = std::string(texts.whatItIs),
                          .storedWhatHappensNext = std::string(texts.whatHappensNext),
                          .storedWhySuggested = std::nullopt,
                          .regeneratedBy = std::nullopt,
                          .facts = factsOf(context, device, *measurement)};
    if (context.isCancelled()) return std::nullopt;  // some numbers are only begun
    fields.removal = {DeletePaths{paths}};
    if (!texts.whySuggested.empty()) {
        fields.classification = Classification::review;
        fields.explanation.storedWhySuggested = texts.whySuggested;
        fields.explanation.regeneratedBy = regenerationOf(device);
    }
    return CleanupItem(std::move(fields));
}

}  // namespace

std::vector<CleanupItem> virtualDeviceItems(const ScanContext& context, const VirtualDevices& found) {
    std::vector<CleanupItem> items;
    for (const VirtualDevice& device : found.devices) {
        if (device.state == State::linked) continue;
        if (auto item = itemOf(context, device)) items.push_back(std::move(*item));
    }
    return items;
}

}  // namespace brindle
