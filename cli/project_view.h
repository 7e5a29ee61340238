// What the list of projects and the page of one say alike.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "cli/palette.h"
#include "core/model/cleanup_item.h"
#include "core/model/project.h"
#include "core/model/safety_verdict.h"

namespace brindle {

// Whether a scan of this moment offers a project's generated folders.
struct ProjectOffer {
    std::optional<Classification> offeredAs;
    std::string reasonNotOffered;  // localised; empty when they are offered
};

struct OfferQuestion {
    std::string home;
    TimePoint now;
    std::function<SafetyVerdict(const CleanupItem&)> verdict;  // the safety guard's
    bool isEnabled = true;                                     // scans look for projects
};

ProjectOffer offerOf(const Project& project, const OfferQuestion& question);

std::string offerText(const ProjectOffer& offer);  // one sentence
std::string offerLines(const ProjectOffer& offer, unsigned indent, const Look& look);

// "Node, Rust"; empty when nothing marks the folder as a project.
std::string kindsText(const Project& project);

// How sure it is that what was generated comes back.
std::string safetyText(const Project& project);

std::string activityText(const Project& project, TimePoint now);  // "last active 3 months ago"

// The size as it may be believed, where it depends on all of the project having been read.
std::string floorText(std::uint64_t bytes, const Project& project);

// That Ctrl-C came before everything was found.
std::string interruptedText(const Look& look);

// What blocks every cleanup of the project, safe for a terminal.
std::vector<std::string> blockingTexts(const Project& project);

}  // namespace brindle
