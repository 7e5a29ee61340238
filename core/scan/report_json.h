// The report as one JSON document, schema version 1: docs/json.md says every field.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "core/scan/scan_report.h"

namespace brindle {

inline constexpr int kReportSchemaVersion = 1;

// `isInterrupted`: the scan was cancelled, so the report is partial whatever it says itself.
nlohmann::ordered_json reportJson(const ScanReport& report, const std::string& home,
                                  bool isInterrupted = false);

// The projects as the report lists them: each with its relations, by its path.
nlohmann::ordered_json projectsJson(const std::vector<Project>& projects,
                                    const std::map<std::string, RelatedProjects>& relations);

}  // namespace brindle
