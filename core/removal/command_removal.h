// An item that a tool removes by its own command.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/guard/safety_guard.h"
#include "core/measure/directory_sizer.h"
#include "core/model/cleanup_item.h"
#include "core/model/receipt.h"
#include "core/tools/toolbox.h"

namespace brindle {

// Blocks; nothing raises. The guard must have allowed the item just before.
class CommandRemoval {
  public:
    // Tools may have a great deal to remove.
    static constexpr std::chrono::minutes kTimeout{60};

    CommandRemoval(const Toolbox& tools, const SafetyGuard& guard) : tools_(tools), guard_(guard) {}

    // A rehearsal starts nothing that changes anything.
    ReceiptEntry run(const CleanupItem& item, bool isRehearsal, const CancellationTest& isCancelled) const;

    // Instead of the tool's own words, when another uv holds the cache.
    static std::string uvCacheInUse();

  private:
    std::optional<std::string> objection(const RunCommand& command,
                                         const CancellationTest& isCancelled) const;
    std::optional<std::string> placeObjection(const RunCommand& command,
                                              const CancellationTest& isCancelled) const;
    void fail(ReceiptEntry& entry, const RunCommand& command, std::optional<std::uint64_t> before) const;
    void succeed(ReceiptEntry& entry, const RunCommand& command, const std::string& output,
                 std::optional<std::uint64_t> before) const;
    std::optional<std::uint64_t> dataLeft(const RunCommand& command) const;
    std::optional<std::uint64_t> dataOf(const RunCommand& command) const;
    std::optional<std::string> engineAfterword() const;

    const Toolbox& tools_;
    const SafetyGuard& guard_;
};

}  // namespace brindle
