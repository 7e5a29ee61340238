#include "core/platform/posix/new_file.h"

#include <fcntl.h>
#include <unistd.h>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/durable.h"
#include "core/platform/posix/ownership.h"

namespace brindle {

int writeNewFileAt(int folder, const std::string& name, std::string_view content) {
    const Descriptor file(retried([&] {
        return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    }));
    if (!file) return errno;
    if (writeAll(file.get(), content) && giveToOwnerOf(folder, file.get()) && syncToDisk(file.get()) == 0)
        return 0;
    const int failure = errno;
    ::unlinkat(folder, name.c_str(), 0);
    return failure;
}

}  // namespace brindle
