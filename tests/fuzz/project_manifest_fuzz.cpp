#include "core/projects/project_manifest.h"

#include <toml++/toml.h>

#include <algorithm>

#include "core/projects/toml_nesting.h"
#include "core/text/printable.h"
#include "tests/fuzz/target.h"

namespace {

std::size_t depthOf(const toml::node& node) {
    std::size_t deepest = 0;
    const auto look = [&](const toml::node& child) { deepest = std::max(deepest, depthOf(child)); };
    if (const auto* table = node.as_table())
        for (const auto& [key, child] : *table) look(child);
    if (const auto* array = node.as_array())
        for (const auto& child : *array) look(child);
    return deepest + 1;
}

// What is called shallow does not nest deeper than a header of arrays, a key and the brackets behind it may.
void checkNesting(std::string_view text) try {
    if (brindle::isShallowToml(text))
        require(depthOf(toml::parse(text)) <= 3 * brindle::kTomlDots + brindle::kTomlBrackets + 4);
} catch (const toml::parse_error&) {
    return;  // what is broken has no depth
}

}  // namespace

// A name is short, and may be shown as it is.
void check(std::string_view text) {
    for (const auto& name : {brindle::nameInJsonManifest(text), brindle::nameInCargoManifest(text),
                             brindle::nameInPythonManifest(text), brindle::nameInPubspec(text),
                             brindle::nameInSwiftManifest(text)})
        require(!name || (!name->empty() && name->size() <= 214 && brindle::printable(*name) == *name));
    checkNesting(text);
}
