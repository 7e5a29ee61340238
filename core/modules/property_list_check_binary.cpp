#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "core/modules/property_list.h"
#include "core/modules/property_list_check.h"

// The form: "bplist00", objects, a table of their offsets, a trailer of 32 bytes. An object begins with a byte whose
// upper half is its kind and whose lower half its size; arrays and dictionaries hold the numbers of other objects.

namespace brindle {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;

std::uint64_t bigEndian(std::string_view bytes) {
    std::uint64_t number = 0;
    for (const char byte : bytes) number = number << 8U | static_cast<unsigned char>(byte);
    return number;
}

bool isWholeUtf16(std::string_view bytes) {
    bool isSecondDue = false;
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        const std::uint64_t unit = bigEndian(bytes.substr(at, 2));
        const bool isSecond = unit >= 0xDC00 && unit <= 0xDFFF;
        if (unit == 0 || isSecond != isSecondDue) return false;
        isSecondDue = unit >= 0xD800 && unit <= 0xDBFF;
    }
    return !isSecondDue;
}

class BinaryCheck {
  public:
    explicit BinaryCheck(std::string_view bytes) : bytes_(bytes) {}

    std::optional<ListTraits> result() {
        if (!readTrailer() || !costOf(root_, PropertyList::kDepthLimit)) return std::nullopt;
        return traits_;
    }

  private:
    // What an object costs when everything it refers to is written out.
    struct Cost {
        std::uint64_t values = 1;
        std::uint64_t bytes = 0;
        int depth = 0;  // of arrays and dictionaries inside each other
    };
    struct Known {
        bool isBegun = false;
        std::optional<Cost> cost;
    };
    struct Object {
        unsigned kind = 0;
        std::uint64_t size = 0;
        std::size_t at = 0;  // where its content begins
    };

