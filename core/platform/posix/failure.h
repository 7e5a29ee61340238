// The end of a function whose last call failed. For bodies in core/platform only.
#pragma once

#include <cerrno>
#include <expected>
#include <string_view>

#include "core/platform/error.h"

namespace brindle {

inline std::unexpected<Error> failure(std::string_view operation, std::string_view path, int code = errno) {
    return std::unexpected(errorFrom(code, operation, path));
}

}  // namespace brindle
