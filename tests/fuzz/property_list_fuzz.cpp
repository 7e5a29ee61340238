#include <algorithm>
#include <variant>

#include "core/modules/property_list.h"
#include "tests/fuzz/target.h"

namespace {

using brindle::PropertyList;

// How many lists and dictionaries lie inside each other.
int depthOf(const PropertyList& list) {
    int deepest = -1;
    if (const auto* array = std::get_if<PropertyList::Array>(&list.value)) {
        deepest = 0;
        for (const auto& element : *array) deepest = std::max(deepest, depthOf(element));
    }
    if (const auto* dictionary = std::get_if<PropertyList::Dictionary>(&list.value)) {
        deepest = 0;
        for (const auto& [key, element] : *dictionary) {
            require(list.find(key) == &element);
            deepest = std::max(deepest, depthOf(element));
        }
    }
    return deepest + 1;
}

}  // namespace

void check(std::string_view text) {
    const auto list = PropertyList::parse(text);
    require(!list || depthOf(*list) <= PropertyList::kDepthLimit);
}
