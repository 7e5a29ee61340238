#include "core/text/core_strings.h"

#include <algorithm>
#include <charconv>
#include <mutex>
#include <system_error>
#include <utility>

#include "core/text/byte_format.h"

namespace brindle {

namespace {

// Stands for "no such key" in a bundle's answer: no catalogue holds it as a text.
constexpr std::string_view kMissing = "\x01";

struct State {
    ResourceBundle core;
    ResourceBundle main;
    std::optional<std::string> overrideLanguage;

    std::array<ResourceBundle, 2> bundles() const {
        if (!overrideLanguage) return {core, main};
        return bundlesIn(*overrideLanguage);
    }

    std::array<ResourceBundle, 2> bundlesIn(std::string_view language) const {
        return {CoreStrings::catalogue(core, language), CoreStrings::catalogue(main, language)};
    }
};

class Guarded {
  public:
    State read() const {
        const std::lock_guard lock(mutex_);
        return state_;
    }

    template <typename Change>
    void write(Change change) {
        const std::lock_guard lock(mutex_);
        change(state_);
    }

  private:
    mutable std::mutex mutex_;
    State state_;
};

Guarded& sharedState() {
    static Guarded instance;
    return instance;
}

// The number written at the start of the text when "$" follows it ("2$@" is 2).
std::optional<std::size_t> position(std::string_view& text) {
    std::size_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<std::size_t>(end - text.data());
    if (failure != std::errc() || number == 0 || length >= text.size() || text[length] != '$')
        return std::nullopt;
    text.remove_prefix(length + 1);
    return number;
}

// Fills the placeholders "%KIND" and "%N$KIND" of a text.
class Filler {
  public:
    Filler(char kind, std::span<const std::string_view> arguments) : kind_(kind), arguments_(arguments) {}

    std::string fill(std::string_view text) {
        std::string filled;
        while (!text.empty()) {
            const std::size_t plain = std::min(text.find('%'), text.size());
            filled += text.substr(0, plain);
            text.remove_prefix(plain);
            if (!text.empty()) filled += takePlaceholder(text);
        }
        return filled;
    }

  private:
    // What stands for the placeholder at the front of the text; a lone "%" stands for itself.
    std::string_view takePlaceholder(std::string_view& text) {
        const std::string_view percent = text.substr(0, 1);
        std::string_view rest = text.substr(1);
        if (rest.starts_with('%')) {
            text = rest.substr(1);
            return percent;
        }
        const auto explicitPosition = position(rest);
        const std::size_t wanted = explicitPosition.value_or(next_ + 1);
        if (!rest.starts_with(kind_) || wanted > arguments_.size()) {
            text.remove_prefix(1);
            return percent;
        }
        if (!explicitPosition) ++next_;
        text = rest.substr(1);
        return arguments_[wanted - 1];
    }

    char kind_;
    std::span<const std::string_view> arguments_;
    std::size_t next_ = 0;
};

std::optional<std::string> pluralForm(const std::array<ResourceBundle, 2>& bundles, std::string_view key,
                                      std::int64_t n) {
    for (const ResourceBundle& bundle : bundles) {
        std::string form = bundle.plural(key, n, kMissing);
        if (form != kMissing) return form;
    }
    return std::nullopt;
}

}  // namespace

void CoreStrings::setBundles(ResourceBundle core, ResourceBundle main) {
    sharedState().write([&](State& state) {
        state.core = std::move(core);
        state.main = std::move(main);
    });
}

std::optional<std::string> CoreStrings::overrideLanguage() {
    return sharedState().read().overrideLanguage;
}

void CoreStrings::setOverrideLanguage(std::optional<std::string> language) {
    sharedState().write([&](State& state) { state.overrideLanguage = std::move(language); });
}

std::string CoreStrings::localized(std::string_view key) {
    if (key.empty()) return {};
    for (const ResourceBundle& bundle : sharedState().read().bundles()) {
        std::string text = bundle.text(key, kMissing);
        if (text != kMissing) return text;
    }
    return std::string(key);
}

std::string CoreStrings::localizedWith(std::string_view key, std::span<const std::string_view> arguments) {
    return Filler('@', arguments).fill(localized(key));
}

std::string CoreStrings::plural(std::string_view key, std::int64_t n) {
    const State state = sharedState().read();
    auto form = pluralForm(state.bundles(), key, n);
    if (!form) form = pluralForm(state.bundlesIn("en"), key, n);
    if (!form) return std::string(key);
    const std::string count = ByteFormat::count(n);
    const std::array<std::string_view, 1> arguments{count};
    return Filler('d', arguments).fill(*form);
}

ResourceBundle CoreStrings::catalogue(const ResourceBundle& bundle, std::string_view language) {
    return bundle.answeringIn(language);
}

}  // namespace brindle
