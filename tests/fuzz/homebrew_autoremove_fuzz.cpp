// No name can be an option or a path, and the folder of one lies directly in the Cellar.
#include "core/modules/homebrew_output.h"
#include "tests/fuzz/target.h"

void check(std::string_view bytes) {
    const std::string text(bytes);
    const auto names = brindle::parseAutoremove(text);
    for (const std::string& name : names.value_or(std::vector<std::string>{})) {
        const std::string folder = brindle::cellarFolderName(name);
        require(!folder.empty() && folder.find('/') == std::string::npos && folder[0] != '.');
        require(name[0] != '-' && name.find_first_of(" \t\n\"'$;") == std::string::npos);
    }
    const auto cellar = brindle::parseCellar(text);
    require(!cellar || (cellar->starts_with('/') && cellar->ends_with("/Cellar")));
}
