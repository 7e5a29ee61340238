#include "core/text/resource_bundle.h"

#include <fmt/format.h>
#include <unicode/localematcher.h>
#include <unicode/plurrule.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <utility>

namespace brindle {

// A plain text is kept as its form "other" alone.
struct CatalogueEntry {
    bool isPlural = false;
    std::map<std::string, std::string, std::less<>> forms;
};

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::string_view kFolderExtension = ".lproj";
constexpr std::string_view kFallbackLanguage = "en";
constexpr const char* kOther = "other";

std::optional<CatalogueEntry> entryFrom(const json& value) {
    if (value.is_string())
        return CatalogueEntry{.isPlural = false, .forms = {{kOther, value.get<std::string>()}}};
    if (!value.is_object()) return std::nullopt;
    CatalogueEntry entry{.isPlural = true, .forms = {}};
    for (const auto& [category, form] : value.items()) {
        if (form.is_string()) entry.forms.emplace(category, form.get<std::string>());
    }
    if (!entry.forms.contains(kOther)) return std::nullopt;
    return entry;
}

std::vector<std::string> languagesIn(const std::string& rootFolder) {
    std::vector<std::string> languages;
    std::error_code failure;
    for (fs::directory_iterator entry(rootFolder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        std::error_code unreadable;
        if (entry->path().extension() == kFolderExtension && entry->is_directory(unreadable)) {
            languages.push_back(entry->path().stem().string());
        }
    }
    std::ranges::sort(languages);
    return languages;
}

std::vector<icu::Locale> locales(const std::vector<std::string>& names) {
    std::vector<icu::Locale> result;
    for (const std::string& name : names) result.push_back(icu::Locale::createCanonical(name.c_str()));
    return result;
}

std::string bestOf(const std::vector<std::string>& offered, const std::vector<std::string>& wanted) {
    if (offered.empty() || wanted.empty()) return std::string(kFallbackLanguage);
    std::vector<icu::Locale> supported = locales(offered);
    std::vector<icu::Locale> desired = locales(wanted);
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocaleMatcher matcher = icu::LocaleMatcher::Builder()
                                           .setSupportedLocales(supported.begin(), supported.end())
                                           .setNoDefaultLocale()
                                           .build(status);
    icu::Locale::RangeIterator desiredInOrder(desired.begin(), desired.end());
    const auto best = matcher.getBestMatchResult(desiredInOrder, status);
    if (U_FAILURE(status) || best.getSupportedIndex() < 0) return std::string(kFallbackLanguage);
    return offered.at(static_cast<std::size_t>(best.getSupportedIndex()));
}

}  // namespace

struct ResourceBundle::Catalogue {
    std::string language;
    std::map<std::string, CatalogueEntry, std::less<>> entries;
    std::unique_ptr<const icu::PluralRules> rules;
    std::string problem;

    Catalogue(const std::string& rootFolder, std::string_view table, std::string_view name) : language(name) {
        if (rootFolder.empty()) {
            problem = "no resource folder was given";
            return;
        }
        UErrorCode status = U_ZERO_ERROR;
        rules.reset(icu::PluralRules::forLocale(icu::Locale::createCanonical(language.c_str()), status));
        load(fmt::format("{}/{}{}/{}.json", rootFolder, name, kFolderExtension, table));
    }

    const CatalogueEntry* entry(std::string_view key) const {
        const auto found = entries.find(key);
        return found == entries.end() ? nullptr : &found->second;
    }

    std::string category(std::int64_t n) const {
        std::string chosen;
        if (rules) rules->select(static_cast<double>(n)).toUTF8String(chosen);
        return chosen;
    }

  private:
    void load(const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        if (!stream) {
            problem = path + " could not be read";
            return;
        }
        const json document = json::parse(stream, nullptr, false);
        if (!document.is_object()) {
            problem = path + " is not a JSON object";
            return;
        }
        for (const auto& [key, value] : document.items()) {
            if (auto entry = entryFrom(value)) entries.emplace(key, std::move(*entry));
        }
    }
};

struct ResourceBundle::Contents {
    std::map<std::string, std::shared_ptr<const Catalogue>, std::less<>> catalogues;
};

ResourceBundle::ResourceBundle() : ResourceBundle(std::string(), std::string_view(), {}) {}

ResourceBundle::ResourceBundle(const std::string& rootFolder, std::string_view table,
                               const std::vector<std::string>& systemLanguages) {
    const std::vector<std::string> offered =
        rootFolder.empty() ? std::vector<std::string>() : languagesIn(rootFolder);
    Contents contents;
    for (const std::string& each : offered) {
        contents.catalogues.emplace(each, std::make_shared<const Catalogue>(rootFolder, table, each));
    }
    const std::string chosen = bestOf(offered, systemLanguages);
    const auto found = contents.catalogues.find(chosen);
    answering_ = found != contents.catalogues.end()
                     ? found->second
                     : std::make_shared<const Catalogue>(rootFolder, table, chosen);
    contents_ = std::make_shared<const Contents>(std::move(contents));
}

std::vector<std::string> ResourceBundle::languages() const {
    std::vector<std::string> names;
    for (const auto& [language, catalogue] : contents_->catalogues) names.push_back(language);
    return names;
}

const std::string& ResourceBundle::language() const {
    return answering_->language;
}

ResourceBundle ResourceBundle::answeringIn(std::string_view language) const {
    ResourceBundle bundle = *this;
    const auto found = contents_->catalogues.find(language);
    if (found != contents_->catalogues.end()) bundle.answering_ = found->second;
    return bundle;
}

std::string ResourceBundle::text(std::string_view key, std::string_view whenMissing) const {
    const CatalogueEntry* entry = answering_->entry(key);
    return std::string(entry == nullptr || entry->isPlural ? whenMissing : entry->forms.at(kOther));
}

std::string ResourceBundle::plural(std::string_view key, std::int64_t n, std::string_view whenMissing) const {
    const CatalogueEntry* entry = answering_->entry(key);
    if (entry == nullptr) return std::string(whenMissing);
    const auto form = entry->isPlural ? entry->forms.find(answering_->category(n)) : entry->forms.end();
    return form == entry->forms.end() ? entry->forms.at(kOther) : form->second;
}

const std::string& ResourceBundle::problem() const {
    return answering_->problem;
}

}  // namespace brindle
