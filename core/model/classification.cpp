#include "core/model/classification.h"

#include "core/text/core_strings.h"

namespace brindle {

std::string displayName(Classification classification) {
    return CoreStrings::localized(rawText(classification));
}

}  // namespace brindle
