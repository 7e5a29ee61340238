#include "core/modules/simulator_list.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "core/text/ascii.h"
#include "core/text/calendar.h"

namespace brindle {

namespace {

using Json = nlohmann::json;

constexpr std::array<std::size_t, 4> kHyphens = {8, 13, 18, 23};
constexpr std::size_t kUdidLength = 36;

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lowered(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(), [](char letter) { return lowered(letter); });
    return small;
}

// simctl says "Install Started" and the like on the first run of a new Xcode, before what it was asked for.
std::optional<Json> objectIn(std::string_view text) {
    std::size_t start = text.starts_with('{') ? 0 : text.find("\n{");
    if (start == std::string_view::npos) return std::nullopt;
    if (text[start] == '\n') ++start;
    const std::size_t end = text.find_last_of('}');
    if (end == std::string_view::npos || end < start) return std::nullopt;
    Json object = Json::parse(text.substr(start, end - start + 1), nullptr, false);
    if (!object.is_object()) return std::nullopt;
    return object;
}

std::string textOf(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

// What a value says of "is it so": text, truth value or number.
std::optional<bool> answerIn(const Json& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_integer()) return value.get<std::int64_t>() != 0;
    if (!value.is_string()) return std::nullopt;
    const std::string text = lowered(value.get<std::string>());
    if (text == "yes" || text == "true" || text == "1") return true;
    if (text == "no" || text == "false" || text == "0") return false;
    return std::nullopt;
}

// "(available)", "(unavailable, runtime profile not found)", "available".
std::optional<bool> availabilityIn(const Json& value) {
    if (!value.is_string()) return std::nullopt;
    const std::string text = lowered(value.get<std::string>());
    if (text.find("unavailable") != std::string::npos) return false;
    if (text.find("available") != std::string::npos) return true;
    return std::nullopt;
}

bool isAvailable(const Json& device) {
    const auto asked = device.find("isAvailable");
    const auto told = device.find("availability");
    const auto first = asked == device.end() ? std::nullopt : answerIn(*asked);
    const auto second = told == device.end() ? std::nullopt : availabilityIn(*told);
    const bool saysNo = first == false || second == false;
    const bool saysYes = first == true || second == true;
    return saysYes || !saysNo;
}

std::string udidOf(const Json& device) {
    std::string udid = textOf(device, "udid");
    if (udid.size() != kUdidLength) return {};
    for (std::size_t at = 0; at < udid.size(); ++at) {
        const char small = lowered(udid[at]);
        const bool isHex = isAsciiDigit(small) || (small >= 'a' && small <= 'f');
        const bool isHyphenPlace = std::ranges::find(kHyphens, at) != kHyphens.end();
        if (isHyphenPlace ? small != '-' : !isHex) return {};
        if (small != udid[at] || !isHex || isAsciiDigit(small)) continue;
        udid[at] = static_cast<char>(small - 'a' + 'A');
    }
    return udid;
}

SimulatorDevice deviceOf(const Json& device, const std::string& runtime) {
    return {
        .udid = udidOf(device),
        .name = textOf(device, "name"),
        .runtime = runtime,
        .isAvailable = isAvailable(device),
        .isShutDown = lowered(textOf(device, "state")) == "shutdown",
    };
}

// Keeps the first sighting, and of what they say the more careful.
void add(std::vector<SimulatorDevice>& devices, SimulatorDevice device) {
    const auto known =
        device.udid.empty() ? devices.end() : std::ranges::find(devices, device.udid, &SimulatorDevice::udid);
    if (known == devices.end()) {
        devices.push_back(std::move(device));
        return;
    }
    known->isAvailable = known->isAvailable || device.isAvailable;
    known->isShutDown = known->isShutDown && device.isShutDown;
}

std::optional<std::uint64_t> bytesIn(const Json& object) {
    const auto found = object.find("sizeBytes");
    if (found == object.end() || !found->is_number_unsigned()) return std::nullopt;
    const auto bytes = found->get<std::uint64_t>();
    return bytes == 0 || bytes > kLargestRuntime ? std::nullopt : std::optional(bytes);
}

std::optional<bool> answerUnder(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() ? std::nullopt : answerIn(*found);
}

std::optional<std::chrono::sys_seconds> momentUnder(const Json& object, const char* key) {
    const auto moment = timeFromIso8601(textOf(object, key));
    if (!moment) return std::nullopt;
    return std::chrono::floor<std::chrono::seconds>(*moment);
}

// "com.apple.platform.iphonesimulator" is "iphonesimulator".
std::string platformOf(const Json& runtime) {
    const std::string platform = textOf(runtime, "platformIdentifier");
    return platform.substr(platform.find_last_of('.') + 1);
}

std::string titleOf(const Json& runtime) {
    std::string title = simulatorRuntimeName(textOf(runtime, "runtimeIdentifier"));
    if (!title.empty()) return title;
    title = platformOf(runtime);
    const std::string version = textOf(runtime, "version");
    if (!title.empty() && !version.empty()) title += " ";
    return title + version;
}

SimulatorRuntime runtimeOf(const std::string& key, const Json& runtime) {
    const std::string path = textOf(runtime, "path");
    const std::string title = titleOf(runtime);
    return {
        .identifier = key,
        .title = title.empty() ? key : title,
        .version = textOf(runtime, "version"),
        .build = textOf(runtime, "build"),
        .platform = platformOf(runtime),
        .kind = textOf(runtime, "kind"),
        .path = path.starts_with('/') ? path : std::string(),
        .bytes = bytesIn(runtime),
        .isDeletable = answerUnder(runtime, "deletable"),
        .lastUsed = momentUnder(runtime, "lastUsedAt"),
    };
}

// What is shown as part of a command line is a plain word.
bool isIdentifier(std::string_view key) {
    const auto fits = [](char character) {
        const char small = lowered(character);
        return isAsciiDigit(small) || isAsciiLower(small) || small == '-';
    };
    return !key.empty() && key.front() != '-' && std::ranges::all_of(key, fits);
}

bool isSameImage(const SimulatorRuntime& left, const SimulatorRuntime& right) {
    return lowered(left.identifier) == lowered(right.identifier) ||
           (!left.path.empty() && left.path == right.path);
}

}  // namespace

