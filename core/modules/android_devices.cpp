#include "core/modules/android_devices.h"

#include <algorithm>

#include "core/modules/real_folders.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

using State = VirtualDevice::State;
using Identity = std::pair<std::int32_t, std::uint64_t>;

constexpr std::string_view kFolder = ".android/avd";
constexpr std::string_view kAppleDouble = "._";  // what macOS writes beside a file on a foreign file system

bool isMissing(const Error& error) {
    return error.kind == Error::Kind::missing;
}

// What one search knows of ~/.android/avd.
struct Search {
    const ScanContext& context;
    std::string root;
    bool isLinked = false;                    // a link leads there
    std::map<Identity, std::string> folders;  // the real folders directly inside
    std::set<Identity> claimed;               // those that a record names
    bool hasUnreadableRecord = false;         // which may name any of them
};

// Of a folder, or of the one that a link leads to.
std::optional<Identity> identityOf(const std::string& folder) {
    auto status = statusOf(folder);
    if (status && status->isLink()) status = statusOf(folder + "/.");
    return status ? std::optional(Identity{status->device, status->inode}) : std::nullopt;
}

bool contains(const std::vector<std::string>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

// The places that the tools try, the first that is there counts.
std::vector<std::string> placesNamed(const ScanContext& context, const AndroidIni& record) {
    std::vector<std::string> places;
    if (const auto path = record.value("path"); path && path->starts_with('/')) places.push_back(*path);
    if (auto relative = record.value("path.rel")) {
        std::ranges::replace(*relative, '\\', '/');
        places.push_back(context.path(".android/" + *relative));
    }
    for (std::string& place : places) {
        while (place.size() > 1 && place.ends_with('/')) place.pop_back();
    }
    return places;
}

bool liesDirectlyIn(const std::string& root, const std::string& path) {
    const std::string name(lastComponent(path));
    return path == root + "/" + name && !name.empty() && name != "." && name != "..";
}

// A folder that would lie in ~/.android/avd is known to be gone; any other may be on a disk that is not connected.
State stateOfMissing(const Search& search, const std::vector<std::string>& places) {
    const bool isKnown = !search.isLinked && std::ranges::all_of(places, [&](const std::string& place) {
        return liesDirectlyIn(search.root, place);
    });
    return isKnown ? State::withoutFolder : State::folderNotFound;
}

void takeFolder(Search& search, VirtualDevice& device, const std::string& place, bool isLink) {
    device.folder = place;
    device.state = isLink ? State::linked : State::elsewhere;
    const auto identity = identityOf(place);
    if (!identity) return;
    search.claimed.insert(*identity);
    const auto here = search.folders.find(*identity);
    if (isLink || here == search.folders.end()) return;
    device.folder = here->second;
    device.state = State::whole;
}

void findFolder(Search& search, VirtualDevice& device) {
    const auto places = placesNamed(search.context, device.record);
    device.state = places.empty() ? State::recordUnreadable : stateOfMissing(search, places);
    for (const std::string& place : places) {
        const auto status = statusOf(place);
        if (!status && isMissing(status.error())) continue;
        if (status && (status->isFolder() || status->isLink()))
            return takeFolder(search, device, place, status->isLink());
        device.state = status ? State::recordUnreadable : State::folderUnreadable;
        return;
    }
}

// An image that is named nowhere is unknown, too: a config.ini cut off in the middle looks like that.
std::optional<std::vector<std::string>> imagesNamed(const AndroidIni& config) {
    std::vector<std::string> images;
    bool isNamed = false;
    for (const auto& [key, value] : config.values) {
        if (!key.starts_with("image.sysdir.") || value.empty()) continue;
        auto image = usedSystemImage(value);
        if (!image) return std::nullopt;
        isNamed = true;
        if (!image->empty()) images.push_back(std::move(*image));
    }
    return isNamed ? std::optional(images) : std::nullopt;
}

enum class Config { missing, unreadable, read };

// Follows links: a device behind one uses its image, too.
Config readConfig(VirtualDevice& device) {
    const auto text = readFile(device.folder + "/config.ini", AndroidIni::kLimit);
    if (!text && isMissing(text.error())) return Config::missing;
    auto config = text ? AndroidIni::parse(*text) : std::nullopt;
    if (!config) return Config::unreadable;
    device.config = std::move(*config);
    device.images = imagesNamed(device.config);
    return Config::read;
}

bool isKeyFile(const std::string& name) {
    const std::string lower = lowerCase(name);
    return lower == "adbkey" || lower == "adbkey.pub" || lower.ends_with(".keystore") ||
           lower.ends_with(".jks");
}

// The emulator removes hardware-qemu.ini.lock when it ends and leaves multiinstance.lock behind, which it holds
// locked while it runs.
State stateOfUnused(const VirtualDevice& device) {
    const auto names = listFolder(device.folder);
    if (!names) return State::folderUnreadable;
    if (std::ranges::any_of(*names, isKeyFile)) return State::holdsKeys;
    if (contains(*names, "hardware-qemu.ini.lock")) return State::locked;
    if (!contains(*names, "multiinstance.lock")) return device.state;
    const auto isHeld = isFileLocked(device.folder + "/multiinstance.lock");
    if (!isHeld) return isMissing(isHeld.error()) ? device.state : State::locked;
    return *isHeld ? State::running : device.state;
}

VirtualDevice deviceOf(Search& search, const std::string& name) {
    VirtualDevice device;
    device.names = {name.substr(0, name.size() - std::string_view(".ini").size())};
    device.records = {search.root + "/" + name};
    const auto text = readFile(device.records[0], AndroidIni::kLimit);
    auto record = text ? AndroidIni::parse(*text) : std::nullopt;
    device.state = State::recordUnreadable;
    if (record) {
        device.record = std::move(*record);
        findFolder(search, device);
    }
    search.hasUnreadableRecord |= device.state == State::recordUnreadable;
    const auto status = statusOf(device.records[0]);
    if (search.isLinked || (status && status->isLink())) device.state = State::linked;
    return device;
}

// Two names for one device: nobody can say which of them is wanted.
void joinShared(std::vector<VirtualDevice>& devices) {
    std::map<Identity, std::size_t> first;
    std::set<std::size_t> joined;
    for (std::size_t index = 0; index < devices.size(); ++index) {
        if (devices[index].folder.empty()) continue;
        const auto identity = identityOf(devices[index].folder);
        if (!identity) continue;
        const auto [known, isNew] = first.emplace(*identity, index);
        if (isNew) continue;
        VirtualDevice& other = devices[known->second];
        const bool areLinked = other.state == State::linked && devices[index].state == State::linked;
        if (other.state == State::linked) other.folder = devices[index].folder;
        other.names.push_back(devices[index].names[0]);
        other.records.push_back(devices[index].records[0]);
        if (!areLinked) other.state = State::shared;
        joined.insert(index);
    }
    std::size_t index = 0;
    std::erase_if(devices, [&](const VirtualDevice&) { return joined.contains(index++); });
}

// A record whose folder is not known, beside a folder of its name that nobody else names: they belong together, and
// how is not known.
void takeNamesakes(Search& search, std::vector<VirtualDevice>& devices) {
    for (VirtualDevice& device : devices) {
        if (!device.folder.empty() || device.state == State::linked) continue;
        const std::string namesake = search.root + "/" + device.names[0] + ".avd";
        const auto identity = identityOf(namesake);
        if (!identity || !search.folders.contains(*identity) || !search.claimed.insert(*identity).second)
            continue;
        device.folder = search.folders.at(*identity);
        if (device.state == State::withoutFolder) device.state = State::folderNotFound;
    }
}

void addFoldersWithoutRecord(const Search& search, std::vector<VirtualDevice>& devices) {
    std::set<std::string> unclaimed;
    for (const auto& [identity, path] : search.folders) {
        const bool isDevice = path.ends_with(".avd") && !lastComponent(path).starts_with(kAppleDouble);
        if (isDevice && !search.claimed.contains(identity)) unclaimed.insert(path);
    }
    for (const std::string& folder : unclaimed) {
        VirtualDevice device;
        device.folder = folder;
        device.names = {std::string(lastComponent(device.folder))};
        device.state = search.hasUnreadableRecord ? State::perhapsRecorded : State::withoutRecord;
        if (search.isLinked) device.state = State::linked;
        devices.push_back(std::move(device));
    }
}

// What a device starts from is known only with its folder; a record without one, and a folder with neither a record
// nor a config.ini, start from nothing.
void settle(VirtualDevice& device) {
    if (device.state == State::withoutFolder) device.images.emplace();
    const bool isFolderKnown =
        device.state != State::recordUnreadable && device.state != State::folderNotFound;
    if (device.folder.empty() || !isFolderKnown) return;
    const Config config = readConfig(device);
    if (config == Config::missing && device.records.empty()) device.images.emplace();
    if (config == Config::unreadable && device.state != State::linked) device.state = State::folderUnreadable;
    const bool mayBeOffered = device.state == State::whole || device.state == State::withoutRecord;
    if (mayBeOffered) device.state = stateOfUnused(device);
}

bool isRecordName(const std::string& name) {
    constexpr std::size_t kSuffix = 4;
    return name.size() > kSuffix && !name.starts_with(kAppleDouble) && lowerCase(name).ends_with(".ini");
}

// Nothing there is no failure; a link that leads nowhere is one.
VirtualDevices unlisted(const Search& search, const Error& error) {
    const std::string parent = search.context.path(".android");
    const bool isAbsent = isMissing(error) && !statusOf(search.root) && (!statusOf(parent) || exists(parent));
    using Reason = UnreachableLocation::Reason;
    const Reason reason = isMissing(error) ? Reason::missing : Reason::permissionDenied;
    if (!isAbsent) search.context.diagnostics->record(search.root, reason);
    return {.devices = {}, .isComplete = isAbsent};
}

}  // namespace

