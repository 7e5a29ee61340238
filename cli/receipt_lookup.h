// Which cleanup, and which of its entries, a person means.
#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/model/receipt.h"
#include "core/removal/put_back.h"

namespace brindle {

// By its position in the list ("1" is the newest), or by the beginning of its identity, four characters or more. The
// error is a sentence for the user.
std::expected<std::size_t, std::string> receiptNamed(const std::string& typed,
                                                     const std::vector<Receipt>& receipts);

// Entries by their numbers on the page ("1" is the first) or the identities of their items, single things by where they
// were (`pathOf` makes a typed path absolute); each once, in the order in which they were named.
using PathReader = std::function<std::optional<std::string>(const std::string& typed)>;
std::expected<std::vector<PutBackChoice>, std::string> choicesNamed(const std::vector<std::string>& typed,
                                                                    const Receipt& receipt,
                                                                    const PathReader& pathOf);

// "F81D4FAE": what a person types; as long as it takes to be the only one.
std::string shortIdentity(const Receipt& receipt, const std::vector<Receipt>& receipts);

}  // namespace brindle
