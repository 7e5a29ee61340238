// A software project that a scan found.
#pragma once

#include <optional>
#include <string>

#include "core/model/directory_measurement.h"
#include "core/text/calendar.h"

namespace brindle {

struct Project {
    std::string path;  // absolute, links resolved; also its identity
    std::string name;  // the folder's own name
    std::optional<TimePoint> lastUsed;
    DirectoryMeasurement measurement;  // of the whole folder

    bool operator==(const Project&) const = default;
};

}  // namespace brindle
