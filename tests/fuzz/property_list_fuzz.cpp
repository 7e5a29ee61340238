#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <variant>

#include "core/modules/property_list.h"

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
            if (list.find(key) != &element) std::abort();
            deepest = std::max(deepest, depthOf(element));
        }
    }
    return deepest + 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto list = PropertyList::parse({reinterpret_cast<const char*>(data), size});
    if (list && depthOf(*list) > PropertyList::kDepthLimit) std::abort();
    return 0;
}
