// brindle doctor
#include <algorithm>
#include <array>
#include <sstream>
#include <vector>

#include "cli/command.h"
#include "cli/display_width.h"
#include "cli/schedule_page.h"
#include "cli/text_table.h"
#include "cli/unreachable_view.h"
#include "core/model/model_json.h"
#include "core/platform/volume.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::array<std::string_view, 15> kTools = {"brew",  "docker",       "node", "npm",   "pnpm",
                                                     "yarn",  "bun",          "uv",   "go",    "pod",
                                                     "xcrun", "xcode-select", "git",  "cargo", "pip3"};

struct Tool {
    std::string_view name;
    std::optional<std::string> path;
};

// All that the examination found; text and JSON are made of the same.
struct Findings {
    std::string home;
    std::expected<VolumeCapacity, Error> volume;
    std::string preferencesLocation;
    std::expected<void, Error> preferences;
    std::string catalogueProblem;  // empty: loaded
    bool isAccessGranted = true;
    std::string probes;
    std::vector<Tool> tools;
    std::string timerProblem;  // of the timer that starts scheduled scans; empty: none, or all is well
    std::vector<UnreachableLocation> unreachable;
};

std::string problemOfTexts(const std::string& resourceFolder) {
    std::string problems;
    for (const char* name : {"core", "cli"}) {
        const std::string problem = ResourceBundle(resourceFolder, name, {}).problem();
        if (!problem.empty()) problems += (problems.empty() ? "" : "; ") + problem;
    }
    return problems;
}

Findings examine(const CommandContext& context) {
    const Session& session = context.session;
    const ProcessRunner runner = session.processRunner();
    Findings findings{
        .home = session.home(),
        .volume = volumeCapacity(session.home()),
        .preferencesLocation = session.defaults().location(),
        .preferences = session.preferences().readable(),
        .catalogueProblem = problemOfTexts(context.surroundings.resourceFolder),
        .isAccessGranted = session.fullDiskAccess().isGranted(),
        .probes = session.fullDiskAccess().report(),
        .tools = {},
        .timerProblem = timerProblem(session.scheduleTimer(context.surroundings.program).state(),
                                     context.surroundings.program),
        .unreachable = {}};
    for (const std::string_view name : kTools) findings.tools.push_back({name, runner.locate(name)});
    ScanOptions options;
    options.includeProjects = false;
    options.includeSurvey = false;
    findings.unreachable = scanShowingProgress(context, options).report.unreachable();
    return findings;
}

std::vector<std::string> suggestions(const Findings& findings) {
    std::vector<std::string> list;
    if (!findings.isAccessGranted) list.push_back(FullDiskAccess::remedy());
    if (!findings.preferences) {
        list.push_back(
            localized("Repair or remove %@: until then scans use the defaults, and what you disabled or "
                      "protected is not respected.",
                      printable(findings.preferencesLocation)));
    }
    if (!findings.catalogueProblem.empty()) {
        list.push_back(
            localized("Install Brindle again: its texts are missing, so counted phrases are shown as keys."));
    }
    if (!findings.timerProblem.empty()) list.push_back(findings.timerProblem);
    bool hasFailures = false;
    for (const UnreachableLocation& each : findings.unreachable) hasFailures |= !isDeliberate(each.reason);
    if (hasFailures) {
        list.push_back(localized("See to the places under \"Not measured\", then run brindle doctor again."));
    }
    return list;
}

// --- JSON ---

Json volumeJson(const Findings& findings) {
    if (!findings.volume) return nullptr;
    return Json{{"name", findings.volume->name ? Json(jsonText(*findings.volume->name)) : Json(nullptr)},
                {"totalBytes", findings.volume->totalBytes},
                {"availableBytes", findings.volume->availableBytes}};
}

Json problemOf(const std::expected<void, Error>& outcome) {
    return outcome ? Json(nullptr) : Json(outcome.error().describe());
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> list;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) list.push_back(line);
    return list;
}

