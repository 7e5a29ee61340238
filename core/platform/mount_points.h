// Where something is mounted. A mount can have the device number of what surrounds it (Linux binds a folder to a second
// place), so a status alone does not tell that what lies there belongs elsewhere.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// What was true at one moment; cheap to copy, any thread.
class MountPoints {
  public:
    // Of this moment, for which one small file is read. None where every mount has a device number of its own (macOS),
    // and where the system shows no table of its mounts: then areKnown() is false.
    static MountPoints current();

    // From the text of Linux's /proc/self/mountinfo.
    static MountPoints fromTable(std::string_view mountinfo);

    bool areKnown() const { return sorted_ != nullptr; }

    // Those strictly below `path`, which is absolute and without links; files among them. Sorted.
    std::vector<std::string> below(const std::string& path) const;

  private:
    std::shared_ptr<const std::vector<std::string>> sorted_;
};

}  // namespace brindle
