#include "cli/receipt_lookup.h"

#include <algorithm>
#include <charconv>

#include "core/text/ascii.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::size_t kLeastPrefix = 4;
constexpr std::size_t kUsualPrefix = 8;

// "1" is the first; absent for what is no number of one of so many.
std::optional<std::size_t> positionFrom(const std::string& typed, std::size_t count) {
    std::size_t number = 0;
    const char* end = typed.data() + typed.size();
    const auto read = std::from_chars(typed.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end || number == 0 || number > count) return std::nullopt;
    return number - 1;
}

std::vector<std::size_t> beginningWith(const std::string& typed, const std::vector<Receipt>& receipts) {
    std::vector<std::size_t> found;
    if (typed.size() < kLeastPrefix) return found;
    const std::string sought = lowerCase(typed);
    for (std::size_t index = 0; index < receipts.size(); ++index) {
        if (lowerCase(receipts[index].id.text()).starts_with(sought)) found.push_back(index);
    }
    return found;
}

std::string unknownText(const std::string& typed, const std::vector<Receipt>& receipts) {
    if (receipts.empty()) return localized("the history is empty");
    return localized("there is no cleanup %@; \"brindle history\" lists them", printable(typed));
}

std::optional<PutBackChoice> choiceNamed(const std::string& typed, const Receipt& receipt,
                                         const PathReader& pathOf) {
    const auto found = std::ranges::find(receipt.entries, typed, &ReceiptEntry::itemID);
    if (found != receipt.entries.end())
        return PutBackChoice{.entry = static_cast<std::size_t>(found - receipt.entries.begin())};
    if (const auto position = positionFrom(typed, receipt.entries.size()))
        return PutBackChoice{.entry = *position};
    const auto path = pathOf(typed);
    for (std::size_t index = 0; path && index < receipt.entries.size(); ++index) {
        const auto places = placesInTrash(receipt.entries[index]);
        if (std::ranges::find(places, *path, &PlaceInTrash::from) != places.end())
            return PutBackChoice{.entry = index, .from = *path};
    }
    return std::nullopt;
}

}  // namespace

std::expected<std::size_t, std::string> receiptNamed(const std::string& typed,
                                                     const std::vector<Receipt>& receipts) {
    std::vector<std::size_t> meant = beginningWith(typed, receipts);
    const auto position = positionFrom(typed, receipts.size());
    if (position && std::ranges::find(meant, *position) == meant.end()) meant.push_back(*position);
    if (meant.size() == 1) return meant.front();
    if (meant.empty()) return std::unexpected(unknownText(typed, receipts));
    return std::unexpected(
        localized("%@ may mean several cleanups; write more of what stands in the list", printable(typed)));
}

std::expected<std::vector<PutBackChoice>, std::string> choicesNamed(const std::vector<std::string>& typed,
                                                                    const Receipt& receipt,
                                                                    const PathReader& pathOf) {
    std::vector<PutBackChoice> choices;
    for (const std::string& each : typed) {
        const auto choice = choiceNamed(each, receipt, pathOf);
        if (!choice) return std::unexpected(localized("this cleanup has no entry %@", printable(each)));
        if (std::ranges::find(choices, *choice) == choices.end()) choices.push_back(*choice);
    }
    return choices;
}

std::string shortIdentity(const Receipt& receipt, const std::vector<Receipt>& receipts) {
    const std::string whole = receipt.id.text();
    std::size_t length = kUsualPrefix;
    while (length < whole.size() && beginningWith(whole.substr(0, length), receipts).size() > 1) ++length;
    return whole.substr(0, length);
}

}  // namespace brindle
