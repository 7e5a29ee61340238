#include "core/platform/open_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <unordered_set>

#include "core/platform/files.h"
#include "core/platform/open_folder.h"
#include "core/platform/posix/status_record.h"

namespace brindle {

namespace {

bool isProcess(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char each) { return each >= '0' && each <= '9'; });
}

bool isHidden(int failure) {
    return failure == EACCES || failure == EPERM;
}

// What a descriptor's link leads to, also when it has lost its name.
void addDescriptors(const std::string& process, OpenFiles& files) {
    OpenFolder folder;
    const int failure = folder.openPath(process + "/fd");
    if (isHidden(failure)) files.noteHidden();
    if (failure != 0) return;
    EntryBlock block;
    bool isAtEnd = false;
    while (!isAtEnd && folder.read(block, isAtEnd) == 0) {
        ListedEntry entry;
        while (block.next(entry)) {
            struct stat record{};
            if (::fstatat(folder.descriptor(), entry.name, &record, 0) == 0) files.add(statusFrom(record));
        }
    }
}

// "55d0c8a3f000-55d0c8a41000 r--p 00000000 08:01 1835011    /usr/bin/cat". The device that stands there is not the
// status's on every file system, so the path is asked. One that is gone is no candidate for anything.
void addMapped(const std::string& process, std::unordered_set<std::string>& known, OpenFiles& files) {
    const auto maps = readFile(process + "/maps");
    if (!maps && maps.error().kind == Error::Kind::permissionDenied) files.noteHidden();
    if (!maps) return;
    std::size_t at = 0;
    while (at < maps->size()) {
        const std::size_t end = std::min(maps->find('\n', at), maps->size());
        const std::string_view line = std::string_view(*maps).substr(at, end - at);
        at = end + 1;
        const std::size_t path = line.find('/');
        if (path == std::string_view::npos || !known.emplace(line.substr(path)).second) continue;
        if (const auto status = statusOf(std::string(line.substr(path)))) files.add(*status);
    }
}

}  // namespace

std::expected<OpenFiles, Error> OpenFiles::current() {
    const auto names = listFolder("/proc");
    if (!names) return std::unexpected(names.error());
    OpenFiles files;
    std::unordered_set<std::string> mapped;
    bool isAny = false;
    for (const std::string& name : *names) {
        if (!isProcess(name)) continue;
        isAny = true;
        addDescriptors("/proc/" + name, files);
        addMapped("/proc/" + name, mapped, files);
    }
    if (!isAny) return std::unexpected(malformedError("list the processes", "/proc", "it shows none"));
    return files;
}

}  // namespace brindle
