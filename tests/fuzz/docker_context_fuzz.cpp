// Nothing is taken for an engine of this machine unless the answer names a way that stays on it.
#include <cstdint>
#include <cstdlib>

#include "core/modules/docker_engine.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto engine = brindle::parseDockerEngine(text);
    const bool isLocal = engine.place == brindle::DockerEngine::Place::local;
    if (isLocal && text.find_first_of(":\\") == std::string::npos) std::abort();
    if (!engine.socket.empty() && (!isLocal || !engine.socket.starts_with('/'))) std::abort();
    if (!isLocal && engine.mayBeDockerDesktop("/home/me")) std::abort();
    return 0;
}
