// Letting go of copies: what of a report may go to the Trash, and the last look at each copy before it does.
#pragma once

#include <expected>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/model/cleanup_item.h"
#include "core/model/duplicate_report.h"
#include "core/removal/cleaner.h"

namespace brindle {

// Of the copies that were not chosen, by path.
struct KeptCopies {
    std::set<std::string> preferred = {};
    std::set<std::string> fleeting =
        {};  // a cleanup may delete them, so they are no reason to let another one go
};

// The copies that were chosen, as items of a cleanup that puts them into the Trash. Only exports of developers' tools go,
// and of each content at least one copy that was not chosen stays.
class DuplicateTrash {
  public:
    // `selection` holds paths of files of the report. An error, a localised sentence, when it holds anything else, a file
    // that is no export, or every copy of a content but fleeting ones. Of the copies that stay, those that are preferred are
    // compared first.
    static std::expected<DuplicateTrash, std::string> plan(const DuplicateReport& report,
                                                           const std::set<std::string>& selection,
                                                           const KeptCopies& keeping = {});

    const std::vector<CleanupItem>& items() const { return items_; }

    // Right before the item goes: it and a copy that stays are read once more, whole, and have the content they had; and no
    // program has the item open. The note says which copy stays. Blocks while they are read.
    LastWord lastWord(const CleanupItem& item, const std::string& home,
                      const CancellationTest& isCancelled) const;

  private:
    struct Copy {
        DuplicateFile file;
        std::size_t group;
    };
    struct Content {
        std::string hash;
        std::vector<DuplicateFile> kept;
    };

    std::vector<CleanupItem> items_;
    std::map<std::string, Copy> copies_;  // chosen, by item
    std::vector<Content> contents_;
};

}  // namespace brindle
