#include "core/platform/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

#include "core/text/printable.h"

namespace brindle {

namespace {

Error::Kind kindFor(int code) {
    switch (code) {
        case ENOENT:
        case ENOTDIR:
            return Error::Kind::missing;
        case EACCES:
        case EPERM:
            return Error::Kind::permissionDenied;
        case EEXIST:
            return Error::Kind::alreadyExists;
        case ENOSPC:
        case EDQUOT:
            return Error::Kind::noSpace;
        case EROFS:
            return Error::Kind::readOnly;
        case EBUSY:
        case EWOULDBLOCK:
            return Error::Kind::busy;
        case EINTR:
            return Error::Kind::interrupted;
        default:
            return Error::Kind::other;
    }
}

}  // namespace

Error errorFrom(int code, std::string_view operation, std::string_view path) {
    return {kindFor(code), code, std::string(operation), std::string(path)};
}

Error malformedError(std::string_view operation, std::string_view path, std::string_view reason) {
    return {Error::Kind::malformed, 0, fmt::format("{} ({})", operation, reason), std::string(path)};
}

std::string Error::describe() const {
    // A reason in brackets comes behind the path, where every other reason stands.
    const std::size_t bracket =
        kind == Kind::malformed && !path.empty() ? operation.find(" (") : std::string::npos;
    std::string text = "could not " + operation.substr(0, bracket);
    if (!path.empty()) text += " " + printable(path);
    if (bracket != std::string::npos) {
        text += ": " + operation.substr(bracket + 2, operation.size() - bracket - 3);
    }
    if (code != 0) text += ": " + std::generic_category().message(code);
    return text;
}

}  // namespace brindle
