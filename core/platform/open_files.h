// Which files are open in some program at this moment.
#pragma once

#include <cstdint>
#include <expected>
#include <set>
#include <string_view>
#include <utility>

#include "core/platform/error.h"
#include "core/platform/file_status.h"

namespace brindle {

// Opened by a descriptor or mapped into memory. A value: what was true while it was taken, any thread afterwards.
class OpenFiles {
  public:
    // Looks through every process that this user may look into; some hundredths of a second. An error when the system
    // shows no processes at all.
    static std::expected<OpenFiles, Error> current();

    bool contains(std::int32_t device, std::uint64_t inode) const { return files_.contains({inode, device}); }

    // False: there are processes of others, whose files are not known.
    bool isComplete() const { return isComplete_; }

    void add(const FileStatus& status);
    void noteHidden() { isComplete_ = false; }

  private:
    std::set<std::pair<std::uint64_t, std::int32_t>> files_;
    bool isComplete_ = true;
};

}  // namespace brindle
