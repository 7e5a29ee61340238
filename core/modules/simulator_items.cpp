#include "core/modules/simulator_items.h"
#include "core/modules/real_folders.h"

#include <algorithm>
#include <map>

#include "core/modules/simulator_list.h"
#include "core/modules/xcode_items.h"
#include "core/platform/file_status.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kDevices = "Library/Developer/CoreSimulator/Devices";

struct MeasuredDevice {
    SimulatorDevice device;
    NamedFolder folder;
    DirectoryMeasurement measurement;
};

using MeasuredDevices = std::vector<MeasuredDevice>;

// Every folder of the devices' folder, with what the list knows of it.
struct Simulators {
    MeasuredDevices available;
    MeasuredDevices unavailable;
    MeasuredDevices unlisted;
};

std::string upperCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return text;
}

Simulators simulatorsIn(const ScanContext& context, const std::vector<SimulatorDevice>& devices) {
    std::map<std::string, const SimulatorDevice*> byUdid;
    for (const SimulatorDevice& device : devices) byUdid.emplace(device.udid, &device);
    Simulators found;
    for (NamedFolder& folder : ownFolders(context, kDevices)) {
        auto measurement = measureOccupied(context, folder.path);
        if (!measurement) continue;
        const auto known = byUdid.find(upperCase(folder.name));
        const bool isListed = known != byUdid.end();
        MeasuredDevice entry = {isListed ? *known->second : SimulatorDevice{}, std::move(folder),
                                std::move(*measurement)};
        MeasuredDevices& group =
            isListed ? (entry.device.isAvailable ? found.available : found.unavailable) : found.unlisted;
        group.push_back(std::move(entry));
    }
    return found;
}

DirectoryMeasurement sumOf(const MeasuredDevices& devices) {
    DirectoryMeasurement sum;
    for (const MeasuredDevice& device : devices) sum += device.measurement;
    return sum;
}

std::vector<std::string> pathsOf(const MeasuredDevices& devices) {
    std::vector<std::string> paths;
    for (const MeasuredDevice& device : devices) paths.push_back(device.folder.path);
    return paths;
}

ItemHead headOf(const ScanContext& context, std::string key, std::string title) {
    return {ModuleID::xcode, std::move(key), std::move(title), context.displayPath(context.path(kDevices))};
}

// One line a runtime: "iOS 12.1: iPhone 8, iPhone X".
std::vector<Fact> namesByRuntime(const std::vector<SimulatorDevice>& devices) {
    std::map<std::string, std::string> names;
    for (const SimulatorDevice& device : devices) {
        std::string& list = names[device.runtime];
        list += list.empty() ? "" : ", ";
        list += device.name.empty() ? device.udid : device.name;
    }
    std::vector<Fact> facts;
    for (const auto& [runtime, list] : names) facts.push_back({"Simulators", runtime + ": " + list});
    return facts;
}

std::vector<SimulatorDevice> unavailableOnes(const std::vector<SimulatorDevice>& devices) {
    std::vector<SimulatorDevice> gone;
    std::ranges::copy_if(devices, std::back_inserter(gone),
                         [](const SimulatorDevice& device) { return !device.isAvailable; });
    return gone;
}

CleanupItem removableItem(const ScanContext& context, const MeasuredDevices& unavailable,
                          std::vector<Fact> facts) {
    const DirectoryMeasurement measurement = sumOf(unavailable);
    CleanupItemFields fields =
        itemFields(headOf(context, "unavailableSimulators", "Simulators whose runtime is gone"), measurement);
    fields.classification = Classification::review;
    std::ranges::copy(ageAndFileCount(context, measurement), std::back_inserter(facts));
    fields.explanation = {
        .storedWhatItIs =
            "Simulators that cannot start any more, usually because the system version they ran is not "
            "installed. The apps and data inside are still on disk.",
        .storedWhatHappensNext =
            "Xcode's simctl deletes these simulators with everything in them. They do not go to the Trash.",
        .storedWhySuggested =
            "None of them can be used unless its runtime is installed again, or the Xcode that knows it is "
            "chosen again. It is review rather than safe because data inside an app may exist nowhere else.",
        .regeneratedBy = Regeneration{Regeneration::Kind::action,
                                      "Install the runtime in Xcode and create the simulator again, empty"},
        .facts = std::move(facts),
    };
    fields.removal = {RunCommand{"xcrun", {"simctl", "delete", "unavailable"}}};
    return CleanupItem(std::move(fields));
}

