#include "core/model/project_safety.h"

#include <algorithm>
#include <iterator>

#include "core/text/core_strings.h"

namespace brindle {

namespace {

std::vector<SafetySignal> chosen(const std::vector<SafetySignal>& signals, bool isReassuring) {
    std::vector<SafetySignal> chosen;
    std::ranges::copy_if(signals, std::back_inserter(chosen), [&](const SafetySignal& signal) {
        return (signal.weight == SafetySignal::Weight::reassuring) == isReassuring;
    });
    return chosen;
}

}  // namespace

std::vector<SafetySignal> ProjectSafety::reassuring() const {
    return chosen(signals, true);
}

std::vector<SafetySignal> ProjectSafety::concerns() const {
    return chosen(signals, false);
}

std::string ProjectSafety::headline() const {
    return brindle::headline(confidence);
}

std::string headline(ProjectSafety::Confidence confidence) {
    switch (confidence) {
        case ProjectSafety::Confidence::certain:
            return localized("Rebuild evidence and locally recorded Git refs support cleanup");
        case ProjectSafety::Confidence::likely:
            return localized("Reproducible, but not everything in this project is backed up");
        case ProjectSafety::Confidence::unproven:
            return localized("Brindle cannot prove this is reproducible");
        case ProjectSafety::Confidence::risky:
            return localized("Cleanup blocked by the evidence below");
    }
    return "";
}

}  // namespace brindle
