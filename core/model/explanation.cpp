#include "core/model/explanation.h"

#include "core/text/core_strings.h"

namespace brindle {

std::string Fact::label() const {
    return CoreStrings::localized(storedLabel);
}

std::string Fact::value() const {
    return CoreStrings::localized(storedValue);
}

std::string Explanation::whatItIs() const {
    return CoreStrings::localized(storedWhatItIs);
}

std::string Explanation::whatHappensNext() const {
    return CoreStrings::localized(storedWhatHappensNext);
}

std::optional<std::string> Explanation::whySuggested() const {
    if (!storedWhySuggested) return std::nullopt;
    return CoreStrings::localized(*storedWhySuggested);
}

}  // namespace brindle