std::string jsonResult(const Findings& findings, bool isInterrupted) {
    Json tools = Json::array();
    for (const Tool& tool : findings.tools) {
        tools.push_back(
            {{"name", tool.name}, {"path", tool.path ? Json(jsonText(*tool.path)) : Json(nullptr)}});
    }
    Json unreachable = Json::array();
    for (const UnreachableLocation& each : findings.unreachable) unreachable.push_back(toJson(each));
    Json probes = Json::array();
    for (const std::string& line : lines(findings.probes)) probes.push_back(jsonText(line));
    const Json json{
        {"schemaVersion", 1},
        {"home", jsonText(findings.home)},
        {"isPartial", isInterrupted},
        {"volume", volumeJson(findings)},
        {"preferences",
         {{"location", jsonText(findings.preferencesLocation)},
          {"problem", problemOf(findings.preferences)}}},
        {"texts",
         {{"problem",
           findings.catalogueProblem.empty() ? Json(nullptr) : Json(jsonText(findings.catalogueProblem))}}},
        {"access", {{"isGranted", findings.isAccessGranted}, {"probes", probes}}},
        {"timer",
         {{"problem",
           findings.timerProblem.empty() ? Json(nullptr) : Json(jsonText(findings.timerProblem))}}},
        {"tools", tools},
        {"unreachable", unreachable},
    };
    return json.dump(2) + "\n";
}

// --- text ---

std::string wrapped(const std::string& words, const Look& look) {
    std::string text;
    for (const std::string& line : wrap(words, look.width - 2)) text += "  " + line + "\n";
    return text;
}

std::string placesText(const Findings& findings, const Look& look) {
    std::string text =
        look.palette.heading(localized("Home folder")) + "\n" + wrapped(printable(findings.home), look);
    if (findings.volume) {
        text += wrapped(localized("volume %@, %@ free of %@", printable(findings.volume->name.value_or("-")),
                                  ByteFormat::shortText(findings.volume->availableBytes),
                                  ByteFormat::shortText(findings.volume->totalBytes)),
                        look);
    } else {
        text += wrapped(printable(findings.volume.error().describe()), look);
    }
    text +=
        "\n" + look.palette.heading(localized("Preferences")) + "\n" +
        wrapped(printable(findings.preferencesLocation), look) +
        (findings.preferences ? wrapped(localized("can be read"), look)
                              : look.palette.warning(wrapped(findings.preferences.error().describe(), look)));
    text += "\n" + look.palette.heading(localized("Texts")) + "\n" +
            (findings.catalogueProblem.empty()
                 ? wrapped(localized("loaded"), look)
                 : look.palette.warning(wrapped(printable(findings.catalogueProblem), look)));
    return text;
}

std::string accessText(const Findings& findings, const Look& look) {
    std::string text = "\n" + look.palette.heading(localized("Access to guarded folders")) + "\n" +
                       wrapped(findings.isAccessGranted ? localized("granted, or nothing guarded is here")
                                                        : localized("not granted"),
                               look);
    const std::vector<std::string> probes = lines(findings.probes);
    // On a system that guards nothing a list of what is not there says nothing.
    const bool isAnyThere =
        std::ranges::any_of(probes, [](const auto& line) { return !line.ends_with(": not there"); });
    if (!isAnyThere) return text;
    for (const std::string& line : probes) {
        text += "    " +
                look.palette.quiet(shortenMiddle(printable(line), look.width - 4, look.glyphs.ellipsis())) +
                "\n";
    }
    return text;
}

std::string textResult(const Findings& findings, const Look& look) {
    TextTable tools({localized("Tool"), localized("Where")});
    for (const Tool& tool : findings.tools) {
        tools.add({std::string(tool.name), tool.path ? printable(*tool.path) : localized("not found")});
    }
    std::string text = placesText(findings, look) + accessText(findings, look) + "\n" + tools.text(look);
    const std::string unreachable = unreachableText(findings.unreachable, findings.home, look);
    if (!unreachable.empty()) text += "\n" + unreachable;
    const std::vector<std::string> list = suggestions(findings);
    text += "\n" + look.palette.heading(localized("What to do")) + "\n";
    if (list.empty()) text += wrapped(localized("Nothing: a scan can see everything it looks for."), look);
    for (const std::string& each : list) text += wrapped(each, look);
    return text;
}

}  // namespace

Outcome runDoctor(const CommandContext& context) {
    const Findings findings = examine(context);
    const ExitCode code = unlessInterrupted(context);
    const bool isInterrupted = code == ExitCode::interrupted;
    if (isInterrupted) complain(context.streams, localized("interrupted; folders not looked at are missing"));
    return {code, context.options.isJson ? jsonResult(findings, isInterrupted)
                                         : textResult(findings, context.look)};
}

}  // namespace brindle
