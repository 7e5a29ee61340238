// An open folder, its listing, and the status of what lies in it: the calls that a walk of hundreds of
// thousands of files is made of. Failures are bare errno values, and no path is built here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/file_status.h"

namespace brindle {

struct ListedEntry {
    enum class Kind { folder, other, unknown };  // unknown: the file system does not say
    const char* name = nullptr;                  // ends with NUL; valid until the block is read into again
    Kind kind = Kind::unknown;
};

// Room for one portion of a listing, about 1,000 names. Reused from read to read; may be handed to another
// thread.
class EntryBlock {
  public:
    EntryBlock();

    // The next entry, never "." or ".."; false at the end of the block.
    bool next(ListedEntry& entry);

  private:
    friend class OpenFolder;
    static constexpr std::size_t kCapacity = 32 * 1024;
    std::unique_ptr<std::byte[]> bytes_;
    std::size_t used_ = 0;
    std::size_t position_ = 0;
};

// Owns the descriptor. Reading the listing belongs to one thread at a time; status calls are free for all.
class OpenFolder {
  public:
    OpenFolder() = default;
    ~OpenFolder() { close(); }
    OpenFolder(OpenFolder&& other) noexcept;
    OpenFolder& operator=(OpenFolder&& other) noexcept;

    // Each returns 0 or an errno. The last component is never followed when it is a link (ELOOP or ENOTDIR).
    int openAt(const OpenFolder& parent, const char* name);
    // An absolute path of any length, also longer than the system takes in one call.
    int openPath(const std::string& path);
    // An absolute path, component by component: a link anywhere in it is refused, not only at its end. "." and ".." are
    // EINVAL. Folders on the way need not be readable.
    int openWithoutLinks(const std::string& path);
    // The same for a relative path beneath `start`. With `making`, folders that are missing are made with that mode,
    // less the umask.
    int openBelow(const OpenFolder& start, std::string_view relative,
                  std::optional<std::uint32_t> making = std::nullopt);
    void close();
    bool isOpen() const { return descriptor_ >= 0; }
    // For the bodies of core/platform and core/removal only; stays the folder's own.
    int descriptor() const { return descriptor_; }

    // Takes over the descriptor of an open folder; for bodies in core/platform.
    void adopt(int descriptor);

    // Of the folder itself.
    int status(FileStatus& status) const;
    // Of an entry; a link is described as the link.
    int statusAt(const char* name, FileStatus& status) const;

    // Fills the block with the next portion. 0 and an empty block at the end.
    int read(EntryBlock& block, bool& isAtEnd);

  private:
    int descriptor_ = -1;
    void* stream_ = nullptr;  // the system's listing state, where it keeps one outside the descriptor
};

}  // namespace brindle
