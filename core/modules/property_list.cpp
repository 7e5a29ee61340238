#include "core/modules/property_list.h"

#include <plist/plist.h>

#include <memory>

#include "core/platform/files.h"

namespace brindle {

namespace {

// A property list's dates count from the first of January 2001.
constexpr auto kEpoch = std::chrono::sys_days(std::chrono::year(2001) / 1 / 1);

struct FreeNode {
    void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

std::optional<PropertyList> converted(plist_t node, int depth);

PropertyList converted(std::uint64_t number) {
    const bool fits = number <= static_cast<std::uint64_t>(INT64_MAX);
    return fits ? PropertyList{static_cast<std::int64_t>(number)} : PropertyList{};
}

PropertyList convertedText(plist_t node) {
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return {text == nullptr ? std::string() : std::string(text, length)};
}

std::optional<PropertyList> convertedArray(plist_t node, int depth) {
    PropertyList::Array array;
    const std::uint32_t size = plist_array_get_size(node);
    for (std::uint32_t index = 0; index < size; ++index) {
        auto element = converted(plist_array_get_item(node, index), depth);
        if (!element) return std::nullopt;
        array.push_back(std::move(*element));
    }
    return PropertyList{std::move(array)};
}

std::optional<PropertyList> convertedDictionary(plist_t node, int depth) {
    PropertyList::Dictionary dictionary;
    plist_dict_iter start = nullptr;
    plist_dict_new_iter(node, &start);
    const std::unique_ptr<void, decltype(&std::free)> position(start, &std::free);
    while (true) {
        char* name = nullptr;
        plist_t child = nullptr;
        plist_dict_next_item(node, position.get(), &name, &child);
        const std::unique_ptr<char, decltype(&std::free)> key(name, &std::free);
        if (child == nullptr) break;
        auto element = converted(child, depth);
        if (!element || key == nullptr) return std::nullopt;
        dictionary.insert_or_assign(key.get(), std::move(*element));
    }
    return PropertyList{std::move(dictionary)};
}

std::optional<PropertyList> converted(plist_t node, int depth) {
    if (depth <= 0) return std::nullopt;
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            return PropertyList{flag != 0};
        }
        case PLIST_UINT: {
            std::uint64_t number = 0;
            plist_get_uint_val(node, &number);
            return converted(number);
        }
        case PLIST_REAL: {
            double number = 0;
            plist_get_real_val(node, &number);
            return PropertyList{number};
        }
        case PLIST_DATE: {
            std::int32_t seconds = 0;
            std::int32_t fraction = 0;
            plist_get_date_val(node, &seconds, &fraction);
            return PropertyList{std::chrono::sys_seconds(kEpoch) + std::chrono::seconds(seconds)};
        }
        case PLIST_STRING:
            return convertedText(node);
        case PLIST_ARRAY:
            return convertedArray(node, depth - 1);
        case PLIST_DICT:
            return convertedDictionary(node, depth - 1);
        default:
            return PropertyList{};
    }
}

}  // namespace

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > kLimit) return std::nullopt;
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &raw);
    const Node root(raw);
    if (root == nullptr) return std::nullopt;
    return converted(root.get(), kDepthLimit);
}

const PropertyList* PropertyList::find(std::string_view key) const {
    const auto* dictionary = std::get_if<Dictionary>(&value);
    if (dictionary == nullptr) return nullptr;
    const auto found = dictionary->find(key);
    return found == dictionary->end() ? nullptr : &found->second;
}

std::optional<std::string> PropertyList::text(std::string_view key) const {
    const PropertyList* found = find(key);
    const auto* text = found == nullptr ? nullptr : std::get_if<std::string>(&found->value);
    return text == nullptr ? std::nullopt : std::optional(*text);
}

std::optional<std::chrono::sys_seconds> PropertyList::date(std::string_view key) const {
    const PropertyList* found = find(key);
    const auto* date = found == nullptr ? nullptr : std::get_if<std::chrono::sys_seconds>(&found->value);
    return date == nullptr ? std::nullopt : std::optional(*date);
}

std::optional<PropertyList> readPropertyList(const std::string& path) {
    const auto bytes = readFile(path, PropertyList::kLimit);
    return bytes ? PropertyList::parse(*bytes) : std::nullopt;
}

}  // namespace brindle
