#include "cli/project_page.h"

#include <algorithm>

#include "cli/display_width.h"
#include "cli/item_view.h"
#include "cli/page_rows.h"
#include "cli/unreachable_view.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"
#include "core/text/relative_age.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

std::string section(const std::string& title, const std::string& body, const Look& look) {
    if (body.empty()) return "";
    std::string text = "\n";
    if (title.empty()) return text + body;
    for (const std::string& line : wrap(title, look.width)) text += look.palette.heading(line) + "\n";
    return text + body;
}

std::string printableList(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + printable(name);
    return text;
}

// --- the project itself ---

Row activityRow(const Project& project, TimePoint now) {
    if (!project.lastUsed) {
        return {localized("Last activity"),
                {localized("No filesystem activity timestamp is available. In-use status is unknown.")}};
    }
    return {localized("Last activity"),
            {project.relativeAge(now),
             localized("Activity combines filesystem/Git timestamps and Spotlight last-used metadata when "
                       "available; it is not proof that the project is closed.")}};
}

Row sizeRow(const Project& project) {
    return {localized("Size"),
            {localized("%@ on disk", sizeText(project.measurement)),
             localized("%@ of it rebuildable", floorText(project.rebuildableBytes(), project)),
             localized("%@ of it kept: source and history", floorText(project.keptBytes(), project))}};
}

Row signalRow(const std::string& label, const std::vector<SafetySignal>& signals) {
    Row row{label, {}};
    for (const SafetySignal& signal : signals) row.paragraphs.push_back("- " + printable(signal.storedText));
    return row;
}

void addSafety(Rows& rows, const Project& project) {
    rows.push_back({localized("Safety"), {safetyText(project)}});
    if (!project.safety) return;
    const Row reassuring = signalRow(localized("What speaks for it"), project.safety->reassuring());
    const Row concerns = signalRow(localized("Concerns"), project.safety->concerns());
    for (const Row& row : {reassuring, concerns}) {
        if (!row.paragraphs.empty()) rows.push_back(row);
    }
}

std::string identityText(const ProjectFacts& facts, const PageSetting& setting) {
    const Project& project = facts.project;
    Rows rows;
    rows.push_back({localized("Path"), {shownPath(project.path, setting.home)}});
    const std::string kinds = kindsText(project);
    rows.push_back(
        {localized("Kinds"), {kinds.empty() ? localized("nothing here marks a kind of project") : kinds}});
    if (project.declaredName)
        rows.push_back({localized("Declared name"), {printable(*project.declaredName)}});
    rows.push_back(activityRow(project, setting.now));
    rows.push_back(sizeRow(project));
    addSafety(rows, project);
    addText(rows, localized("Cleanup"), offerText(facts.offer));
    return rowsText(rows, setting.look);
}

// --- its generated folders ---

std::string categoryText(ArtifactCategory category) {
    switch (category) {
        case ArtifactCategory::dependencies:
            return localized("dependencies");
        case ArtifactCategory::build:
            return localized("build output");
        case ArtifactCategory::sourceAndHistory:
            return localized(
                "kept: it holds a repository, keys or environment files, or not all of it could be read");
    }
    return "";
}

std::string pathWithin(const std::string& path, const std::string& folder) {
    const bool isWithin = path.starts_with(folder + "/");
    return printable(isWithin ? path.substr(folder.size() + 1) : path);
}

std::string artifactsText(const Project& project, const Look& look) {
    Rows rows;
    for (const ProjectArtifact& artifact : project.artifacts) {
        Row row{pathWithin(artifact.path, project.path),
                {sizeText(artifact.measurement) + std::string(look.glyphs.dot()) +
                 categoryText(artifact.category)}};
        if (artifact.category != ArtifactCategory::sourceAndHistory) {
            row.paragraphs.push_back(printable(comesBackText(artifact.regeneratedBy)));
        }
        rows.push_back(row);
    }
    return rowsText(rows, look);
}

// --- Git ---

// What Git did not say is unknown where it did not answer everything.
std::string unlessUnknown(const GitState& git, const std::string& text) {
    return git.inspectionComplete ? text : localized("not known");
}

Row remotesRow(const GitState& git) {
    Row row{localized("Remotes"),
            {git.remotes.empty() ? unlessUnknown(git, localized("none")) : printableList(git.remotes)}};
    for (const std::string& address : git.remoteURLs) row.paragraphs.push_back(printable(address));
    return row;
}

std::string gitText(const Project& project, const PageSetting& setting) {
    if (!project.safety) return "";
    const GitState& git = project.safety->git;
    if (!git.isRepository) return paragraphText(localized("no repository here"), 2, setting.look);
    std::string text;
    if (!git.inspectionComplete) {
        text = setting.look.palette.warning(paragraphText(
            localized("Git did not answer every question, so no number here is a claim."), 2, setting.look));
    }
    const auto count = [&](std::int64_t number) {
        const std::string digits = ByteFormat::count(number);
        return std::vector{number == 0 ? unlessUnknown(git, digits) : digits};
    };
    const auto named = [&](const std::optional<std::string>& name, const std::string& otherwise) {
        return std::vector{name ? printable(*name) : unlessUnknown(git, otherwise)};
    };
    Rows rows = {
        {localized("Branch"), named(git.branch, localized("none: HEAD is detached"))},
        {localized("Upstream"), named(git.upstream, localized("none"))},
        {localized("Commits ahead"), count(git.unpushedCommits)},
        {localized("Modified files"), count(git.modifiedFiles)},
        {localized("Untracked entries"), count(git.untrackedFiles)},
        {localized("Stashes"),
         {git.hasStashes ? localized("present") : unlessUnknown(git, localized("none"))}},
        {localized("Local-only commits"), count(git.localOnlyCommits)},
        remotesRow(git),
    };
    if (git.mainWorktreePath) {
        rows.push_back({localized("Main checkout"), {shownPath(*git.mainWorktreePath, setting.home)}});
    }
    return text + rowsText(rows, setting.look);
}

