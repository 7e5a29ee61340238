#include "cli/project_list.h"

#include <algorithm>
#include <tuple>

#include "cli/display_width.h"
#include "cli/item_view.h"
#include "cli/page_rows.h"
#include "cli/unreachable_view.h"
#include "core/model/byte_sum.h"
#include "core/platform/path_text.h"
#include "core/text/ascii.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Projects = std::vector<ListedProject>;

// --- one project ---

std::string rebuildableText(const Project& project, const Look& look) {
    DirectoryMeasurement rebuildable;
    rebuildable.allocatedBytes = project.rebuildableBytes();
    rebuildable.unreadablePaths = project.measurement.unreadablePaths;
    rebuildable.otherVolumePaths = project.measurement.otherVolumePaths;
    return shortSizeText(rebuildable, look);
}

// What is said below a project's name, from `indent` on.
std::string notes(const ListedProject& listed, unsigned indent, const Look& look) {
    const Project& project = listed.project;
    const std::string safety = safetyText(project);
    std::string text = paragraphText(safety, indent, look);
    for (const std::string& reason : blockingTexts(project))
        text += paragraphText("- " + reason, indent, look);
    // A project that is blocked for its evidence is not offered for that very reason.
    return listed.offer.reasonNotOffered == safety ? text : text + offerLines(listed.offer, indent, look);
}

struct Columns {
    unsigned size = 0;
    unsigned rebuildable = 0;

    unsigned indent() const { return 2 + size + 2 + rebuildable + 2; }
};

Columns columnsOf(const ProjectListPage& page) {
    Columns columns{displayWidth(localized("Size")), displayWidth(localized("Rebuildable"))};
    for (const auto& [project, offer] : page.projects) {
        columns.size = std::max(columns.size, displayWidth(shortSizeText(project.measurement, page.look)));
        columns.rebuildable =
            std::max(columns.rebuildable, displayWidth(rebuildableText(project, page.look)));
    }
    return columns;
}

std::string figures(std::string_view size, std::string_view rebuildable, const Columns& columns) {
    return "  " + padLeft(size, columns.size) + "  " + padLeft(rebuildable, columns.rebuildable) + "  ";
}

std::string wideLines(const ListedProject& listed, const Columns& columns, const ProjectListPage& page) {
    const Project& project = listed.project;
    const Look& look = page.look;
    const unsigned indent = columns.indent();
    const unsigned room = look.spreadWidth() - indent;
    const std::string kinds = kindsText(project);
    const unsigned pathRoom = room - std::min(room - 16, kinds.empty() ? 0 : displayWidth(kinds) + 2);
    const std::string path =
        shortenMiddle(shownPath(project.path, page.home), pathRoom, look.glyphs.ellipsis());
    return figures(shortSizeText(project.measurement, look), rebuildableText(project, look), columns) +
           spread(printable(project.name), activityText(project, page.now), room, look) + "\n" +
           std::string(indent, ' ') + spread(path, kinds, room, look) + "\n" + notes(listed, indent, look);
}

std::string narrowLines(const ListedProject& listed, const ProjectListPage& page) {
    constexpr unsigned kIndent = 2;
    const Project& project = listed.project;
    const Look& look = page.look;
    const unsigned room = look.width - kIndent;
    std::string signs = activityText(project, page.now);
    if (!project.kinds.empty()) signs += std::string(look.glyphs.dot()) + kindsText(project);
    const std::string path = shortenMiddle(shownPath(project.path, page.home), room, look.glyphs.ellipsis());
    return look.palette.heading(shortenEnd(printable(project.name), look.width, look.glyphs.ellipsis())) +
           "\n" +
           paragraphText(localized("%@, %@ rebuildable", shortSizeText(project.measurement, look),
                                   rebuildableText(project, look)),
                         kIndent, look) +
           paragraphText(signs, kIndent, look) + std::string(kIndent, ' ') + path + "\n" +
           notes(listed, kIndent, look);
}

std::string projectLines(const ProjectListPage& page) {
    std::string text;
    if (page.look.isNarrow()) {
        for (const ListedProject& each : page.projects)
            text += (text.empty() ? "" : "\n") + narrowLines(each, page);
        return text;
    }
    const Columns columns = columnsOf(page);
    text = page.look.palette.heading(figures(localized("Size"), localized("Rebuildable"), columns) +
                                     localized("Project")) +
           "\n";
    for (const ListedProject& each : page.projects) text += wideLines(each, columns, page);
    return text;
}

// --- all of them ---

struct Sum {
    std::uint64_t bytes = 0;
    std::int64_t count = 0;
    bool isComplete = true;

    void add(std::uint64_t more, bool isWhole) {
        bytes = addBytes(bytes, more);
        count += 1;
        isComplete = isComplete && isWhole;
    }
};

