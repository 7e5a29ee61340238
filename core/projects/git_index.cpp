// hiddenChanges: Git's index, as far as its entries' flags and times go.
#include <string_view>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/projects/git_records.h"

namespace brindle {

namespace {

constexpr std::uint64_t kMostIndexBytes = 256ULL << 20U;
constexpr std::size_t kLongestPath = 4096;  // each entry copies it
constexpr std::size_t kHeader = 12;
constexpr std::size_t kNumbers = 40;  // before an entry's hash
constexpr std::size_t kModified = 8;
constexpr std::size_t kSize = 36;
constexpr unsigned kAssumeUnchanged = 0x8000;
constexpr unsigned kIsExtended = 0x4000;
constexpr unsigned kSkipWorktree = 0x4000;

// Numbers stand with their highest byte first. Past the end everything is 0, and isCut() says so.
class Bytes {
  public:
    explicit Bytes(std::string_view all) : all_(all) {}

    std::uint32_t number(std::size_t at, std::size_t width) {
        std::uint32_t value = 0;
        for (std::size_t index = 0; index < width; ++index) value = (value << 8U) | byte(at + index);
        return value;
    }
    std::size_t endOfText(std::size_t at) {
        const std::size_t end = all_.find('\0', at);
        isCut_ = isCut_ || end == std::string_view::npos;
        return isCut_ ? all_.size() : end;
    }
    std::string_view part(std::size_t begin, std::size_t end) const {
        return all_.substr(begin, end - begin);
    }
    bool isCut() const { return isCut_; }

  private:
    std::uint32_t byte(std::size_t at) {
        isCut_ = isCut_ || at >= all_.size();
        return isCut_ ? 0 : static_cast<unsigned char>(all_[at]);
    }

    std::string_view all_;
    bool isCut_ = false;
};

struct Entry {
    std::string path;
    bool isHidden = false;
    std::uint32_t size = 0;
    std::uint32_t modified = 0;
};

// What a file that is there has in common with its entry; Git compares the low 32 bits, too. A file that is gone holds no
// work, and one changed in the second in which the index was written cannot be told from the recorded one.
bool mayDiffer(const Entry& entry, const std::string& workingTree, std::int64_t indexModified) {
    const auto status = statusOf(workingTree + "/" + entry.path);
    if (!status || status->isFolder()) return false;
    return static_cast<std::uint32_t>(status->size) != entry.size ||
           static_cast<std::uint32_t>(status->modified) != entry.modified ||
           status->modified >= indexModified;
}

// The length that version 4 takes away from the path before: seven bits a byte, each further byte counting one more.
std::size_t takenAway(Bytes& bytes, std::size_t& at) {
    std::size_t length = bytes.number(at, 1);
    std::size_t value = length & 0x7FU;
    while ((length & 0x80U) != 0 && !bytes.isCut()) {
        length = bytes.number(++at, 1);
        value = ((value + 1) << 7U) | (length & 0x7FU);
    }
    at += 1;
    return value;
}

// Reads the entry at `at` over the one before, and moves on to the next; false when it is not to be understood.
bool readEntry(Bytes& bytes, std::uint32_t version, std::size_t hashBytes, std::size_t& at, Entry& entry) {
    const std::size_t begin = at;
    entry.modified = bytes.number(at + kModified, 4);
    entry.size = bytes.number(at + kSize, 4);
    at += kNumbers + hashBytes;
    const std::uint32_t flags = bytes.number(at, 2);
    at += 2;
    std::uint32_t further = 0;
    if ((flags & kIsExtended) != 0) {
        further = bytes.number(at, 2);
        at += 2;
    }
    entry.isHidden = (flags & kAssumeUnchanged) != 0 || (further & kSkipWorktree) != 0;
    if (version == 4) {
        const std::size_t less = takenAway(bytes, at);
        if (less > entry.path.size()) return false;
        entry.path.resize(entry.path.size() - less);
    } else {
        entry.path.clear();
    }
    const std::size_t end = bytes.endOfText(at);
    if (bytes.isCut()) return false;
    entry.path += bytes.part(at, end);
    if (entry.path.size() > kLongestPath) return false;
    // Before version 4 entries are filled up to a multiple of eight, with one NUL at least.
    at = version == 4 ? end + 1 : begin + ((end - begin) / 8 + 1) * 8;
    return true;
}

// Where Git keeps most entries in a second file ("link"), what is here is not all.
bool isSplit(Bytes& bytes, std::string_view all, std::size_t at, std::size_t hashBytes) {
    while (at + 8 + hashBytes <= all.size()) {
        if (bytes.part(at, at + 4) == "link") return true;
        at += 8 + bytes.number(at + 4, 4);
    }
    return false;
}

}  // namespace

std::optional<std::int64_t> hiddenChanges(const std::string& gitFolder, const std::string& workingTree,
                                          std::size_t hashBytes) {
    const std::string file = gitFolder + "/index";
    const auto status = statusOf(file);
    if (!status) return 0;  // nothing was ever added
    const auto text = readFile(file, kMostIndexBytes);
    if (!text || !text->starts_with("DIRC")) return std::nullopt;
    Bytes bytes(*text);
    const std::uint32_t version = bytes.number(4, 4);
    const std::uint32_t count = bytes.number(8, 4);
    if (version < 2 || version > 4) return std::nullopt;
    std::size_t at = kHeader;
    std::int64_t hidden = 0;
    Entry entry;
    for (std::uint32_t index = 0; index < count; ++index) {
        if (!readEntry(bytes, version, hashBytes, at, entry)) return std::nullopt;
        if (entry.isHidden && mayDiffer(entry, workingTree, status->modified)) hidden += 1;
    }
    if (isSplit(bytes, *text, at, hashBytes)) return std::nullopt;
    return hidden;
}

}  // namespace brindle
