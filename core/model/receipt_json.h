// The form in which receipts are kept: JSON with sorted keys, dates in ISO 8601 (UTC, whole seconds), absent
// optionals left out, bytes that are no UTF-8 as in model_json.h (here a NUL too, as U+0000 and "00").
//
// Reading is for files that anybody may have touched: what is too deep, too large, cut off, no UTF-8, of another
// type, or sums up to more than 64 bits hold is an error. Keys that are not known are passed over, null is an
// absent optional, a key that stands twice in one object is an error. No call changes anything; any thread.
#pragma once

#include <cstdint>
#include <expected>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/receipt.h"
#include "core/platform/error.h"

namespace brindle {

// Unlike Json of model_json.h it sorts its keys, and finds one without going through all.
using SortedJson = nlohmann::json;

// The most bytes of a file of receipts: some hundred thousand entries.
inline constexpr std::uint64_t kReceiptsLimit = 64ULL << 20U;

// The list as it stands in the history's file: an array, pretty-printed, a line feed at the end.
std::string receiptsText(const std::vector<Receipt>& receipts);
// Every receipt of the array, in its order, also those with an identity that occurred before.
std::expected<std::vector<Receipt>, Error> receiptsFromText(std::string_view text);

SortedJson toSortedJson(const Receipt& receipt);
SortedJson toSortedJson(const ReceiptEntry& entry);
std::expected<Receipt, Error> receiptFromJson(const SortedJson& json);
std::expected<ReceiptEntry, Error> receiptEntryFromJson(const SortedJson& json);

// For other records that are kept beside the history. One document within the bounds above (depth, number of values,
// keys once); any bytes as text that bytesOfJsonText() turns back.
std::expected<SortedJson, Error> boundedJson(std::string_view text);
std::string keptText(std::string_view bytes);

// Takes the fields of one object; the first that is missing or of another type is the error of all.
class RecordReader {
  public:
    explicit RecordReader(const SortedJson& record);

    std::string text(const char* key);
    std::optional<std::string> optionalText(const char* key);
    std::vector<std::string> texts(const char* key);
    std::optional<std::vector<std::string>> optionalTexts(const char* key);
    std::uint64_t number(const char* key, std::uint64_t most = ~std::uint64_t{0});
    bool flag(const char* key);
    TimePoint moment(const char* key);
    Uuid uuid(const char* key);
    const SortedJson& list(const char* key);

    // A raw text of the enumeration.
    template <typename Enum>
    Enum oneOf(const char* key) {
        const auto value = fromRawText<Enum>(text(key));
        if (!value) refuse(key);
        return value.value_or(Enum{});
    }
    // Any value but null; absent when there is none.
    const SortedJson* optional(const char* key) const;

    void refuse(std::string_view key);
    bool isWhole() const { return !refused_; }
    std::unexpected<Error> error() const { return std::unexpected(*refused_); }

  private:
    const SortedJson& field(const char* key);
    const SortedJson& record_;
    std::optional<Error> refused_;
};

}  // namespace brindle