    bool readTrailer() {
        if (bytes_.size() < kHeaderSize + kTrailerSize || !bytes_.starts_with("bplist00")) return false;
        const std::string_view trailer = bytes_.substr(bytes_.size() - kTrailerSize);
        offsetSize_ = bigEndian(trailer.substr(6, 1));
        referenceSize_ = bigEndian(trailer.substr(7, 1));
        const std::uint64_t count = bigEndian(trailer.substr(8, 8));
        root_ = bigEndian(trailer.substr(16, 8));
        const std::uint64_t table = bigEndian(trailer.substr(24, 8));
        const std::size_t end = bytes_.size() - kTrailerSize;
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) return false;
        if (count > PropertyList::kValueLimit || table < kHeaderSize || table > end) return false;
        if (count * offsetSize_ > end - table) return false;
        objects_ = bytes_.substr(0, table);
        offsets_ = bytes_.substr(table, count * offsetSize_);
        known_.resize(count);
        return true;
    }

    bool holds(std::size_t at, std::uint64_t size) const {
        return at <= objects_.size() && size <= objects_.size() - at;
    }

    std::optional<Object> objectAt(std::uint64_t index) const {
        const std::uint64_t offset = bigEndian(offsets_.substr(index * offsetSize_, offsetSize_));
        if (offset < kHeaderSize || offset >= objects_.size()) return std::nullopt;
        const unsigned mark = static_cast<unsigned char>(objects_[offset]);
        Object object{mark >> 4U, mark & 0xFU, offset + 1};
        if (object.size != 0xF || object.kind < 4 || object.kind == 8) return object;
        // The size follows as an integer.
        if (!holds(object.at, 1)) return std::nullopt;
        const unsigned form = static_cast<unsigned char>(objects_[object.at]);
        const std::size_t length = 1U << (form & 0xFU);
        if (form >> 4U != 1 || length > 8 || !holds(object.at + 1, length)) return std::nullopt;
        object.size = bigEndian(objects_.substr(object.at + 1, length));
        object.at += 1 + length;
        return object;
    }

    // Every failure ends the whole check. The cost of each object is found once.
    std::optional<Cost> costOf(std::uint64_t index, int depthLeft) {
        if (index >= known_.size()) return std::nullopt;
        Known& known = known_[index];
        if (known.cost) return known.cost->depth <= depthLeft ? known.cost : std::nullopt;
        if (known.isBegun) return std::nullopt;  // it refers to itself
        known.isBegun = true;
        const auto object = objectAt(index);
        if (object) known.cost = costOf(*object, depthLeft);
        return known.cost;
    }

    std::optional<Cost> costOf(const Object& object, int depthLeft) {
        switch (object.kind) {
            case 0x0:
                return Cost{};
            case 0x1:
                return costOfInteger(object);
            case 0x2:
            case 0x3:
                return costOfRealOrDate(object);
            case 0x4:
            case 0x5:
            case 0x6:
                return costOfBytes(object);
            case 0x8:
                return holds(object.at, object.size + 1) ? std::optional(Cost{}) : std::nullopt;
            case 0xA:
            case 0xC:
                return costOfReferences(object, 1, depthLeft - 1);
            case 0xD:
                return costOfReferences(object, 2, depthLeft - 1);
            default:
                return std::nullopt;
        }
    }

    std::optional<Cost> costOfInteger(const Object& object) {
        if (object.size > 4 || !holds(object.at, 1U << object.size)) return std::nullopt;
        if (object.size == 4) traits_.hasHugeNumbers = true;
        return Cost{};
    }

    std::optional<Cost> costOfRealOrDate(const Object& object) const {
        if ((object.size != 2 && object.size != 3) || !holds(object.at, 1U << object.size))
            return std::nullopt;
        if (object.kind == 2) return Cost{};
        if (object.size != 3) return std::nullopt;
        const auto seconds = std::bit_cast<double>(bigEndian(objects_.substr(object.at, 8)));
        return std::isnan(seconds) ? std::nullopt : std::optional(Cost{});
    }

    std::optional<Cost> costOfBytes(const Object& object) const {
        const bool isWide = object.kind == 6;
        if (object.size > objects_.size()) return std::nullopt;
        const std::uint64_t length = isWide ? object.size * 2 : object.size;
        if (!holds(object.at, length) || length > PropertyList::kLimit) return std::nullopt;
        const std::string_view content = objects_.substr(object.at, length);
        if (isWide && !isWholeUtf16(content)) return std::nullopt;
        if (object.kind == 5 && content.find('\0') != std::string_view::npos) return std::nullopt;
        return Cost{.values = 1, .bytes = isWide ? object.size * 3 : length, .depth = 0};
    }

    std::optional<Cost> costOfReferences(const Object& object, std::uint64_t each, int depthLeft) {
        if (depthLeft < 0 || object.size > PropertyList::kValueLimit) return std::nullopt;
        const std::uint64_t count = object.size * each;
        if (!holds(object.at, count * referenceSize_)) return std::nullopt;
        Cost sum;
        for (std::uint64_t position = 0; position < count; ++position) {
            const auto reference = objects_.substr(object.at + position * referenceSize_, referenceSize_);
            const auto cost = costOf(bigEndian(reference), depthLeft);
            if (!cost) return std::nullopt;
            sum.values += cost->values;
            sum.bytes += cost->bytes;
            sum.depth = std::max(sum.depth, cost->depth);
            if (sum.values > PropertyList::kValueLimit || sum.bytes > PropertyList::kExpandedLimit)
                return std::nullopt;
        }
        ++sum.depth;
        return sum;
    }

    std::string_view bytes_;
    std::string_view objects_;  // all before the table, so that offsets count from its beginning
    std::string_view offsets_;
    std::uint64_t offsetSize_ = 0;
    std::uint64_t referenceSize_ = 0;
    std::uint64_t root_ = 0;
    std::vector<Known> known_;
    ListTraits traits_;
};

}  // namespace

std::optional<ListTraits> checkedBinaryList(std::string_view bytes) {
    return BinaryCheck(bytes).result();
}

}  // namespace brindle
