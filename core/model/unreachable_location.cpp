#include "core/model/unreachable_location.h"

#include "core/platform/file_status.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

using Reason = UnreachableLocation::Reason;

struct ReasonTexts {
    std::string_view label;
    std::string_view remedy;
};

constexpr std::array<ReasonTexts, RawTexts<Reason>::kTexts.size()> kReasonTexts = {{
    {"could not read", "Check folder permissions or grant Full Disk Access, then scan again."},
    {"tool not running", "Start the tool and scan again."},
    {"no longer there", "It was there when the scan started and is gone now. Scan again."},
    {"on another volume",
     "Brindle measures one volume at a time, so this was left alone deliberately. Nothing here is counted or "
     "cleaned."},
    {"beyond the search depth",
     "Project discovery stops at a fixed depth. Add this folder as a project root in Settings to include "
     "it."},
}};

const ReasonTexts& textsOf(Reason reason) {
    return kReasonTexts.at(static_cast<std::size_t>(reason));
}

}  // namespace

std::string UnreachableLocation::remedy() const {
    return CoreStrings::localized(storedRemedy);
}

UnreachableLocation UnreachableLocation::withDefaultRemedy(std::string path, Reason reason) {
    return {std::move(path), reason, std::string(textsOf(reason).remedy)};
}

UnreachableLocation UnreachableLocation::notRunning(std::string_view asked, std::string_view remedy) {
    return {std::string(asked), Reason::toolchainNotRunning, std::string(remedy)};
}

UnreachableLocation::Reason reasonUnreadable(const std::string& path) {
    const auto status = statusOf(path);
    const bool isGone = !status && status.error().kind == Error::Kind::missing;
    return isGone ? UnreachableLocation::Reason::missing : UnreachableLocation::Reason::permissionDenied;
}

bool isDeliberate(Reason reason) {
    return reason == Reason::differentVolume || reason == Reason::searchDepth;
}

std::string label(Reason reason) {
    return CoreStrings::localized(textsOf(reason).label);
}

std::string defaultRemedy(Reason reason) {
    return CoreStrings::localized(textsOf(reason).remedy);
}

}  // namespace brindle
