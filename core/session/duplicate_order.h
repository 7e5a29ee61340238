// Looking for duplicates and letting go of some: what is asked for, and what came of it.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "core/model/duplicate_report.h"
#include "core/session/cleanup.h"

namespace brindle {

struct FoundDuplicates {
    DuplicateReport report;
    // Exports that may not go to the Trash as things stand: by path, with the guard's reason.
    std::map<std::string, std::string> heldBack;

    // Copies that lie where a cleanup may delete them: no reason to let another one go.
    std::set<std::string> fleeting;

    bool mayGo(const DuplicateFile& file) const {
        return file.isDeveloperExport() && !heldBack.contains(file.path);
    }
};

struct TrashDuplicatesOrder {
    const DuplicateReport& report;
    std::set<std::string> selection;       // paths of the report
    std::set<std::string> preferred = {};  // of those that stay, the ones to be named as such
    CancellationTest isCancelled = [] { return false; };
    std::function<void(const CleanupItem&)> onItem = [](const CleanupItem&) {};  // before each
};

}  // namespace brindle
