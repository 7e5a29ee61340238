#include "core/modules/python_config.h"

#include <cstdint>
#include <cstdlib>

// Whatever stands in these files: an interpreter is an absolute path, a version has a name without blanks.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const std::string& path : brindle::parsePyvenvConfig(text).interpreters) {
        if (!path.starts_with('/')) std::abort();
    }
    for (const std::string& name : brindle::parsePythonVersions(text)) {
        if (name.empty() || name.find_first_of(" \t\n") != std::string::npos) std::abort();
        if (!brindle::namesPythonVersion(name, name + ".1")) std::abort();
    }
    return 0;
}
