// A file that grows line by line, each line on the disk before the call returns: for journals.
//
// Errors are those of the system. One thread at a time; paths are bytes; descriptors are close-on-exec.
#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <string_view>

#include "core/platform/error.h"

namespace brindle {

// The file stays when the object goes.
class AppendingFile {
  public:
    // A new file (0600, whatever the umask) with `firstLine` in it, file and folder synced. The folder must be there.
    // Whatever lies at the path already, a link too, is Kind::alreadyExists. On any other failure no file is left.
    static std::expected<AppendingFile, Error> create(const std::string& path, std::string_view firstLine);
    ~AppendingFile();
    AppendingFile(AppendingFile&& other) noexcept;
    AppendingFile& operator=(AppendingFile&& other) noexcept;

    // `line` holds no line feed; one is written behind it. It is on the disk before whatever this process changes
    // there later. After a failure the end of the file is unknown (usually cut back to the last whole line) and
    // every further call fails as well.
    std::expected<void, Error> append(std::string_view line);

  private:
    AppendingFile(std::string path, int descriptor) : path_(std::move(path)), descriptor_(descriptor) {}
    std::string path_;
    int descriptor_ = -1;
    std::uint64_t size_ = 0;  // bytes of whole lines
};

// Takes the name away (a link itself, not where it leads) and syncs the folder. Nothing there is Kind::missing; a
// folder is an error and stays.
std::expected<void, Error> removeFileSynced(const std::string& path);

}  // namespace brindle
