#include "cli/answer.h"

#include <charconv>
#include <set>
#include <string>
#include <system_error>

#include "core/text/ascii.h"

namespace brindle {

namespace {

// Absent also for 0 and what no list is long enough for.
std::optional<std::size_t> numberIn(std::string_view text, std::size_t count) {
    std::size_t number = 0;
    const char* last = text.data() + text.size();
    const auto [end, failure] = std::from_chars(text.data(), last, number);
    if (failure != std::errc() || end != last || number < 1 || number > count) return std::nullopt;
    return number;
}

bool takeRange(std::string_view word, std::size_t count, std::set<std::size_t>& numbers) {
    const std::size_t dash = word.find('-');
    const auto first = numberIn(word.substr(0, dash), count);
    const auto last = dash == std::string_view::npos ? first : numberIn(word.substr(dash + 1), count);
    if (!first || !last || *first > *last) return false;
    for (std::size_t number = *first; number <= *last; ++number) numbers.insert(number);
    return true;
}

}  // namespace

bool isYes(std::string_view answer) {
    const std::string word = lowerCase(trimmed(answer));
    return word == "y" || word == "yes";
}

std::optional<std::vector<std::size_t>> numbersIn(std::string_view answer, std::size_t count) {
    constexpr std::string_view kBetween = " \t,";
    std::set<std::size_t> numbers;
    for (std::size_t at = answer.find_first_not_of(kBetween); at != std::string_view::npos;) {
        const std::size_t end = std::min(answer.find_first_of(kBetween, at), answer.size());
        if (!takeRange(answer.substr(at, end - at), count, numbers)) return std::nullopt;
        at = answer.find_first_not_of(kBetween, end);
    }
    return std::vector<std::size_t>(numbers.begin(), numbers.end());
}

}  // namespace brindle
