#include "core/modules/property_list.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "core/modules/property_list_check.h"
#include "core/platform/files.h"

namespace brindle {

namespace {

// A property list's dates count from the first of January 2001.
constexpr auto kEpoch = std::chrono::sys_days(std::chrono::year(2001) / 1 / 1);

struct FreeNode {
    void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

// Makes plain values of libplist's. The list has been checked: it is nested no deeper than kDepthLimit.
class Conversion {
  public:
    explicit Conversion(ListTraits traits) : traits_(traits) {}

    PropertyList valueOf(plist_t node) const {
        switch (plist_get_node_type(node)) {
            case PLIST_BOOLEAN: {
                std::uint8_t flag = 0;
                plist_get_bool_val(node, &flag);
                return {flag != 0};
            }
            case PLIST_UINT:
                return integerOf(node);
            case PLIST_REAL: {
                double number = 0;
                plist_get_real_val(node, &number);
                return {number};
            }
            case PLIST_DATE:
                return dateOf(node);
            case PLIST_STRING:
                return textOf(node);
            case PLIST_ARRAY:
                return arrayOf(node);
            case PLIST_DICT:
                return dictionaryOf(node);
            default:
                return {};
        }
    }

  private:
    // Negative numbers come as their two's complement.
    PropertyList integerOf(plist_t node) const {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        const auto value = static_cast<std::int64_t>(number);
        if (value < 0 && traits_.hasHugeNumbers) return {};
        return {value};
    }

    static PropertyList dateOf(plist_t node) {
        std::int32_t seconds = 0;
        std::int32_t fraction = 0;
// The function that came in its place is missing in libplist 2.2.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        plist_get_date_val(node, &seconds, &fraction);
#pragma GCC diagnostic pop
        if (seconds == INT32_MIN || seconds == INT32_MAX) return {};  // what a date beyond 32 bits becomes
        return {std::chrono::sys_seconds(kEpoch) + std::chrono::seconds(seconds)};
    }

    static PropertyList textOf(plist_t node) {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return {text == nullptr ? std::string() : std::string(text, length)};
    }

    PropertyList arrayOf(plist_t node) const {
        PropertyList::Array array;
        plist_array_iter start = nullptr;
        plist_array_new_iter(node, &start);
        const std::unique_ptr<void, decltype(&std::free)> position(start, &std::free);
        while (true) {
            plist_t child = nullptr;
            plist_array_next_item(node, position.get(), &child);
            if (child == nullptr) return {std::move(array)};
            array.push_back(valueOf(child));
        }
    }

    PropertyList dictionaryOf(plist_t node) const {
        PropertyList::Dictionary dictionary;
        plist_dict_iter start = nullptr;
        plist_dict_new_iter(node, &start);
        const std::unique_ptr<void, decltype(&std::free)> position(start, &std::free);
        while (true) {
            char* name = nullptr;
            plist_t child = nullptr;
            plist_dict_next_item(node, position.get(), &name, &child);
            const std::unique_ptr<char, decltype(&std::free)> key(name, &std::free);
            if (child == nullptr || key == nullptr) return {std::move(dictionary)};
            dictionary.insert_or_assign(key.get(), valueOf(child));
        }
    }

    ListTraits traits_;
};

}  // namespace

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
    if (bytes.size() > kLimit) return std::nullopt;
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);  // a byte order mark
    const bool isBinary = bytes.starts_with("bplist");
    const auto traits = isBinary ? checkedBinaryList(bytes) : checkedXmlList(bytes);
    if (!traits) return std::nullopt;
    plist_t raw = nullptr;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    isBinary ? (void)plist_from_bin(bytes.data(), size, &raw)
             : (void)plist_from_xml(bytes.data(), size, &raw);
    const Node root(raw);
    if (root == nullptr) return std::nullopt;
    return Conversion(*traits).valueOf(root.get());
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
