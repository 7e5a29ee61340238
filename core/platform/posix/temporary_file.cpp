#include "core/platform/posix/temporary_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <string_view>
#include <vector>

#include "core/platform/files.h"
#include "core/platform/posix/descriptor.h"

namespace brindle {

namespace {

constexpr std::string_view kPrefix = ".brindle-";
constexpr std::string_view kSuffix = ".tmp";

bool takeNumber(std::string_view& text, long& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

// Whoever runs under that number by now, the file is left to him.
bool isAbandoned(std::string_view name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) return false;
    name = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    long process = 0;
    long count = 0;
    if (!takeNumber(name, process) || process == 0 || !name.starts_with('-')) return false;
    name.remove_prefix(1);
    if (!takeNumber(name, count) || !name.empty()) return false;
    return ::kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH;
}

}  // namespace

std::string nextTemporaryName() {
    static std::atomic<unsigned> counter{0};
    return fmt::format("{}{}-{}{}", kPrefix, ::getpid(), counter++, kSuffix);
}

void removeAbandonedFrom(OpenFolder& folder) {
    EntryBlock block;
    std::vector<std::string> abandoned;
    bool isAtEnd = false;
    while (!isAtEnd && folder.read(block, isAtEnd) == 0) {
        ListedEntry entry;
        while (block.next(entry)) {
            if (isAbandoned(entry.name)) abandoned.emplace_back(entry.name);
        }
    }
    for (const std::string& name : abandoned) ::unlinkat(folder.descriptor(), name.c_str(), 0);
}

void removeAbandonedFiles(const std::string& directory) {
    Descriptor opened(retried([&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!opened) return;
    OpenFolder folder;
    folder.adopt(opened.release());
    removeAbandonedFrom(folder);
}

}  // namespace brindle
