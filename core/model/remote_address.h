// Addresses of Git remotes as they may be shown.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

// The address without what opens the door: user and password, a token in their place, a query. The plain user name of
// an SSH address ("git@host:path") stays. Where it cannot be told what is a password, only "..." is left of it.
std::string withoutCredentials(std::string_view address);

}  // namespace brindle
