// The inside of one open folder on its way out.
//
// Near the top the subfolders of a folder are removed side by side; deeper down each worker goes alone, and without a
// stack: it keeps the names of what is left to do in the folders above, a few of them open, and returns to the others
// through "..", comparing where it arrives.
#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "core/measure/listed_folder.h"
#include "core/platform/error.h"
#include "core/platform/file_status.h"
#include "core/platform/open_folder.h"

namespace brindle {

class FolderContents {
  public:
    // Something that keeps being filled is given up after so many times.
    static constexpr int kMostPasses = 8;

    // `path` is how the folder is shown in errors.
    explicit FolderContents(std::string path) : path_(std::move(path)) {}

    // Removes everything in the folder, not the folder itself; false when something has to stay. Call it inside the
    // arena of the workers.
    bool removeAll(OpenFolder& folder);

    // Any thread.
    void note(int code, std::string_view operation, const std::string& path);

    // After the walk.
    std::uint64_t failures() const { return failures_; }
    const Error& first() const { return first_; }

  private:
    // A folder between the root and where a worker is. Names only: a path is put together when somebody has to be told.
    struct Place {
        const Place* above = nullptr;
        std::string_view name;
    };
    // A folder that a lone worker has entered.
    struct Level {
        std::string name;
        Place place = {};
        OpenFolder folder = {};  // closed while the worker is far below it
        FileStatus status = {};
        FolderNames names = {};  // of the subfolders that are left
        std::uint32_t next = 0;
        bool isClean = true;
        int passes = 1;
    };
    // Where a lone worker is: below a folder that stays open.
    struct Descent {
        OpenFolder& top;
        const Place& place;
        std::deque<Level> levels = {};  // stay where they are
        bool isClean = true;
    };

    bool removeBelow(OpenFolder& folder, const Place& place, int depth);
    bool removeSubfolder(OpenFolder& folder, const Place& place, const char* name, int depth);
    bool removeAlone(OpenFolder& folder, const Place& place, const char* name);
    void enter(Descent& descent, std::string name);
    void leave(Descent& descent);
    OpenFolder* folderAbove(Descent& descent);
    bool open(OpenFolder& child, OpenFolder& parent, const Place& place, const char* name);
    bool sweep(OpenFolder& folder, const Place& place, FolderNames& names);
    bool removeEntry(OpenFolder& folder, const Place& place, const ListedEntry& entry, FolderNames& names);
    static bool isWorthAnotherPass(int failure, bool isClean, int pass);
    void noteEmptied(int failure, bool isClean, const Place& place, std::string_view name);
    std::string pathOf(const Place& place, std::string_view name) const;

    const std::string path_;
    std::mutex lock_;
    std::uint64_t failures_ = 0;
    Error first_;
};

}  // namespace brindle
