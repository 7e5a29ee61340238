#include "core/platform/applications.h"

#include <CoreServices/CoreServices.h>
#include <libproc.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/platform/macos/core_foundation.h"

namespace brindle {

// The call that newer systems name instead exists for Objective-C alone.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

std::optional<bool> systemKnowsApplication(const std::string& bundleIdentifier) {
    const auto identifier = cfText(bundleIdentifier);
    if (!identifier) return std::nullopt;
    CFErrorRef failure = nullptr;
    const CfOwned<CFArrayRef> found(LSCopyApplicationURLsForBundleIdentifier(identifier.get(), &failure));
    const CfOwned<CFErrorRef> error(failure);
    if (found) return CFArrayGetCount(found.get()) > 0;
    // Only this one error says that there is none.
    if (error && CFErrorGetCode(error.get()) == kLSApplicationNotFoundErr) return false;
    return std::nullopt;
}

#pragma clang diagnostic pop

std::optional<std::vector<std::string>> runningPrograms() {
    const int count = proc_listallpids(nullptr, 0);
    if (count <= 0) return std::nullopt;
    // Room for processes that start meanwhile.
    std::vector<pid_t> processes(static_cast<std::size_t>(count) + 256);
    const int listed = proc_listallpids(processes.data(), static_cast<int>(processes.size() * sizeof(pid_t)));
    if (listed <= 0) return std::nullopt;
    processes.resize(std::min(processes.size(), static_cast<std::size_t>(listed)));
    std::vector<std::string> programs;
    std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
    for (const pid_t process : processes) {
        const int length = proc_pidpath(process, path.data(), static_cast<std::uint32_t>(path.size()));
        if (length > 0) programs.emplace_back(path.data(), static_cast<std::size_t>(length));
    }
    return programs;
}

}  // namespace brindle
