// Which engine the docker command talks to. The client itself is asked: `docker context inspect` answers for
// DOCKER_HOST, DOCKER_CONTEXT and the chosen context alike, and reaches for no engine.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

struct DockerEngine {
    enum class Place {
        local,    // a socket, pipe or descriptor of this machine
        remote,   // an address on the network
        unknown,  // no answer, an address of no known form, or one that may lead anywhere
    };

    Place place = Place::unknown;
    std::string socket;  // its path where it is one of this machine's file system

    bool operator==(const DockerEngine&) const = default;

    // `address`: "unix:///var/run/docker.sock", "ssh://user@host", "tcp://host:2375". A network address of this very
    // machine is unknown: tunnels end there.
    static DockerEngine at(std::string_view address);

    // Whether the engine's data may lie in Docker Desktop's disk image: the sockets that it offers, below this home
    // folder and at the usual place.
    bool mayBeDockerDesktop(std::string_view home) const;
};

// From the output for the format "{{json .Endpoints.docker.Host}}": one JSON string, nothing else.
DockerEngine parseDockerEngine(std::string_view output);

}  // namespace brindle
