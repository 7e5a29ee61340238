// The places that one scan could not measure, gathered from every module.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/model/unreachable_location.h"

namespace brindle {

// Thread-safe; one for each scan.
class ScanDiagnostics {
  public:
    // The first real failure of a path stays; a deliberate limit gives way to whatever comes later.
    void record(const std::string& path, UnreachableLocation::Reason reason);

    // Absent for a path that nobody recorded.
    std::optional<UnreachableLocation::Reason> reason(const std::string& path) const;

    // Sorted by path.
    std::vector<std::pair<std::string, UnreachableLocation::Reason>> entries() const;
    std::vector<std::string> paths() const;

  private:
    mutable std::mutex lock_;
    std::map<std::string, UnreachableLocation::Reason> reasons_;
};

}  // namespace brindle
