#include "core/insight/duplicate_comparison.h"

#include <tbb/task_group.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <tuple>

#include "core/measure/walk_workers.h"
#include "core/platform/regular_file.h"

namespace brindle {

namespace {

// Sorts, and drops what has a key of its own.
template <typename Each, typename Key>
void keepRepeated(std::vector<Each>& list, const Key& key) {
    std::ranges::sort(list, {}, key);
    auto kept = list.begin();
    for (auto run = list.begin(); run != list.end();) {
        const auto end =
            std::find_if(run, list.end(), [&](const Each& each) { return key(each) != key(*run); });
        if (end - run > 1) kept = kept == run ? end : std::move(run, end, kept);
        run = end;
    }
    list.erase(kept, list.end());
}

// Whether the system does not let it be read, while it is there.
bool isRefused(const std::string& path) {
    RegularFile file;
    const int failure = file.open(path);
    return failure != 0 && failure != ENOENT && failure != ENOTDIR && failure != ELOOP;
}

}  // namespace

bool DuplicateComparison::isStopped() {
    if (!isStopped_ && isCancelled_ && isCancelled_()) isStopped_ = true;
    return isStopped_;
}

std::vector<std::uint32_t> DuplicateComparison::ofRepeatedSize(const OpenFiles& open) const {
    const auto size = [this](std::uint32_t file) { return seen(file).size; };
    std::vector<std::uint32_t> files;
    files.reserve(candidates_.files().size());
    for (std::uint32_t file = 0; file < candidates_.files().size(); ++file) {
        if (!open.contains(seen(file).device, seen(file).inode)) files.push_back(file);
    }
    keepRepeated(files, size);
    return files;
}

// Inodes that follow each other mostly lie behind each other.
std::vector<ComparedFile> DuplicateComparison::digests(std::vector<std::uint32_t> files, Extent extent) {
    std::ranges::sort(files, {}, [this](std::uint32_t file) { return seen(file).inode; });
    std::vector<ComparedFile> results(files.size());
    std::atomic<std::size_t> next = 0;
    const auto readOnAndOn = [&] {
        DigestReader reader([this] { return isStopped(); });
        for (std::size_t at = next++; at < files.size() && !isStopped(); at = next++) {
            const std::string path = candidates_.pathOf(candidates_.files()[files[at]]);
            const std::optional<Sha256> digest = extent == Extent::whole ? reader.whole(path, seen(files[at]))
                                                                         : reader.ends(path, seen(files[at]));
            if (digest) {
                results[at] = {files[at], true, *digest};
            } else if (!isStopped() && isRefused(path)) {
                const std::scoped_lock guard(lock_);
                unreadable_.insert(path);
            }
        }
    };
    readerArena().execute([&] {
        tbb::task_group readers;
        for (int reader = 0; reader < kReaders; ++reader) readers.run(readOnAndOn);
        readers.wait();
    });
    std::erase_if(results, [](const ComparedFile& each) { return !each.isKnown; });
    return results;
}

std::vector<ComparedFile> DuplicateComparison::identical(const OpenFiles& open) {
    const auto content = [this](const ComparedFile& each) {
        return std::tie(seen(each.file).size, each.digest);
    };
    std::vector<ComparedFile> found = digests(ofRepeatedSize(open), Extent::ends);
    keepRepeated(found, content);
    const auto isWhole = [this](const ComparedFile& each) {
        return seen(each.file).size <= DigestReader::kEndsHoldAll;
    };
    const auto larger = std::ranges::partition(found, isWhole).begin();
    std::vector<std::uint32_t> unsure;
    for (auto each = larger; each != found.end(); ++each) unsure.push_back(each->file);
    found.erase(larger, found.end());
    for (const ComparedFile& each : digests(std::move(unsure), Extent::whole)) found.push_back(each);
    keepRepeated(found, content);
    return found;
}

}  // namespace brindle
