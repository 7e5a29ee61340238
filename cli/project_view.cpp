#include "cli/project_view.h"

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "core/projects/project_cleanup.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

ProjectOffer offerOf(const Project& project, const OfferQuestion& question) {
    const auto items = dormantProjectItems({project}, question.home, question.now);
    if (items.empty()) {
        return {std::nullopt, reasonNotOffered(project, question.now).value_or("")};
    }
    if (!question.isEnabled) {
        return {std::nullopt, localized("Not offered: %@.", localized("the settings leave projects out"))};
    }
    const SafetyVerdict verdict = question.verdict(items.front());
    if (verdict.isAllowed()) return {items.front().classification, ""};
    return {std::nullopt, localized("Not offered: %@.", *verdict.reason())};
}

std::string offerText(const ProjectOffer& offer) {
    if (!offer.offeredAs) return printable(offer.reasonNotOffered);
    return localized("Its generated folders are offered now, as %@.", displayName(*offer.offeredAs));
}

std::string offerLines(const ProjectOffer& offer, unsigned indent, const Look& look) {
    std::string text;
    for (const std::string& line : wrap(offerText(offer), look.width - indent)) {
        text += std::string(indent, ' ') +
                (offer.offeredAs ? look.palette.judged(*offer.offeredAs, line) : look.palette.quiet(line)) +
                "\n";
    }
    return text;
}

std::string kindsText(const Project& project) {
    std::string text;
    for (const ProjectKind kind : project.kinds) text += (text.empty() ? "" : ", ") + displayName(kind);
    return text;
}

std::string safetyText(const Project& project) {
    return project.safety ? project.safety->headline() : localized("Brindle has not judged this project.");
}

std::string activityText(const Project& project, TimePoint now) {
    return project.lastUsed ? localized("last active %@", project.relativeAge(now))
                            : localized("last activity unknown");
}

std::string floorText(std::uint64_t bytes, const Project& project) {
    const std::string text = ByteFormat::shortText(bytes);
    return project.measurement.isComplete() ? text : localized("at least %@", text);
}

std::string interruptedText(const Look& look) {
    return look.palette.warning(paragraphText(
        localized("Interrupted: this is partial, only what had been found until then."), 0, look));
}

std::vector<std::string> blockingTexts(const Project& project) {
    std::vector<std::string> texts;
    if (!project.safety) return texts;
    for (const SafetySignal& signal : project.safety->signals) {
        if (signal.weight == SafetySignal::Weight::blocking) texts.push_back(printable(signal.storedText));
    }
    return texts;
}

}  // namespace brindle
