#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

#include "core/modules/property_list.h"
#include "core/modules/property_list_check.h"
#include "core/text/ascii.h"
#include "core/text/calendar.h"

namespace brindle {

namespace {

// What libplist does twice over: 64 bytes compared or moved are one unit, a look at a key is four. A hundred million take
// two seconds where all keys of a dictionary have one hash. A dictionary of 7,000 keys is within.
constexpr std::uint64_t kWorkLimit = 100'000'000;
constexpr std::uint64_t kUnitsAKey = 4;
constexpr std::size_t kBytesAUnit = 64;

bool isDate(std::string_view text) {
    constexpr std::string_view kForm = "2001-01-31T23:59:59Z";
    if (text.size() != kForm.size() || text.back() != 'Z') return false;
    if (text.find_first_not_of("0123456789") != 4) return false;
    // The clock's range is smaller than that of the dates that stand for "never".
    return timeFromIso8601("2000" + std::string(text.substr(4))).has_value();
}

struct Magnitude {
    std::uint64_t value = 0;
    bool isNegative = false;
};

std::optional<Magnitude> magnitudeOf(std::string_view text) {
    Magnitude number{.value = 0, .isNegative = text.starts_with('-')};
    if (number.isNegative || text.starts_with('+')) text.remove_prefix(1);
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    if (isHex) text.remove_prefix(2);
    if (!isHex && text.size() > 1 && text.starts_with('0')) return std::nullopt;  // would be read as octal
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number.value, isHex ? 16 : 10);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

class XmlCheck {
  public:
    explicit XmlCheck(std::string_view text) : rest_(text) {}

    std::optional<ListTraits> result() {
        if (rest_.contains('\0')) return std::nullopt;
        while (true) {
            const std::size_t mark = rest_.find('<');
            if (!takesText(rest_.substr(0, mark))) return std::nullopt;
            if (mark == std::string_view::npos) break;
            rest_.remove_prefix(mark + 1);
            if (!takesMark() || work_ > kWorkLimit || values_ > PropertyList::kValueLimit)
                return std::nullopt;
        }
        return keys_.empty() && element_.empty() ? std::optional(traits_) : std::nullopt;
    }

  private:
    bool takesText(std::string_view text) {
        charge(text.size());
        work_ += static_cast<std::uint64_t>(std::ranges::count(text, '&')) * (1 + text.size() / kBytesAUnit);
        if (element_ == "date") return isDate(trimmed(text));
        return element_ != "integer" || takesInteger(trimmed(text));
    }

    bool takesInteger(std::string_view text) {
        const auto number = magnitudeOf(text);
        constexpr std::uint64_t kLargest = INT64_MAX;
        if (!number || (number->isNegative && number->value > kLargest)) return false;
        if (number->value > kLargest) traits_.hasHugeNumbers = true;
        return true;
    }

    // A key is compared with those before it in its dictionary.
    void charge(std::size_t length) {
        if (element_ == "key" && !keys_.empty()) work_ += keys_.back() * (length / kBytesAUnit);
    }

    // After a "<".
    bool takesMark() {
        if (rest_.starts_with("!--")) return takesThrough("!--", "-->");
        if (rest_.starts_with("![CDATA[")) return takesThrough("![CDATA[", "]]>");
        const std::size_t end = rest_.find('>');
        if (end == std::string_view::npos) return false;
        const std::string_view body = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        if (body.find_first_of("<[") != std::string_view::npos || std::ranges::count(body, '"') % 2 != 0)
            return false;
        if (body.starts_with('?')) return body.size() > 1 && body.ends_with('?');
        if (body.starts_with('!')) return body.starts_with("!DOCTYPE");
        return body.starts_with('/') ? closes(trimmed(body.substr(1))) : opens(body);
    }

    bool takesThrough(std::string_view begin, std::string_view end) {
        rest_.remove_prefix(begin.size());
        const std::size_t length = rest_.find(end);
        if (length == std::string_view::npos || element_ == "integer" || element_ == "date") return false;
        charge(length);
        rest_.remove_prefix(length + end.size());
        return true;
    }

    bool opens(std::string_view body) {
        const std::string_view name = body.substr(0, body.find_first_of(" \t\r\n/"));
        const bool isEmpty = body.ends_with('/');
        if (name == "plist") return true;
        if (!element_.empty()) return false;
        ++values_;
        if (name == "key") {
            if (keys_.empty()) return false;
            work_ += ++keys_.back() * kUnitsAKey;
        }
        if (name == "dict" || name == "array") {
            if (keys_.size() >= PropertyList::kDepthLimit) return false;
            if (!isEmpty) keys_.push_back(0);
            return true;
        }
        if (!isEmpty) element_ = name;
        return !isEmpty || (name != "integer" && name != "date");
    }

    bool closes(std::string_view name) {
        if (name == "plist") return true;
        if (name == "dict" || name == "array") {
            if (keys_.empty() || !element_.empty()) return false;
            keys_.pop_back();
            return true;
        }
        const bool isOpen = element_ == name;
        element_ = {};
        return isOpen;
    }

    std::string_view rest_;
    std::string_view element_;         // the one that holds text and is open
    std::vector<std::uint64_t> keys_;  // of each open array and dictionary: the keys so far
    std::uint64_t values_ = 0;
    std::uint64_t work_ = 0;
    ListTraits traits_;
};

}  // namespace

std::optional<ListTraits> checkedXmlList(std::string_view text) {
    return XmlCheck(text).result();
}

}  // namespace brindle