std::string sumLine(const Sum& sum, const std::string& name, const Look& look) {
    const std::string bytes =
        (sum.isComplete ? "" : std::string(look.glyphs.atLeast())) + ByteFormat::shortText(sum.bytes);
    const std::string remark = CoreStrings::plural("count.projects", sum.count);
    const std::string line = "  " + padLeft(bytes, 10) + "  " + name;
    const bool hasRoom = displayWidth(line) + 2 + displayWidth(remark) <= look.width;
    return line + (sum.count > 0 && hasRoom ? "  " + look.palette.quiet(remark) : "") + "\n";
}

// A file with names in two projects takes its space once, and each of them holds it.
std::string sharedText(const ProjectListPage& page) {
    std::uint64_t bytes = 0;
    int holders = 0;
    for (const auto& [project, offer] : page.projects) {
        bytes = addBytes(bytes, project.measurement.hardLinkedBytes);
        holders += project.measurement.hardLinkedBytes > 0 ? 1 : 0;
    }
    if (holders < 2) return "";
    return paragraphText(localized("Of the first sum, up to %@ may be counted more than once: files with "
                                   "several names (hard links) count in each project that holds one.",
                                   ByteFormat::shortText(bytes)),
                         2, page.look);
}

std::string sumsText(const ProjectListPage& page) {
    Sum all;
    Sum rebuildable;
    Sum offered;
    for (const auto& [project, offer] : page.projects) {
        const bool isWhole = project.measurement.isComplete();
        all.add(project.totalBytes(), isWhole);
        if (!project.rebuildableArtifacts().empty() || !isWhole)
            rebuildable.add(project.rebuildableBytes(), isWhole);
        if (offer.offeredAs) offered.add(project.rebuildableBytes(), isWhole);
    }
    const bool areAll = page.projects.size() == page.foundCount;
    const std::string names[] = {areAll ? localized("in all") : localized("listed"), localized("rebuildable"),
                                 localized("offered now")};
    unsigned columns = 0;
    for (const std::string& name : names) columns = std::max(columns, displayWidth(name));
    return page.look.palette.heading(localized("Totals")) + "\n" +
           sumLine(all, padRight(names[0], columns), page.look) +
           sumLine(rebuildable, padRight(names[1], columns), page.look) +
           sumLine(offered, padRight(names[2], columns), page.look) + sharedText(page);
}

std::string rootsText(const ProjectListPage& page) {
    std::string text;
    for (const std::string& root : page.roots) {
        const std::string path = root.starts_with('/') ? root : page.home + "/" + root;
        text += (text.empty() ? "" : ", ") + shownPath(path, page.home);
    }
    return text;
}

std::string nothingText(const ProjectListPage& page) {
    if (page.isInterrupted) return localized("Nothing had been found yet.");
    if (page.roots.empty()) {
        return localized(
            "No folder is searched for projects. \"brindle settings project-roots FOLDER\" names one.");
    }
    if (page.foundCount > 0) {
        return localized("None of the projects below %@ has been left alone for %@ days.", rootsText(page),
                         ByteFormat::count(Project::kDormantAfterDays));
    }
    return localized("No projects were found below %@.", rootsText(page));
}

std::string closingText(const ProjectListPage& page) {
    if (page.isInterrupted) return interruptedText(page.look);
    if (page.projects.empty()) return "";
    return paragraphText(localized("\"brindle project PATH\" tells more of one."), 0, page.look);
}

}  // namespace

void sortProjects(std::vector<Project>& projects, ProjectOrder order) {
    std::ranges::sort(projects, [order](const Project& left, const Project& right) {
        switch (order) {
            case ProjectOrder::size:
                if (left.totalBytes() != right.totalBytes()) return left.totalBytes() > right.totalBytes();
                break;
            case ProjectOrder::age:
                if (left.lastUsed != right.lastUsed) {
                    return left.lastUsed.value_or(TimePoint::max()) <
                           right.lastUsed.value_or(TimePoint::max());
                }
                break;
            case ProjectOrder::name:
                if (const auto a = lowerCase(left.name), b = lowerCase(right.name); a != b) return a < b;
                break;
        }
        return left.path < right.path;
    });
}

std::string projectListText(const ProjectListPage& page) {
    std::string text =
        page.projects.empty() ? paragraphText(nothingText(page), 0, page.look) : projectLines(page);
    const std::string unreachable = unreachableText(page.unreachable, page.home, page.look);
    if (!unreachable.empty()) text += "\n" + unreachable;
    if (!page.projects.empty()) text += "\n" + sumsText(page);
    const std::string closing = closingText(page);
    return closing.empty() ? text : text + "\n" + closing;
}

}  // namespace brindle
