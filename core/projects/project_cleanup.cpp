#include "core/projects/project_cleanup.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "core/model/byte_sum.h"
#include "core/platform/path_text.h"
#include "core/projects/shown_names.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Confidence = ProjectSafety::Confidence;

constexpr int kSpokenOfInMonthsAfterDays = 60;
constexpr int kDaysInAMonth = 30;

// What one item is about.
struct Offer {
    const Project& project;
    std::vector<ProjectArtifact> artifacts;  // the rebuildable ones, largest first
    DirectoryMeasurement measurement;        // theirs
    Classification classification;
    TimePoint now;
};

// Only a certain project that nobody has touched for long goes without a look.
Classification classificationOf(const Project& project, TimePoint now) {
    const bool isCertain = project.safety && project.safety->confidence == Confidence::certain;
    return isCertain && project.isDormant(now) ? Classification::safe : Classification::review;
}

Offer offerOf(const Project& project, TimePoint now) {
    Offer offer{.project = project,
                .artifacts = project.rebuildableArtifacts(),
                .measurement = {},
                .classification = classificationOf(project, now),
                .now = now};
    std::ranges::stable_sort(offer.artifacts, std::greater{}, &ProjectArtifact::bytes);
    for (const ProjectArtifact& artifact : offer.artifacts) offer.measurement += artifact.measurement;
    return offer;
}

std::string groupLabels(const Project& project) {
    std::vector<std::string> labels;
    for (const ArtifactGroup& group : project.rebuildableGroups()) labels.push_back(group.label());
    return shownNames(labels);
}

std::string lengthOfTime(int days) {
    return days < kSpokenOfInMonthsAfterDays ? CoreStrings::plural("count.days", days)
                                             : CoreStrings::plural("count.months", days / kDaysInAMonth);
}

std::string whySuggested(const Offer& offer) {
    return localized(
        "It has not been touched in %@, which is past the %@ Brindle waits before offering a project. Only "
        "generated output is listed — %@ of it — and a named command rebuilds every part.",
        lengthOfTime(offer.project.daysSinceUse(offer.now).value_or(kOfferAfterDays)),
        lengthOfTime(kOfferAfterDays), ByteFormat::shortText(offer.measurement.allocatedBytes));
}

// Bytes that several projects share are taken for kept here when another one counted them as rebuildable, and what could
// not be read was not counted at all.
std::string keptText(const Project& project) {
    std::uint64_t shared = 0;
    for (const ProjectArtifact& artifact : project.rebuildableArtifacts())
        shared = addBytes(shared, artifact.measurement.deduplicatedBytes);
    const std::uint64_t kept = project.keptBytes();
    if (!project.measurement.isComplete())
        return localized("at least %@", ByteFormat::shortText(kept - std::min(kept, shared)));
    const std::string text = ByteFormat::shortText(kept);
    return shared == 0 ? text : localized("%@ at most", text);
}

// A folder that is no repository, or of which nobody knows, has no history to promise.
std::string keptNote(const Project& project) {
    const std::string kept = keptText(project);
    return project.safety && project.safety->git.isRepository
               ? localized("Your source files and full git history are untouched — %@ stays on disk.", kept)
               : localized("Your source files are untouched — %@ stays on disk.", kept);
}

std::string concernsOf(const Project& project) {
    if (!project.safety) return headline(Confidence::unproven);
    std::string concerns;
    for (const SafetySignal& signal : project.safety->concerns())
        concerns += (concerns.empty() ? "" : "; ") + signal.storedText;
    return concerns;
}

std::string whatHappensNext(const Offer& offer) {
    const Project& project = offer.project;
    std::string text =
        localized("Nothing, until you open %@ again. When you do, one install or build command puts it back.",
                  printable(project.name));
    text += " " + localized(
                      "You last touched this project %@. Opening it again means waiting for an install "
                      "or a build.",
                      project.relativeAge(offer.now));
    text += " " + keptNote(project);
    const std::string concerns = concernsOf(project);
    if (offer.classification == Classification::review && !concerns.empty())
        text += " " + localized("Before you agree: %@.", concerns);
    return text;
}

