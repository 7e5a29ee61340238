#include "core/scan/scan_diagnostics.h"

namespace brindle {

void ScanDiagnostics::record(const std::string& path, UnreachableLocation::Reason reason) {
    const std::lock_guard guard(lock_);
    const auto [entry, isNew] = reasons_.try_emplace(path, reason);
    if (!isNew && isDeliberate(entry->second)) entry->second = reason;
}

std::optional<UnreachableLocation::Reason> ScanDiagnostics::reason(const std::string& path) const {
    const std::lock_guard guard(lock_);
    const auto entry = reasons_.find(path);
    if (entry == reasons_.end()) return std::nullopt;
    return entry->second;
}

std::vector<std::pair<std::string, UnreachableLocation::Reason>> ScanDiagnostics::entries() const {
    const std::lock_guard guard(lock_);
    return {reasons_.begin(), reasons_.end()};
}

std::vector<std::string> ScanDiagnostics::paths() const {
    const std::lock_guard guard(lock_);
    std::vector<std::string> paths;
    for (const auto& [path, reason] : reasons_) paths.push_back(path);
    return paths;
}

}  // namespace brindle
