// Looks for phrases in a file that somebody else is still writing.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "core/platform/error.h"

namespace brindle {

// Owned by one thread. Each byte is read once; a phrase that arrives in two pieces is found all the same.
class OutputWatch {
  public:
    // `phrases` must outlive the watch; empty ones are never found.
    OutputWatch(std::string path, const std::vector<std::string>& phrases, std::uint64_t limit);

    struct Look {
        std::optional<std::string> phrase = {};  // the first of the list that stands in what is new
        bool isBeyondLimit = false;              // the file has more than `limit` bytes
    };
    std::expected<Look, Error> look();

  private:
    std::optional<std::string> phraseIn(const std::string& text) const;

    std::string path_;
    const std::vector<std::string>& phrases_;
    std::uint64_t limit_;
    std::uint64_t offset_ = 0;
    std::size_t overlap_ = 0;  // a phrase may have begun in this many of the bytes already seen
    std::string tail_;
};

}  // namespace brindle
