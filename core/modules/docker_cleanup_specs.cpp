// The four kinds of data that the engine's own prune commands remove, with every text about them.
#include "core/modules/docker_usage.h"

namespace brindle {

namespace {

RunCommand prune(std::vector<std::string> arguments) {
    return {.executable = "docker", .arguments = std::move(arguments)};
}

Regeneration byCommand(std::string line) {
    return {Regeneration::Kind::command, std::move(line)};
}

DockerUsage::Spec buildCache() {
    return {
        .key = "buildCache",
        .title = "Build cache",
        .classification = Classification::safe,
        .whatItIs = "BuildKit's layer cache — intermediate layers kept so repeated builds are fast.",
        .whatHappensNext = "Your next build of each image is slower once, then back to normal.",
        .whySuggested =
            "Docker reports this as reclaimable build cache: intermediate layers, rebuilt from your "
            "Dockerfiles.",
        .regeneratedBy = byCommand("docker build"),
        .command = prune({"builder", "prune", "-af"}),
    };
}

DockerUsage::Spec images() {
    return {
        .key = "images",
        .title = "Unused images",
        .classification = Classification::review,
        .whatItIs =
            "Images no running or stopped container references. Some are tagged, which usually means you "
            "pulled or built them on purpose.",
        .whatHappensNext =
            "Any image you need again is pulled or rebuilt. If it was built locally and never pushed "
            "anywhere, it is gone for good.",
        .whySuggested =
            "Docker lists these images as referenced by no container, running or stopped. It cannot tell "
            "whether you meant to keep one.",
        .regeneratedBy = byCommand("docker pull <image>"),
        .command = prune({"image", "prune", "-a", "-f"}),
    };
}

DockerUsage::Spec containers() {
    return {
        .key = "containers",
        .title = "Stopped containers",
        .classification = Classification::review,
        .whatItIs = "Containers that have exited. Their writable layer stays on disk until removed.",
        .whatHappensNext =
            "Anything written inside a stopped container that is not on a volume is lost. Volumes are "
            "untouched.",
        .whySuggested = "Docker lists these containers as exited. A running container is never included.",
        .regeneratedBy = byCommand("docker run"),
        .command = prune({"container", "prune", "-f"}),
    };
}

DockerUsage::Spec volumes() {
    return {
        .key = "volumes",
        .title = "Unused volumes",
        .classification = Classification::review,
        .whatItIs =
            "Anonymous volumes no container currently uses. This is where database state normally lives — a "
            "stopped Postgres container's data sits here.",
        .whatHappensNext =
            "The data in them is deleted permanently and cannot be rebuilt from a Dockerfile. Check each one "
            "before agreeing.",
        .whySuggested =
            "Docker lists these volumes as used by no container. That is not the same as unwanted: a stopped "
            "database's data looks exactly like this.",
        .regeneratedBy = std::nullopt,
        .command = prune({"volume", "prune", "-f"}),
    };
}

}  // namespace

std::optional<DockerUsage::Spec> DockerUsage::cleanupSpec(std::string_view type) {
    if (type == "Build Cache") return buildCache();
    if (type == "Images") return images();
    if (type == "Containers") return containers();
    if (type == "Local Volumes") return volumes();
    return std::nullopt;
}

}  // namespace brindle