void addUnavailable(const ScanContext& context, const MeasuredDevices& unavailable,
                    const std::vector<SimulatorDevice>& listed, ModuleResult& result) {
    if (unavailable.empty()) return;
    // simctl deletes all that are unavailable, those without a folder in this home too.
    const auto gone = unavailableOnes(listed);
    std::vector<Fact> facts = {{"Devices", ByteFormat::count(static_cast<std::int64_t>(gone.size()))}};
    std::ranges::move(namesByRuntime(gone), std::back_inserter(facts));
    if (std::ranges::all_of(gone, &SimulatorDevice::isShutDown)) {
        result.items.push_back(removableItem(context, unavailable, std::move(facts)));
        return;
    }
    for (const SimulatorDevice& device : gone) {
        if (!device.isShutDown) facts.push_back({"Not shut down", device.description()});
    }
    result.items.push_back(protectedItem(
        context, {.head = headOf(context, "unavailableSimulators", "Simulators whose runtime is gone"),
                  .measurement = sumOf(unavailable),
                  .reason = "Simulators that cannot start any more. At least one of them is not shut down, "
                            "so they are left alone: shut it down and scan again.",
                  .facts = std::move(facts),
                  .paths = pathsOf(unavailable)}));
}

void addAvailable(const ScanContext& context, const MeasuredDevices& available, ModuleResult& result) {
    if (available.empty()) return;
    const auto& largest = *std::ranges::max_element(
        available, {}, [](const MeasuredDevice& entry) { return entry.measurement.allocatedBytes; });
    const std::string size = ByteFormat::shortText(largest.measurement.allocatedBytes);
    result.items.push_back(protectedItem(
        context, {.head = headOf(context, "simulators", "Simulators"),
                  .measurement = sumOf(available),
                  .reason = "Simulators that can be started, each with the apps and data inside it, which "
                            "may exist nowhere else. The commands below remove or empty the largest of them.",
                  .facts = {{"Devices", ByteFormat::count(static_cast<std::int64_t>(available.size()))},
                            {"Largest", largest.device.description() + ", " + size},
                            {std::string(kRemoveItYourself), "xcrun simctl delete " + largest.device.udid},
                            {"Empty it yourself with", "xcrun simctl erase " + largest.device.udid}},
                  .paths = pathsOf(available)}));
}

void addUnlisted(const ScanContext& context, const MeasuredDevices& unlisted, ModuleResult& result) {
    if (unlisted.empty()) return;
    result.items.push_back(protectedItem(
        context,
        {.head = headOf(context, "unlistedSimulators", "Simulator folders that simctl does not list"),
         .measurement = sumOf(unlisted),
         .reason = "Folders among the simulators that belong to no simulator in simctl's list. Xcode keeps a "
                   "record of this place, so nothing in it is deleted by hand.",
         .facts = {{"Folders", ByteFormat::count(static_cast<std::int64_t>(unlisted.size()))}},
         .paths = pathsOf(unlisted)}));
}

void addWithoutList(const ScanContext& context, const SimctlFailure& failure, ModuleResult& result) {
    const std::string where = context.path(kDevices);
    const auto measurement = measureOccupied(context, where);
    if (!measurement) return;
    result.items.push_back(protectedItem(
        context, {.head = headOf(context, "simulators", "Simulators"),
                  .measurement = *measurement,
                  .reason = "The simulators of this Mac with the apps and data inside them. simctl did not "
                            "say which of them can still be started, so all are left alone.",
                  .facts = {},
                  .paths = {where}}));
    result.unreachable.push_back(failure.location());
}

