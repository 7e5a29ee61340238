// Logs and crash reports.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> systemNoiseSpecs() {
    return {
        {
            .key = "diagnostics",
            .title = "Crash reports",
            .relativePath = "Library/Logs/DiagnosticReports",
            .whatItIs = "Crash and hang reports macOS wrote for apps on this Mac.",
            .whatHappensNext = "Nothing, unless you were about to send one to a developer.",
            .regeneratedBy = {Regeneration::Kind::automatic, "Written again on the next crash"},
        },
        {
            .key = "deviceLogs",
            .title = "iOS device logs",
            .relativePath = "Library/Developer/Xcode/iOS Device Logs",
            .whatItIs = "Crash logs pulled off devices you have debugged against.",
            .whatHappensNext = "Xcode copies them again the next time you connect the device.",
            .regeneratedBy = {Regeneration::Kind::automatic, "Copied again when you next connect the device"},
        },
    };
}

}  // namespace brindle
