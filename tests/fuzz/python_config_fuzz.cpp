#include "core/modules/python_config.h"
#include "tests/fuzz/target.h"

// Whatever stands in these files: an interpreter is an absolute path, a version has a name without blanks.
void check(std::string_view text) {
    for (const std::string& path : brindle::parsePyvenvConfig(text).interpreters)
        require(path.starts_with('/'));
    for (const std::string& name : brindle::parsePythonVersions(text)) {
        require(!name.empty() && name.find_first_of(" \t\n") == std::string::npos);
        require(brindle::namesPythonVersion(name, name + ".1"));
    }
}
