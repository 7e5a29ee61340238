#include "core/text/byte_format.h"

#include <fmt/format.h>
#include <unicode/numberformatter.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

constexpr std::array<const char*, 6> kUnits = {"B", "KB", "MB", "GB", "TB", "PB"};
constexpr const char* kDefaultLocale = "en_US";

icu::Locale localeNamed(const std::string& name) {
    const icu::Locale locale = icu::Locale::createCanonical(name.c_str());
    const std::string_view language = locale.getLanguage();
    const bool isPlain =
        language.empty() || language == "c" || std::string_view(locale.getVariant()) == "POSIX";
    return isPlain || locale.isBogus() ? icu::Locale::createCanonical(kDefaultLocale) : locale;
}

// Costly to build and immutable afterwards: one for each locale in use.
class Formatters {
  public:
    explicit Formatters(const std::string& locale)
        : oneDecimal_(icu::number::NumberFormatter::withLocale(localeNamed(locale))
                          .grouping(UNUM_GROUPING_OFF)
                          .precision(icu::number::Precision::fixedFraction(1))),
          whole_(icu::number::NumberFormatter::withLocale(localeNamed(locale))) {}

    std::string oneDecimal(double number) const {
        UErrorCode status = U_ZERO_ERROR;
        std::string text;
        oneDecimal_.formatDouble(number, status).toString(status).toUTF8String(text);
        return U_SUCCESS(status) ? text : fmt::format("{:.1f}", number);
    }

    std::string whole(std::int64_t number) const {
        UErrorCode status = U_ZERO_ERROR;
        std::string text;
        whole_.formatInt(number, status).toString(status).toUTF8String(text);
        return U_SUCCESS(status) ? text : std::to_string(number);
    }

  private:
    icu::number::LocalizedNumberFormatter oneDecimal_;
    icu::number::LocalizedNumberFormatter whole_;
};

using SharedFormatters = std::shared_ptr<const Formatters>;

class Locales {
  public:
    SharedFormatters current() const {
        const std::lock_guard lock(mutex_);
        return override_ ? overridden_ : system_;
    }

    std::optional<std::string> overrideName() const {
        const std::lock_guard lock(mutex_);
        return override_;
    }

    void setOverride(std::optional<std::string> name) {
        SharedFormatters formatters = name ? std::make_shared<const Formatters>(*name) : nullptr;
        const std::lock_guard lock(mutex_);
        override_ = std::move(name);
        overridden_ = std::move(formatters);
    }

    void setSystem(const std::string& name) {
        auto formatters = std::make_shared<const Formatters>(name);
        const std::lock_guard lock(mutex_);
        system_ = std::move(formatters);
    }

  private:
    mutable std::mutex mutex_;
    std::optional<std::string> override_;
    SharedFormatters overridden_;
    SharedFormatters system_ = std::make_shared<const Formatters>(kDefaultLocale);
};

Locales& sharedLocales() {
    static Locales instance;
    return instance;
}

}  // namespace

ByteFormat::Halves ByteFormat::split(std::uint64_t bytes) {
    if (bytes < 1000) return {std::to_string(bytes), kUnits.front()};
    auto value = static_cast<double>(bytes);
    std::size_t divisions = 0;
    while (value >= 1000 && divisions + 1 < kUnits.size()) {
        value /= 1000;
        ++divisions;
    }
    return {sharedLocales().current()->oneDecimal(value), kUnits.at(divisions)};
}

std::string ByteFormat::value(std::uint64_t bytes) {
    return split(bytes).value;
}

std::string ByteFormat::unit(std::uint64_t bytes) {
    return split(bytes).unit;
}

std::string ByteFormat::shortText(std::uint64_t bytes) {
    const Halves halves = split(bytes);
    return halves.value + " " + halves.unit;
}

std::string ByteFormat::count(std::int64_t n) {
    return sharedLocales().current()->whole(n);
}

std::string ByteFormat::seconds(double duration) {
    return sharedLocales().current()->oneDecimal(duration) + "s";
}

std::string ByteFormat::percent(std::uint64_t part, std::uint64_t total) {
    if (total == 0) return "0%";
    const double share = static_cast<double>(part) / static_cast<double>(total) * 100;
    return fmt::format("{:.0f}%", std::round(share));
}

std::optional<std::string> ByteFormat::overrideLocale() {
    return sharedLocales().overrideName();
}

void ByteFormat::setOverrideLocale(std::optional<std::string> locale) {
    sharedLocales().setOverride(std::move(locale));
}

void ByteFormat::setSystemLocale(const std::string& locale) {
    sharedLocales().setSystem(locale);
}

}  // namespace brindle
