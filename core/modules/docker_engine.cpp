#include "core/modules/docker_engine.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <optional>

#include "core/text/ascii.h"

namespace brindle {

namespace {

using EnginePlace = DockerEngine::Place;

constexpr std::array<std::string_view, 4> kNetworkSchemes = {"tcp://", "ssh://", "http://", "https://"};
constexpr std::array<std::string_view, 2> kLocalSchemes = {"npipe:////./pipe/", "fd://"};

std::optional<std::string_view> after(std::string_view text, std::string_view prefix) {
    if (!text.starts_with(prefix) || text.size() == prefix.size()) return std::nullopt;
    return text.substr(prefix.size());
}

// "user@host:22/path" and "[::1]:2375".
std::string_view hostIn(std::string_view authority) {
    authority = authority.substr(0, authority.find('/'));
    authority.remove_prefix(authority.rfind('@') + 1);  // none: npos + 1 is 0
    if (authority.starts_with('[')) return authority.substr(0, authority.find(']') + 1);
    return authority.substr(0, authority.find(':'));
}

bool isThisMachine(std::string_view host) {
    return host.empty() || host == "localhost" || host.starts_with("127.") || host == "0.0.0.0" ||
           host == "[::1]" || host == "[::]";
}

}  // namespace

DockerEngine DockerEngine::at(std::string_view address) {
    if (const auto path = after(address, "unix://")) {
        if (!path->starts_with('/')) return {};
        return {EnginePlace::local, std::string(*path)};
    }
    const auto matches = [&](std::string_view scheme) { return after(address, scheme).has_value(); };
    if (std::ranges::any_of(kLocalSchemes, matches)) return {EnginePlace::local, {}};
    for (const std::string_view scheme : kNetworkSchemes) {
        const auto authority = after(address, scheme);
        if (authority && !isThisMachine(hostIn(*authority))) return {EnginePlace::remote, {}};
    }
    return {};
}

bool DockerEngine::mayBeDockerDesktop(std::string_view home) const {
    const std::string folder(home);
    return socket == "/var/run/docker.sock" || socket.starts_with(folder + "/.docker/") ||
           socket.starts_with(folder + "/Library/Containers/com.docker.docker/");
}

DockerEngine parseDockerEngine(std::string_view output) {
    const auto lines = trimmedLines(output);
    if (lines.size() != 1) return {};
    const auto address = nlohmann::json::parse(lines.front(), nullptr, false);
    return address.is_string() ? DockerEngine::at(address.get_ref<const std::string&>()) : DockerEngine{};
}

}  // namespace brindle
