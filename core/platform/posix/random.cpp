#include "core/platform/random.h"

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>

namespace brindle {

std::expected<void, Error> fillWithRandom(std::span<std::byte> bytes) {
    if (::getentropy(bytes.data(), bytes.size()) == 0) return {};
    return std::unexpected(errorFrom(errno, "take random bytes", ""));
}

}  // namespace brindle