std::optional<std::string> VirtualDevices::unknownUser() const {
    const auto found = std::ranges::find_if(devices, [](const auto& device) { return !device.images; });
    return found == devices.end() ? std::nullopt : std::optional(found->names[0]);
}

std::vector<std::string> VirtualDevices::usersOf(std::string_view image) const {
    const std::string wanted = lowerCase(image) + "/";
    std::vector<std::string> users;
    for (const VirtualDevice& device : devices) {
        const auto uses = [&](const std::string& used) {
            return wanted.starts_with(used + "/") || (used + "/").starts_with(wanted);
        };
        if (device.images && std::ranges::any_of(*device.images, uses))
            users.insert(users.end(), device.names.begin(), device.names.end());
    }
    return users;
}

VirtualDevices findVirtualDevices(const ScanContext& context) {
    Search search{.context = context, .root = context.path(kFolder), .folders = {}, .claimed = {}};
    search.isLinked = !isRealFolder(context, kFolder);
    auto names = listFolder(search.root);
    if (!names) return unlisted(search, names.error());
    std::ranges::sort(*names);
    for (const std::string& name : *names) {
        const std::string path = search.root + "/" + name;
        const auto status = statusOf(path);
        if (status && status->isFolder())
            search.folders.emplace(Identity{status->device, status->inode}, path);
    }
    VirtualDevices found;
    for (const std::string& name : *names) {
        const auto status = statusOf(search.root + "/" + name);
        const bool isFile = !status || status->isRegular() || status->isLink();
        if (isFile && isRecordName(name)) found.devices.push_back(deviceOf(search, name));
    }
    joinShared(found.devices);
    takeNamesakes(search, found.devices);
    addFoldersWithoutRecord(search, found.devices);
    for (VirtualDevice& device : found.devices) settle(device);
    return found;
}

std::optional<std::string> usedSystemImage(std::string_view directory) {
    std::string path = lowerCase(directory);
    std::ranges::replace(path, '\\', '/');
    std::optional<std::string> below;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string component = path.substr(start, end - start);
        start = end + 1;
        if (component.empty() || component == ".") continue;
        const bool isPlain = std::ranges::all_of(component, [](char c) { return c > ' ' && c < '\x7f'; });
        const bool isRoot = component == "system-images";
        if (component == ".." || (below && (isRoot || !isPlain))) return std::nullopt;
        if (isRoot) {
            below.emplace();
        } else if (below) {
            *below += (below->empty() ? "" : "/") + component;
        }
    }
    // All of system-images would be every image.
    if (below && below->empty()) return std::nullopt;
    return below.value_or("");
}

}  // namespace brindle
