// A host never holds anything that parts an address, so no name or password comes along with it.
#include <cstdint>
#include <cstdlib>

#include "core/modules/git_remote_host.h"

namespace {

void check(const std::optional<std::string>& host) {
    if (host && (host->empty() || host->find_first_of("@/\\ \t\r\n?#\"") != std::string::npos)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    check(brindle::gitRemoteHost(text));
    check(brindle::hostOfAddress(text));
    // What stands before an "@" in the first part of an address is never taken for the host.
    const auto host = brindle::hostOfAddress("https://secret:" + text + "@host.test/x");
    if (host && host->find("secret") != std::string::npos && text.find("secret") == std::string::npos)
        std::abort();
    return 0;
}
