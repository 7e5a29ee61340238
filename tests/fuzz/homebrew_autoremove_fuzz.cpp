// No name can be an option or a path, and the folder of one lies directly in the Cellar.
#include <cstdint>
#include <cstdlib>

#include "core/modules/homebrew_output.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto names = brindle::parseAutoremove(text);
    for (const std::string& name : names.value_or(std::vector<std::string>{})) {
        const std::string folder = brindle::cellarFolderName(name);
        const bool leadsElsewhere =
            folder.empty() || folder.find('/') != std::string::npos || folder[0] == '.';
        if (leadsElsewhere || name[0] == '-' || name.find_first_of(" \t\n\"'$;") != std::string::npos)
            std::abort();
    }
    const auto cellar = brindle::parseCellar(text);
    if (cellar && (!cellar->starts_with('/') || !cellar->ends_with("/Cellar"))) std::abort();
    return 0;
}
