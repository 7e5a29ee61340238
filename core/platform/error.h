// One error for every call to the operating system: what failed, on what, and why.
//
// Values only, made in one place (errorFrom), so that a sentence about a failure reads the same everywhere.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

struct Error {
    enum class Kind {
        missing,           // ENOENT, ENOTDIR: nothing lies there
        permissionDenied,  // EACCES, EPERM: it lies there and may not be touched
        alreadyExists,     // EEXIST
        noSpace,           // ENOSPC, EDQUOT
        readOnly,          // EROFS
        busy,              // EBUSY, EAGAIN on a lock: somebody else holds it
        interrupted,       // EINTR, or cancelled by the caller
        malformed,         // readable, but not what it should be (no errno)
        other,             // every other errno
    };

    Kind kind = Kind::other;
    int code = 0;           // errno, 0 where the system gave none
    std::string operation;  // what was tried, as a verb phrase: "open", "write the preferences"
    std::string path;       // bytes, not text; may be empty

    bool operator==(const Error&) const = default;

    // "could not OPERATION PATH: REASON", English; the path with unprintable bytes escaped.
    std::string describe() const;
};

// The only place where errno becomes a kind.
Error errorFrom(int code, std::string_view operation, std::string_view path);

// A file that could be read but makes no sense; `reason` is a phrase such as "not JSON".
Error malformedError(std::string_view operation, std::string_view path, std::string_view reason);

}  // namespace brindle