// The image is one file on the system's side; what is mounted from it is never measured.
std::optional<DirectoryMeasurement> measurementOf(const ScanContext& context,
                                                  const SimulatorRuntime& runtime) {
    if (runtime.bytes) {
        DirectoryMeasurement reported;
        reported.source = DirectoryMeasurement::Source::reported;
        reported.allocatedBytes = *runtime.bytes;
        reported.logicalBytes = *runtime.bytes;
        return reported;
    }
    if (runtime.path.empty()) return std::nullopt;
    const auto status = statusOf(runtime.path);
    return status && status->isRegular() ? measureOccupied(context, runtime.path) : std::nullopt;
}

std::vector<Fact> factsOf(const ScanContext& context, const SimulatorRuntime& runtime) {
    std::vector<Fact> facts;
    const auto add = [&facts](std::string label, const std::string& value) {
        if (!value.empty()) facts.push_back({std::move(label), value});
    };
    add("Version", runtime.build.empty() ? runtime.version : runtime.version + " (" + runtime.build + ")");
    add("Platform", runtime.platform);
    add("Kind", runtime.kind);
    if (runtime.lastUsed) add("Last used", context.relativeAge(runtime.lastUsed));
    if (runtime.isDeletable) add("Can be deleted", *runtime.isDeletable ? "yes" : "no");
    if (runtime.isDeletable.value_or(false))
        add(std::string(kRemoveItYourself), "xcrun simctl runtime delete " + runtime.identifier);
    return facts;
}

CleanupItem runtimeItem(const ScanContext& context, const SimulatorRuntime& runtime,
                        const DirectoryMeasurement& measurement) {
    const bool isKept = runtime.isDeletable == false;
    return protectedItem(
        context,
        {.head = {ModuleID::xcode, "simulatorRuntime." + runtime.identifier,
                  localized("Simulator runtime %@", runtime.title), runtime.path},
         .measurement = measurement,
         .reason =
             isKept ? "A system version that simulators run. simctl says that it cannot be deleted by itself."
                    : "A system version that simulators run. It lies outside your home folder, where Brindle "
                      "removes nothing; Xcode downloads it again when you ask for it.",
         .facts = factsOf(context, runtime),
         .paths = runtime.path.empty() ? std::vector<std::string>{} : std::vector{runtime.path}});
}

UnreachableLocation sizeUnknown(const SimulatorRuntime& runtime) {
    return {"xcrun simctl runtime list -j", UnreachableLocation::Reason::toolchainNotRunning,
            localized("simctl does not say how large the runtime %@ is, so it is not shown.", runtime.title)};
}

}  // namespace

std::vector<std::string> deviceListArguments() {
    return {"list", "-j"};
}

std::vector<std::string> runtimeListArguments() {
    return {"runtime", "list", "-j"};
}

void addSimulators(const ScanContext& context, const std::expected<std::string, SimctlFailure>& answer,
                   ModuleResult& result) {
    if (!isRealFolder(context, kDevices)) return;
    if (!answer) {
        addWithoutList(context, answer.error(), result);
        return;
    }
    const auto devices = parseSimulatorDevices(*answer);
    if (!devices) {
        addWithoutList(context, notUnderstood("xcrun simctl list -j"), result);
        return;
    }
    const Simulators found = simulatorsIn(context, *devices);
    addUnavailable(context, found.unavailable, *devices, result);
    addAvailable(context, found.available, result);
    addUnlisted(context, found.unlisted, result);
}

void addRuntimes(const ScanContext& context, const std::expected<std::string, SimctlFailure>& answer,
                 ModuleResult& result) {
    if (!answer && answer.error().isRefusal) return;
    if (!answer) {
        result.unreachable.push_back(answer.error().location());
        return;
    }
    const auto runtimes = parseSimulatorRuntimes(*answer);
    if (!runtimes) {
        result.unreachable.push_back(notUnderstood("xcrun simctl runtime list -j").location());
        return;
    }
    for (const SimulatorRuntime& runtime : *runtimes) {
        const auto measurement = measurementOf(context, runtime);
        if (measurement) {
            result.items.push_back(runtimeItem(context, runtime, *measurement));
        } else if (!context.isCancelled()) {
            result.unreachable.push_back(sizeUnknown(runtime));
        }
    }
}

}  // namespace brindle
