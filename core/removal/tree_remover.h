// Takes away one object that was approved, and all that lies in it: the object, not whatever has its name by now.
//
// - The object is compared (device, inode, mode) on what was opened; its contents go through descriptors alone, so a
//   name that is exchanged meanwhile leads nowhere.
// - Links are removed, never followed. Where something is mounted the walk ends, and says so.
// - A folder of the user's own that may not be written to is made writable, once something in it has to go.
// - A failure inside does not stop the rest. What arrives while the walk is under way is taken along, a few times over.
// - Memory and descriptors (some 170) do not grow with the depth of the tree; no path is handed to the system.
#pragma once

#include <cstdint>
#include <string>

#include "core/model/path_identity.h"
#include "core/platform/error.h"
#include "core/platform/open_folder.h"

namespace brindle {

struct RemovalOutcome {
    enum class End {
        removed,   // nothing of it is left
        replaced,  // missing, or another object: nothing was touched
        partly,    // see the failures; may also mean that nothing could be removed
    };
    End end = End::removed;
    std::uint64_t failures = 0;
    Error first = {};  // of the failures the one whose path sorts first

    bool operator==(const RemovalOutcome&) const = default;
};

class TreeRemover {
  public:
    // `parent` is an open folder, `name` an entry of it, `path` how both are shown in errors. Blocks; uses all the
    // workers of the process.
    RemovalOutcome remove(const OpenFolder& parent, const std::string& name, const PathIdentity& approved,
                          const std::string& path) const;
};

// A file gets a name of its own in its folder between being looked at and being removed. Gives the file the name back
// that it had, when a removal that was cut short left it so, and nothing else has come by that name.
void bringBackSetAside(const std::string& path, const PathIdentity& identity);

}  // namespace brindle
