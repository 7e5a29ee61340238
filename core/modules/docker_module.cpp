#include "core/modules/docker_module.h"

#include <algorithm>

#include "core/model/byte_sum.h"
#include "core/modules/measured_item.h"
#include "core/platform/machine.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::size_t kDockerAnswerLimit = 1U << 20U;  // a UnreachableLocation::notRunning is some 500 bytes
constexpr std::string_view kDataFolder = "Library/Containers/com.docker.docker/Data";
constexpr std::string_view kImageFolder = "Library/Containers/com.docker.docker/Data/vms/0";

// A client that has to log in somewhere asks, and nobody would answer.
const std::vector<std::string>& dockerWaitingPhrases() {
    static const std::vector<std::string> kPhrases = {"Are you sure you want to continue connecting",
                                                      "'s password:", "Enter passphrase", "Username:"};
    return kPhrases;
}

UnreachableLocation notReachable() {
    return UnreachableLocation::notRunning(
        "Daemon not reachable", "Start Docker Desktop and scan again to see what can be reclaimed.");
}

// Why nothing of this engine is offered.
UnreachableLocation notOurs(DockerEngine::Place place) {
    constexpr std::string_view kAsked = "docker context inspect";
    if (place == DockerEngine::Place::remote) {
        return UnreachableLocation::notRunning(
            kAsked,
            "Docker is set to work on another machine, so cleaning up would free space there and not on this "
            "Mac. Choose an engine on this Mac with docker context use, unset DOCKER_HOST, then scan again.");
    }
    return UnreachableLocation::notRunning(
        kAsked,
        "Brindle could not tell whether Docker works on this Mac or on another machine, so nothing "
        "is offered. Check docker context ls and DOCKER_HOST, then scan again.");
}

DirectoryMeasurement reported(std::uint64_t bytes) {
    DirectoryMeasurement measurement;
    measurement.source = DirectoryMeasurement::Source::reported;
    measurement.allocatedBytes = bytes;
    measurement.logicalBytes = bytes;
    return measurement;
}

CleanupItem usageItem(const DockerUsage& usage, const DockerUsage::Spec& spec) {
    CleanupItemFields fields = itemFields({ModuleID::docker, spec.key, spec.title, "Reported by Docker"},
                                          reported(usage.reclaimableBytes));
    fields.classification = spec.classification;
    fields.removal = {spec.command};
    fields.explanation = {spec.whatItIs,
                          spec.whatHappensNext,
                          spec.whySuggested,
                          spec.regeneratedBy,
                          {{"Total", ByteFormat::count(usage.totalCount)},
                           {"In use", ByteFormat::count(usage.active)},
                           {"Reclaimable", ByteFormat::shortText(usage.reclaimableBytes)},
                           {"Removed via", fields.removal.description()}}};
    // The UnreachableLocation::notRunning has no way to leave the named ones out.
    if (spec.key == "volumes") {
        fields.explanation.facts.push_back(
            {"Named volumes",
             "Docker counts them in this size. Since version 23 its command removes only anonymous ones."});
    }
    return CleanupItem(std::move(fields));
}

}  // namespace

struct DockerModule::Answer {
    std::vector<CleanupItem> items;
    std::uint64_t bytesInImage = 0;  // how much of the items lies in Docker Desktop's disk image
    std::optional<UnreachableLocation> problem;
};

std::optional<std::string> DockerModule::dataDirectory(const ScanContext& context) {
    std::string folder = context.path(kDataFolder);
    return context.exists(folder) ? std::optional(std::move(folder)) : std::nullopt;
}

bool DockerModule::isPresent(const ScanContext& context) const {
    return tools_.locate("docker").has_value() || dataDirectory(context).has_value();
}

ModuleResult DockerModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    if (!result.isToolchainInstalled) return result;
    Answer answer = ask(context);
    if (context.isCancelled()) return result;
    if (auto image = footprint(context, answer)) result.items.push_back(std::move(*image));
    std::ranges::move(answer.items, std::back_inserter(result.items));
    if (answer.problem) result.unreachable.push_back(std::move(*answer.problem));
    return result;
}

