#include "core/model/regeneration.h"

#include "core/text/core_strings.h"

namespace brindle {

std::string Regeneration::text() const {
    return kind == Kind::command ? storedText : CoreStrings::localized(storedText);
}

}  // namespace brindle
