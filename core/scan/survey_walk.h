// Measures the applications and the documents of a volume beside the modules, and leaves out what these counted.
//
// The walk knows nothing of the modules, so it need not wait for them. What they counted is taken off afterwards:
// - an item inside one of the folders by what it measured, and a folder inside an item wholly;
// - a file with several names where an item has counted it, under whichever of its names.
// A project's generated folders are developer data when an item offers them; otherwise they are documents, as is the rest of
// the project. A file with several names counts once, for applications when one of its names lies there.
//
// The figures are those of the volume that holds the home: folders on another one are no part of it and add nothing.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/platform/user_folders.h"
#include "core/scan/module_result.h"
#include "core/scan/scan_context.h"
#include "core/scan/storage_survey.h"

namespace brindle {

struct SurveyRequest {
    UserFolders folders;
    // False: what the system asks the user about before it lets a program look is left alone.
    bool mayRaisePrompts = true;
};

class SurveyWalk {
  public:
    SurveyWalk(ScanContext context, SurveyRequest request);

    // Blocking; walks by all the workers of the process. Once.
    void run();

    // After run(), and after the last module: what they found. A slice of which a part could not be read is not measured, and
    // neither is one when the scan was cancelled: what it had counted says nothing. The reason is told.
    StorageSurvey survey(const std::vector<ModuleResult>& modules) const;

  private:
    using Measurements = std::map<std::string, DirectoryMeasurement>;

    // One name of a file with several.
    struct LinkedName {
        std::int32_t device = 0;
        std::uint64_t inode = 0;
        bool isDocument = false;
        std::uint64_t bytes = 0;

        auto operator<=>(const LinkedName&) const = default;
    };

    Measurements measured(const std::vector<std::string>& folders, bool areDocuments);
    void addLinkedFiles(StorageSurvey& survey, const std::set<HardlinkTracker::Claimant>& developers) const;

    const ScanContext context_;
    const SurveyRequest request_;
    bool isDocumentsAllowed_ = true;
    Measurements applications_;
    Measurements documents_;
    std::mutex lock_;
    std::vector<LinkedName> linked_;
};

}  // namespace brindle
