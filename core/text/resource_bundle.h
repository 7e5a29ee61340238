// The texts of one program part: a folder of LANG.lproj folders, each with one catalogue TABLE.json. A
// catalogue is a flat JSON object: key -> text, or key -> an object of plural categories ({"one": "%d day
// ago", "other": ...}).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// A value: every catalogue is read once, by the constructor; copies share them, never change, and may be
// asked from any thread. A catalogue that is missing or malformed is an empty one, and a value in it that is
// neither a text nor plural forms with at least "other" is skipped.
class ResourceBundle {
  public:
    // No languages, no texts.
    ResourceBundle();

    // `table` is "core" for core.json. Answers in the one of its languages that suits `systemLanguages`
    // ("pt_BR", "fr-CA"; best first) best, in English when none does.
    ResourceBundle(const std::string& rootFolder, std::string_view table,
                   const std::vector<std::string>& systemLanguages);

    // The names of the LANG.lproj folders, sorted.
    std::vector<std::string> languages() const;

    // The language it answers in.
    const std::string& language() const;

    // The same bundle answering in `language`, which is one of languages(); otherwise the bundle unchanged.
    ResourceBundle answeringIn(std::string_view language) const;

    // The text of the key; `whenMissing` when the catalogue has none, and for a key that has plural forms
    // only.
    std::string text(std::string_view key, std::string_view whenMissing) const;

    // The form of the key that the language's plural rules choose for n, unfilled; a plain text serves every
    // n.
    std::string plural(std::string_view key, std::int64_t n, std::string_view whenMissing) const;

    // Why the catalogue of language() is empty (English, for diagnosis); empty when it was loaded.
    const std::string& problem() const;

  private:
    struct Catalogue;
    struct Contents;

    std::shared_ptr<const Contents> contents_;
    std::shared_ptr<const Catalogue> answering_;
};

}  // namespace brindle