Row worktreeRow(const Worktree& worktree, const PageSetting& setting) {
    Row row{shownPath(worktree.path, setting.home), {}};
    if (worktree.branch) row.paragraphs.push_back(localized("branch %@", printable(*worktree.branch)));
    row.paragraphs.push_back(worktree.state());
    if (worktree.prunableReason) {
        row.paragraphs.push_back(localized("git reports this entry as prunable") + ": " +
                                 printable(*worktree.prunableReason));
        row.paragraphs.push_back(localized(
            "If you moved it, repair the record first: pruning forgets what is checked out there."));
        row.commands.emplace_back("git worktree repair '<path>'");
    }
    if (worktree.lastUsed) {
        const auto lastUsed = std::chrono::floor<std::chrono::seconds>(*worktree.lastUsed);
        row.paragraphs.push_back(localized("last active %@", relativeAge(lastUsed, setting.now)));
    }
    if (const auto command = worktree.removalCommand()) row.commands.push_back(*command);
    return row;
}

std::string worktreesText(const Project& project, const PageSetting& setting) {
    if (!project.safety || project.safety->git.worktrees.empty()) return "";
    const std::vector<Worktree>& worktrees = project.safety->git.worktrees;
    Rows rows;
    for (const Worktree& worktree : worktrees) rows.push_back(worktreeRow(worktree, setting));
    return section(
        CoreStrings::plural("count.worktrees", static_cast<std::int64_t>(worktrees.size())),
        rowsText(rows, setting.look) +
            paragraphText(localized("Brindle does not run these commands. Run one in this project's folder."),
                          2, setting.look),
        setting.look);
}

// --- other projects, and what to do with this one ---

std::string moreText(std::size_t leftOut, const Look& look) {
    if (leftOut == 0) return "";
    const std::string count = ByteFormat::count(static_cast<std::int64_t>(leftOut));
    return paragraphText(leftOut < RelatedProjects::kMostLeftOut ? localized("and %@ more", count)
                                                                 : localized("and at least %@ more", count),
                         2, look);
}

std::string relationsText(const ProjectFacts& facts, const PageSetting& setting) {
    if (facts.related.strongest.empty()) return "";
    Rows rows;
    for (const ProjectRelation& relation : facts.related.strongest) {
        rows.push_back({shownPath(relation.otherPath, setting.home),
                        {relation.headline(), printable(relation.evidence())}});
    }
    return rowsText(rows, setting.look) + moreText(facts.related.leftOut, setting.look) +
           paragraphText(localized("A resemblance never changes what can be removed."), 2, setting.look);
}

std::string disposalText(const ProjectFacts& facts, const Look& look) {
    std::string text = paragraphText(printable(facts.disposal.headline), 2, look) +
                       paragraphText(printable(facts.disposal.consequence), 2, look);
    if (facts.project.safety && facts.project.safety->git.isRepository) {
        text += paragraphText(localized("Files that Git ignores, such as .env, are on no remote."), 2, look);
    }
    return text + paragraphText(localized("Brindle never removes project folders."), 2, look);
}

std::string hintText(const ProjectRecovery& recovery, const Look& look) {
    if (!recovery.isRunnable()) {
        return paragraphText(RecoveryFailure{RecoveryFailure::Kind::notOurs}.description(), 2, look);
    }
    const auto line = commandLineOn("brindle project", recovery.path);
    return paragraphText(localized("Brindle runs it for you, after asking, with:"), 2, look) +
           commandText(line.value_or("brindle project PATH") + " --recover");
}

std::string recoveryText(const ProjectFacts& facts, const Look& look) {
    if (!facts.recovery) return "";
    std::string text = paragraphText(facts.recovery->explanation(), 2, look);
    const auto commands = shownCommands(*facts.recovery);
    if (!commands)
        return text + paragraphText(localized("A name in it cannot be shown in a command."), 2, look);
    for (const std::string& command : *commands) text += commandText(command);
    return text + hintText(*facts.recovery, look);
}

std::string headingText(const Project& project, const Look& look) {
    return look.palette.heading(shortenEnd(printable(project.name), look.width, look.glyphs.ellipsis())) +
           "\n";
}

}  // namespace

std::optional<std::vector<std::string>> shownCommands(const ProjectRecovery& recovery) {
    std::vector<std::string> lines;
    for (const RecoveryCommand& command : recovery.commands()) {
        auto line = command.display();
        if (!line) return std::nullopt;
        lines.push_back(*std::move(line));
    }
    return lines;
}

std::string projectPage(const ProjectFacts& facts, const PageSetting& setting) {
    const Look& look = setting.look;
    return headingText(facts.project, look) + identityText(facts, setting) +
           section("", unreachableText(facts.unreachable, setting.home, look), look) +
           section(localized("Generated folders"), artifactsText(facts.project, look), look) +
           section(localized("Git"), gitText(facts.project, setting), look) +
           worktreesText(facts.project, setting) +
           section(localized("Looks like the same work"), relationsText(facts, setting), look) +
           section(localized("If the whole folder went"), disposalText(facts, look), look) +
           section(localized("Next step"), recoveryText(facts, look), look) +
           section("", facts.isInterrupted ? interruptedText(look) : "", look);
}

}  // namespace brindle