DockerModule::Answer DockerModule::ask(const ScanContext& context) const {
    Answer answer;
    if (!tools_.locate("docker")) {
        answer.problem = notReachable();
        return answer;
    }
    DockerEngine engine = readEngine(context);
    if (engine.place != DockerEngine::Place::local) {
        answer.problem = notOurs(engine.place);
        return answer;
    }
    const auto usage = readUsage(context);
    if (!usage) answer.problem = notReachable();
    // The usual place is often a link to the socket of the engine that was started last.
    engine.socket = canonicalOr(engine.socket);
    const bool isInImage = engine.mayBeDockerDesktop(canonicalOr(context.home));
    for (const DockerUsage& row : usage.value_or(std::vector<DockerUsage>{})) {
        const auto spec = DockerUsage::cleanupSpec(row.type);
        if (!spec || row.reclaimableBytes == 0) continue;
        answer.items.push_back(usageItem(row, *spec));
        if (isInImage) answer.bytesInImage = addBytes(answer.bytesInImage, row.reclaimableBytes);
    }
    return answer;
}

std::optional<CleanupItem> DockerModule::footprint(const ScanContext& context, const Answer& answer) {
    const std::string folder = context.path(kImageFolder);
    auto measurement = measureOccupied(context, folder);
    if (!measurement) return std::nullopt;
    const std::string size = ByteFormat::shortText(measurement->allocatedBytes);
    const std::string shown = context.displayPath(folder);
    std::vector<Fact> facts = {{"Size on disk", CoreStrings::localized("%@ (sparse)", size)}};
    if (answer.bytesInImage > 0)
        facts.push_back({"Listed separately", ByteFormat::shortText(answer.bytesInImage)});
    std::ranges::move(ageAndFileCount(context, *measurement), std::back_inserter(facts));
    if (answer.problem) {
        const bool isSilent = *answer.problem == notReachable();
        facts.push_back({isSilent ? answer.problem->path : "Docker's engine", answer.problem->storedRemedy});
    }
    measurement->allocatedBytes -= std::min(measurement->allocatedBytes, answer.bytesInImage);
    CleanupItemFields fields =
        itemFields({ModuleID::docker, "footprint", "Docker disk image", shown}, *measurement);
    fields.explanation = {
        CoreStrings::localized("Docker keeps everything — images, containers, volumes and build cache — "
                               "inside one sparse disk image at %@. It occupies %@ of this Mac right now.",
                               shown, size),
        "Nothing, until Docker is running. Brindle never edits this file directly: doing so would destroy "
        "every image and volume at once.",
        {},
        {},
        std::move(facts)};
    fields.removal = {DeletePaths{{folder}}};
    return CleanupItem(std::move(fields));
}

DockerEngine DockerModule::readEngine(const ScanContext& context) const {
    const auto text = output(context, {"context", "inspect", "--format", "{{json .Endpoints.docker.Host}}"});
    return text ? parseDockerEngine(*text) : DockerEngine{};
}

std::optional<std::vector<DockerUsage>> DockerModule::readUsage(const ScanContext& context) const {
    auto text = output(context, {"system", "df", "--format", "json"});
    if (text && isFormatEchoed(*text)) text = output(context, {"system", "df", "--format", "{{json .}}"});
    return text ? parseDockerUsage(*text) : std::nullopt;
}

std::optional<std::string> DockerModule::output(const ScanContext& context,
                                                const std::vector<std::string>& arguments) const {
    const RunOptions options{
        .timeout = kTimeout, .isCancelled = context.isCancelled, .waitingPhrases = dockerWaitingPhrases()};
    auto result = requireSuccess(tools_.run("docker", arguments, options));
    if (!result || result->output.size() > kDockerAnswerLimit) return std::nullopt;
    return std::move(result->output);
}

}  // namespace brindle
