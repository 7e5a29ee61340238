// Nothing is taken for an engine of this machine unless the answer names a way that stays on it.
#include "core/modules/docker_engine.h"
#include "tests/fuzz/target.h"

void check(std::string_view bytes) {
    const std::string text(bytes);
    const auto engine = brindle::parseDockerEngine(text);
    const bool isLocal = engine.place == brindle::DockerEngine::Place::local;
    require(!isLocal || text.find_first_of(":\\") != std::string::npos);
    require(engine.socket.empty() || (isLocal && engine.socket.starts_with('/')));
    require(isLocal || !engine.mayBeDockerDesktop("/home/me"));
}
