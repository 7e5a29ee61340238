// Which command installs a dependency folder again, told by the lockfile nearest to it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "core/model/regeneration.h"

namespace brindle {

// Of one project; looks into each folder once for each kind of dependency folder. Used by one thread.
class LockfileSearch {
  public:
    explicit LockfileSearch(std::string projectFolder) : projectFolder_(std::move(projectFolder)) {}

    // From the folder that holds the artifact upwards to the project folder. Absent for a folder that no lockfile
    // tells of, and where there is none.
    std::optional<Regeneration> regeneration(std::string_view artifactName, const std::string& artifactPath);

  private:
    std::string_view commandIn(const std::string& folder, std::string_view artifactName);

    std::string projectFolder_;
    std::map<std::pair<std::string, std::string_view>, std::string_view> known_;  // empty: no lockfile there
};

}  // namespace brindle
