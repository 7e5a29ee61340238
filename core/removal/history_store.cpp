#include "core/removal/history_store.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <utility>

#include "core/model/receipt_json.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"

namespace brindle {

HistoryStore HistoryStore::ofHome(const std::string& home) {
    return HistoryStore(home + "/Library/Application Support/Brindle");
}

std::string HistoryStore::url() const {
    return directory_ + "/history.json";
}

std::expected<std::vector<Receipt>, HistoryStore::ReadError> HistoryStore::loadChecked() const {
    const auto invalid = [this](Error cause) {
        if (cause.path.empty()) cause.path = url();
        return std::unexpected(ReadError{.cause = std::move(cause)});
    };
    const auto text = readFile(url(), kReceiptsLimit);
    if (!text && text.error().kind == Error::Kind::missing && !statusOf(url())) {
        return std::vector<Receipt>();
    }
    if (!text) return invalid(text.error());
    auto receipts = receiptsFromText(*text);
    if (!receipts) return invalid(receipts.error());
    std::set<Uuid> seen;
    std::erase_if(*receipts, [&](const Receipt& receipt) { return !seen.insert(receipt.id).second; });
    return *std::move(receipts);
}

std::vector<Receipt> HistoryStore::load() const {
    return loadChecked().value_or(std::vector<Receipt>());
}

bool HistoryStore::append(const Receipt& receipt) {
    return appendChecked(receipt).has_value();
}

// Also one that is stored already is written again: an earlier call may have failed in its last step, the sync.
std::expected<void, Error> HistoryStore::appendChecked(const Receipt& receipt) {
    auto receipts = loadChecked();
    if (!receipts) return std::unexpected(receipts.error().cause);
    if (std::ranges::find(*receipts, receipt.id, &Receipt::id) == receipts->end()) {
        receipts->insert(receipts->begin(), receipt);
    }
    return store(*receipts);
}

std::expected<void, Error> HistoryStore::mayAppend(const Receipt& receipt) const {
    auto receipts = loadChecked();
    if (!receipts) return std::unexpected(receipts.error().cause);
    receipts->insert(receipts->begin(), receipt);
    auto readable = receiptsFromText(receiptsText(*receipts));
    if (readable) return {};
    readable.error().path = url();
    return std::unexpected(readable.error());
}

std::expected<void, Error> HistoryStore::replaceChecked(const Receipt& receipt) {
    auto receipts = loadChecked();
    if (!receipts) return std::unexpected(receipts.error().cause);
    const auto found = std::ranges::find(*receipts, receipt.id, &Receipt::id);
    if (found == receipts->end()) return std::unexpected(errorFrom(ENOENT, "change a receipt in", url()));
    *found = receipt;
    return store(*receipts);
}

std::expected<void, Error> HistoryStore::store(const std::vector<Receipt>& receipts) {
    if (auto made = createFolders(directory_, 0700); !made) return made;
    const std::string text = receiptsText(receipts);
    // What cannot be read again must not take the place of what can.
    if (auto readable = receiptsFromText(text); !readable) return std::unexpected(readable.error());
    return writeFileAtomically(url(), text, 0600);
}

std::vector<ReceiptEntry> recoverableNow(const Receipt& receipt) {
    return receipt.recoverable([](const std::string& path) { return statusOf(path).has_value(); });
}

}  // namespace brindle
