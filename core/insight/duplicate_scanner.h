// Identical files below one folder of the home. Looks and compares; nothing is moved here (duplicate_trash.h).
//
// What may still be wanted as it is stays out: repositories and other projects, source, what package managers keep, files
// with several names, files that were written to a short while ago or are open in a program, links, other volumes.
#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <set>
#include <string>

#include "core/measure/directory_sizer.h"
#include "core/model/duplicate_report.h"
#include "core/text/calendar.h"

namespace brindle {

struct DuplicateSearch {
    std::string root;                    // absolute; in the home and on its volume
    std::uint64_t leastBytes = 1;        // smaller files are not looked at
    std::set<std::string> trashes = {};  // folders of the Trash: what lies there is on its way out
    TimePoint now = std::chrono::system_clock::now();
    CancellationTest isCancelled = [] { return false; };
};

class DuplicateScanner {
  public:
    // Absolute, links resolved.
    explicit DuplicateScanner(std::string home);

    // Every group rests on equal SHA-256 of whole files that were the same before the first byte was read and after the
    // last. A file that changes, vanishes or is replaced meanwhile is left out in silence. The error is a sentence on why
    // nothing was looked at, localised. Blocks.
    std::expected<DuplicateReport, std::string> scan(const DuplicateSearch& search) const;

    // The digest of the content, lower-case hexadecimal; absent when the file is not as it was found, cannot be read, or
    // has more than one name, and when the test says so.
    static std::optional<std::string> hash(const DuplicateFile& file,
                                           const CancellationTest& isCancelled = {});

    // Whether what lies at the path now has the identity, size, time and single name that were found; reads nothing.
    static bool isUnchanged(const DuplicateFile& file);

    // Whether no program has it open, as far as this user may know; false when that cannot be told.
    static bool isClosed(const DuplicateFile& file);

  private:
    std::expected<std::string, std::string> usableRoot(const DuplicateSearch& search) const;

    std::string home_;
};

}  // namespace brindle
