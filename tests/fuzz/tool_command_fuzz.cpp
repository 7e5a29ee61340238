#include "core/modules/tool_command.h"

#include <cstdint>
#include <cstdlib>

// Whatever a program begins with: an interpreter has a name of one word.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto name = brindle::interpreterNamedBy({reinterpret_cast<const char*>(data), size});
    if (name && (name->empty() || name->find_first_of(" \t\r\n") != std::string::npos)) std::abort();
    return 0;
}
