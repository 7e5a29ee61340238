// A host never holds anything that parts an address, so no name or password comes along with it.
#include "core/modules/git_remote_host.h"
#include "tests/fuzz/target.h"

namespace {

void checkHost(const std::optional<std::string>& host) {
    require(!host || (!host->empty() && host->find_first_of("@/\\ \t\r\n?#\"") == std::string::npos));
}

}  // namespace

void check(std::string_view bytes) {
    const std::string text(bytes);
    checkHost(brindle::gitRemoteHost(text));
    checkHost(brindle::hostOfAddress(text));
    // What stands before an "@" in the first part of an address is never taken for the host.
    const auto host = brindle::hostOfAddress("https://secret:" + text + "@host.test/x");
    require(!host || host->find("secret") == std::string::npos || text.find("secret") != std::string::npos);
}
