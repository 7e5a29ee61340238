#include "core/tools/output_watch.h"

#include <algorithm>
#include <utility>

#include "core/platform/files.h"

namespace brindle {

OutputWatch::OutputWatch(std::string path, const std::vector<std::string>& phrases, std::uint64_t limit)
    : path_(std::move(path)), phrases_(phrases), limit_(limit) {
    for (const auto& phrase : phrases_) overlap_ = std::max(overlap_, phrase.size());
    if (overlap_ > 0) --overlap_;
}

std::expected<OutputWatch::Look, Error> OutputWatch::look() {
    constexpr std::uint64_t kPortion = 1U << 20U;
    // Without phrases only the length matters, and one byte beyond the limit tells it.
    if (overlap_ == 0 && std::ranges::all_of(phrases_, &std::string::empty)) offset_ = limit_;
    while (true) {
        auto fresh = readFileFrom(path_, offset_, kPortion);
        if (!fresh) return std::unexpected(fresh.error());
        if (fresh->empty()) return Look{};
        if (offset_ + fresh->size() > limit_) return Look{.isBeyondLimit = true};
        offset_ += fresh->size();
        tail_ += *fresh;
        if (auto phrase = phraseIn(tail_)) return Look{.phrase = std::move(phrase)};
        tail_.erase(0, tail_.size() - std::min(overlap_, tail_.size()));
    }
}

std::optional<std::string> OutputWatch::phraseIn(const std::string& text) const {
    const auto found = std::ranges::find_if(phrases_, [&](const std::string& phrase) {
        return !phrase.empty() && text.find(phrase) != std::string::npos;
    });
    return found == phrases_.end() ? std::nullopt : std::optional(*found);
}

}  // namespace brindle
