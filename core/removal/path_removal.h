// One path of an item on its way out: looked at, judged, measured, and deleted or put into the Trash.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/guard/safety_guard.h"
#include "core/model/path_identity.h"
#include "core/model/receipt.h"
#include "core/platform/trash.h"

namespace brindle {

enum class RemovalRoute { deletion, trash };

struct PathToRemove {
    std::string path;                      // absolute
    std::optional<PathIdentity> approved;  // as the scan saw it
    RemovalRoute route = RemovalRoute::deletion;
    bool isRehearsal = false;  // all of it but the last call
};

struct PathOutcome {
    std::uint64_t bytes = 0;   // allocated; what went, or in a rehearsal what would go
    bool isGone = false;       // all of it
    bool wasReplaced = false;  // missing, or no longer the object of the scan
    std::optional<TrashedThing> trashedAs{};
    std::optional<std::string> failure{};  // a localised sentence, with the path
};

// Blocks; nothing raises. Any thread, but one path at a time.
class PathRemoval {
  public:
    PathRemoval(const SafetyGuard& guard, const Trash& trash) : guard_(guard), trash_(trash) {}

    PathOutcome remove(const PathToRemove& wanted) const;

  private:
    PathOutcome removeJudged(const PathToRemove& wanted, const OpenFolder& parent, std::uint64_t bytes) const;
    PathOutcome deleteObject(const PathToRemove& wanted, const OpenFolder& parent, std::uint64_t bytes) const;
    PathOutcome trashObject(const PathToRemove& wanted, const OpenFolder& parent, std::uint64_t bytes) const;

    const SafetyGuard& guard_;
    const Trash& trash_;
};

}  // namespace brindle
