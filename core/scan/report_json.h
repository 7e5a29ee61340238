// The report as one JSON document, schema version 1: docs/json.md says every field.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "core/scan/scan_report.h"

namespace brindle {

inline constexpr int kReportSchemaVersion = 1;

// `isInterrupted`: the scan was cancelled, so the report is partial whatever it says itself.
nlohmann::ordered_json reportJson(const ScanReport& report, const std::string& home,
                                  bool isInterrupted = false);

}  // namespace brindle
