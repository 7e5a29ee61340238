#include "core/model/cadence.h"

#include "core/text/core_strings.h"

namespace brindle {

std::chrono::seconds interval(Cadence cadence) {
    switch (cadence) {
        case Cadence::daily:
            return std::chrono::days(1);
        case Cadence::weekly:
            return std::chrono::weeks(1);
        case Cadence::monthly:
            return std::chrono::days(30);
    }
    return std::chrono::weeks(1);
}

std::chrono::seconds tolerance(Cadence cadence) {
    return interval(cadence) / 2;
}

std::string displayName(Cadence cadence) {
    constexpr std::array<std::string_view, allCases<Cadence>().size()> kNames = {"Every day", "Every week",
                                                                                 "Every month"};
    return CoreStrings::localized(kNames.at(static_cast<std::size_t>(cadence)));
}

}  // namespace brindle