std::string SimulatorDevice::description() const {
    return (name.empty() ? udid : name) + " (" + runtime + ")";
}

std::string simulatorRuntimeName(std::string_view key) {
    constexpr std::string_view kUnavailable = "Unavailable: ";
    constexpr std::string_view kPrefix = "com.apple.CoreSimulator.SimRuntime.";
    if (key.starts_with(kUnavailable)) key.remove_prefix(kUnavailable.size());
    if (!key.starts_with(kPrefix)) return std::string(key);
    std::string name(key.substr(kPrefix.size()));
    const std::size_t version = name.find('-');
    if (version == std::string::npos) return name;
    std::replace(name.begin() + static_cast<std::ptrdiff_t>(version) + 1, name.end(), '-', '.');
    name[version] = ' ';
    return name;
}

std::optional<std::vector<SimulatorDevice>> parseSimulatorDevices(std::string_view text) {
    const auto json = objectIn(text);
    if (!json) return std::nullopt;
    const auto runtimes = json->find("devices");
    if (runtimes == json->end() || !runtimes->is_object()) return std::nullopt;
    std::vector<SimulatorDevice> devices;
    for (const auto& [key, list] : runtimes->items()) {
        if (!list.is_array()) return std::nullopt;
        const std::string runtime = simulatorRuntimeName(key);
        for (const Json& device : list) {
            if (!device.is_object()) return std::nullopt;
            add(devices, deviceOf(device, runtime));
        }
    }
    return devices;
}

std::optional<std::vector<SimulatorRuntime>> parseSimulatorRuntimes(std::string_view text) {
    const auto json = objectIn(text);
    if (!json) return std::nullopt;
    std::vector<SimulatorRuntime> runtimes;
    for (const auto& [key, value] : json->items()) {
        if (!value.is_object() || !isIdentifier(key)) return std::nullopt;
        SimulatorRuntime runtime = runtimeOf(key, value);
        const bool isKnown = std::ranges::any_of(
            runtimes, [&](const SimulatorRuntime& known) { return isSameImage(known, runtime); });
        if (!isKnown) runtimes.push_back(std::move(runtime));
    }
    return runtimes;
}

}  // namespace brindle