// Without an upstream Git counts nothing as ahead of it, though the commits are on no remote.
std::int64_t unpushedCommits(const GitState& git) {
    return std::max(git.unpushedCommits, git.localOnlyCommits);
}

std::vector<Fact> factsOf(const Offer& offer) {
    const Project& project = offer.project;
    const auto gitSays = [&](auto&& answer) -> std::string {
        return project.safety ? std::string(answer(project.safety->git)) : "unknown";
    };
    return {
        {"Last touched", project.relativeAge(offer.now)},
        {"Remote",
         gitSays([](const GitState& git) { return git.hasRemote() ? shownNames(git.remotes) : "none"; })},
        {"Unpushed commits",
         gitSays([](const GitState& git) { return ByteFormat::count(unpushedCommits(git)); })},
        {"Uncommitted changes",
         gitSays([](const GitState& git) { return ByteFormat::count(git.modifiedFiles); })},
        {"Stashes", gitSays([](const GitState& git) { return git.hasStashes ? "present" : "none"; })},
        {"Version control", gitSays([](const GitState& git) { return git.isRepository ? "Git" : "none"; })},
        {"Removing", ByteFormat::shortText(offer.measurement.allocatedBytes)},
        {"Source and history kept", keptText(project)},
    };
}

Explanation explanationOf(const Offer& offer) {
    return {
        .storedWhatItIs = localized("Generated directories inside %@: %@. Every one of them is produced by a "
                                    "tool from files that stay exactly where they are.",
                                    printable(offer.project.name), groupLabels(offer.project)),
        .storedWhatHappensNext = whatHappensNext(offer),
        .storedWhySuggested = whySuggested(offer),
        .regeneratedBy = primaryRegeneration(offer.artifacts),
        .facts = factsOf(offer),
    };
}

CleanupItem itemOf(const Offer& offer, const std::string& home) {
    const Project& project = offer.project;
    const std::string shownPath = abbreviatedPath(project.path, home);
    DeletePaths removal;
    for (const ProjectArtifact& artifact : offer.artifacts) removal.paths.push_back(artifact.path);
    return CleanupItem({
        .id = std::string(rawText(ModuleID::projects)) + "." + project.path,
        .moduleID = ModuleID::projects,
        .title = shownPath + " · " + groupLabels(project),
        .detail = shownPath,
        .measurement = offer.measurement,
        .classification = offer.classification,
        .explanation = explanationOf(offer),
        .removal = {std::move(removal)},
        .projectPath = project.path,
        .clears = std::nullopt,
    });
}

}  // namespace

std::vector<CleanupItem> dormantProjectItems(const std::vector<Project>& projects, const std::string& home,
                                             TimePoint now) {
    std::vector<CleanupItem> items;
    for (const Project& project : projects) {
        if (!reasonNotOffered(project, now)) items.push_back(itemOf(offerOf(project, now), home));
    }
    return items;
}

std::set<std::string> vouchedProjectPaths(const std::vector<Project>& projects) {
    std::set<std::string> paths;
    for (const Project& project : projects) {
        for (const ProjectArtifact& artifact : project.rebuildableArtifacts()) paths.insert(artifact.path);
    }
    for (const Project& project : projects) paths.erase(project.path);
    return paths;
}

std::optional<Regeneration> primaryRegeneration(const std::vector<ProjectArtifact>& artifacts) {
    const auto largest = std::ranges::max_element(artifacts, {}, &ProjectArtifact::bytes);
    if (largest == artifacts.end()) return std::nullopt;
    return largest->regeneratedBy;
}

std::optional<std::string> reasonNotOffered(const Project& project, TimePoint now) {
    if (project.rebuildableArtifacts().empty()) return localized("Nothing here is removable.");
    const auto days = project.daysSinceUse(now);
    if (!days) {
        return localized(
            "Brindle could not read a date for this project, so it makes no claim about whether you are "
            "still using it.");
    }
    if (*days < kOfferAfterDays) {
        return localized(
            "Recent activity was detected %@. Cleanup is not offered until the activity threshold has "
            "passed.",
            project.relativeAge(now));
    }
    if (project.safety && project.safety->confidence == Confidence::risky) return project.safety->headline();
    return std::nullopt;
}

}  // namespace brindle
