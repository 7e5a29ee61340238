#include "core/modules/tool_command.h"
#include "tests/fuzz/target.h"

// Whatever a program begins with: an interpreter has a name of one word.
void check(std::string_view text) {
    const auto name = brindle::interpreterNamedBy(text);
    require(!name || (!name->empty() && name->find_first_of(" \t\r\n") == std::string::npos));
}
