#include "core/model/duplicate_report.h"

#include <algorithm>
#include <array>
#include <set>

#include "core/model/byte_sum.h"
#include "core/platform/path_text.h"
#include "core/text/ascii.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::array<std::string_view, 4> kExports = {"ipa", "apk", "aab", "whl"};

constexpr std::array<std::string_view, RawTexts<SkippedLocation::Reason>::kTexts.size()> kLabels = {
    "kept by a tool, or private", "a project", "on another volume", "the Trash", "could not read"};

}  // namespace

bool isDeveloperExport(std::string_view path) {
    return std::ranges::find(kExports, lowerCase(extensionOf(path))) != kExports.end();
}

std::uint64_t DuplicateGroup::wastedBytes() const {
    std::set<std::uint32_t> clones;
    std::uint64_t places = 0;
    for (const DuplicateFile& file : files)
        places += file.storage == 0 || clones.insert(file.storage).second ? 1 : 0;
    std::uint64_t wasted = 0;
    for (std::uint64_t place = 1; place < places; ++place) wasted = addApparentBytes(wasted, bytesEach());
    return wasted;
}

std::string label(SkippedLocation::Reason reason) {
    return localized(kLabels.at(static_cast<std::size_t>(reason)));
}

std::uint64_t DuplicateReport::wastedBytes() const {
    std::uint64_t wasted = 0;
    for (const DuplicateGroup& group : groups) wasted = addApparentBytes(wasted, group.wastedBytes());
    return wasted;
}

}  // namespace brindle
