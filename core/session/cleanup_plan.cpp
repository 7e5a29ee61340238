#include "core/session/cleanup_plan.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <utility>

#include "core/model/receipt_json.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/removal/cleanup_journal.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::string_view kReading = "read the plan";
constexpr std::uint64_t kVersion = 1;
constexpr std::string_view kKind = "brindle cleanup plan";  // so that no other file is taken for one

std::unexpected<Error> malformed(std::string_view reason) {
    return std::unexpected(malformedError(kReading, "", reason));
}

// The same reason, of this file.
std::unexpected<Error> about(Error error, const std::string& path) {
    const std::size_t reason =
        error.kind == Error::Kind::malformed ? error.operation.find(" (") : std::string::npos;
    error.operation =
        std::string(kReading) + (reason == std::string::npos ? "" : error.operation.substr(reason));
    error.path = path;
    return std::unexpected(std::move(error));
}

// --- writing ---

SortedJson pathJson(const PlannedPath& planned) {
    SortedJson json{{"path", keptText(planned.path)}};
    if (!planned.identity) return json;
    json["device"] = static_cast<std::uint32_t>(planned.identity->device);
    json["inode"] = planned.identity->inode;
    json["mode"] = planned.identity->mode;
    return json;
}

SortedJson commandJson(const RunCommand& command) {
    SortedJson arguments = SortedJson::array();
    for (const std::string& each : command.arguments) arguments.push_back(keptText(each));
    return {{"executable", keptText(command.executable)}, {"arguments", std::move(arguments)}};
}

SortedJson itemJson(const CleanupPlanItem& item) {
    SortedJson json{{"id", keptText(item.id)},
                    {"title", keptText(item.title)},
                    {"classification", rawText(item.classification)},
                    {"method", rawText(item.method)},
                    {"bytes", item.bytes}};
    if (item.projectPath) json["projectPath"] = keptText(*item.projectPath);
    if (item.command) {
        json["command"] = commandJson(*item.command);
        return json;
    }
    json["paths"] = SortedJson::array();
    for (const PlannedPath& each : item.paths) json["paths"].push_back(pathJson(each));
    return json;
}

// --- reading ---

std::expected<PlannedPath, Error> pathFrom(const SortedJson& json) {
    RecordReader record(json);
    PlannedPath planned{record.text("path"), std::nullopt};
    if (record.optional("inode") != nullptr) {
        planned.identity = PathIdentity{
            static_cast<std::int32_t>(record.number("device", std::numeric_limits<std::uint32_t>::max())),
            record.number("inode"),
            static_cast<std::uint16_t>(record.number("mode", std::numeric_limits<std::uint16_t>::max()))};
    }
    if (!record.isWhole()) return record.error();
    return planned;
}

std::expected<RunCommand, Error> commandFrom(const SortedJson& json) {
    RecordReader record(json);
    RunCommand command{record.text("executable"), record.texts("arguments")};
    if (!record.isWhole()) return record.error();
    return command;
}

std::expected<CleanupPlanItem, Error> withHow(CleanupPlanItem item, RecordReader& record) {
    if (const SortedJson* json = record.optional("command")) {
        auto command = commandFrom(*json);
        if (!command) return std::unexpected(command.error());
        item.command = *std::move(command);
        return item;
    }
    for (const SortedJson& element : record.list("paths")) {
        auto planned = pathFrom(element);
        if (!planned) return std::unexpected(planned.error());
        item.paths.push_back(*std::move(planned));
    }
    return item;
}

std::expected<CleanupPlanItem, Error> itemFrom(const SortedJson& json) {
    RecordReader record(json);
    auto item = withHow({.id = record.text("id"),
                         .title = record.text("title"),
                         .classification = record.oneOf<Classification>("classification"),
                         .method = record.oneOf<RemovalMethod>("method"),
                         .command = std::nullopt,
                         .paths = {},
                         .bytes = record.number("bytes"),
                         .projectPath = record.optionalText("projectPath")},
                        record);
    if (item && !record.isWhole()) return record.error();
    return item;
}

std::expected<CleanupPlan, Error> planFrom(const SortedJson& json) {
    RecordReader record(json);
    if (record.text("kind") != kKind) record.refuse("kind");
    if (record.number("version") != kVersion) record.refuse("version");
    CleanupPlan plan{record.text("home"), record.moment("madeAt"), {}};
    std::set<std::string> ids;
    for (const SortedJson& element : record.list("items")) {
        auto item = itemFrom(element);
        if (!item) return std::unexpected(item.error());
        if (!ids.insert(item->id).second) return malformed("an item stands in it twice");
        plan.items.push_back(*std::move(item));
    }
    if (!record.isWhole()) return record.error();
    return plan;
}

// --- comparing ---

using Identities = std::map<std::string, std::optional<PathIdentity>>;

Identities plannedIdentities(const CleanupPlanItem& planned) {
    Identities identities;
    for (const PlannedPath& each : planned.paths) identities.emplace(each.path, each.identity);
    return identities;
}

std::optional<PathIdentity> identityOf(const CleanupItem& item, const std::string& path) {
    const auto found = item.pathIdentities.find(path);
    return found == item.pathIdentities.end() ? std::nullopt : std::optional(found->second);
}

// A path that the plan names twice, or the item, makes the numbers differ: that is a change like any other.
std::optional<std::string> changeOfPaths(const CleanupPlanItem& planned, const CleanupItem& item) {
    const std::vector<std::string>& paths = item.removal.affectedPaths();
    const Identities identities = plannedIdentities(planned);
    bool isSame = paths.size() == planned.paths.size() && paths.size() == identities.size();
    for (const std::string& path : paths) isSame = isSame && identities.contains(path);
    if (!isSame) return localized("it has other paths now");
    for (const std::string& path : paths) {
        if (identities.at(path) != identityOf(item, path))
            return localized("%@ is another object now, or gone", printable(path));
    }
    return std::nullopt;
}

std::optional<std::string> changeOf(const CleanupPlanItem& planned, const CleanupItem& item) {
    if (item.classification > planned.classification || !isRemovable(item.classification))
        return localized("it is judged \"%@\" now", displayName(item.classification));
    const auto* command = std::get_if<RunCommand>(&item.removal.how);
    if ((command != nullptr) != planned.command.has_value() ||
        (command != nullptr && *command != planned.command))
        return localized("it is removed by other means now");
    if (methodFor(item) != planned.method) return localized("it would go another way now");
    if (item.projectPath != planned.projectPath) return localized("it belongs to another project now");
    return changeOfPaths(planned, item);
}

ItemLeftAlone leftAlone(const CleanupPlanItem& planned, const std::string& change) {
    return {planned.id, localized(planned.title), localized("changed since the plan was made: %@", change)};
}

}  // namespace

RemovalMethod methodFor(const CleanupItem& item) {
    return plannedItem(item).entry.method;
}

CleanupPlan planFor(const std::vector<CleanupItem>& items, const std::string& home, TimePoint now) {
    CleanupPlan plan{home, std::chrono::floor<std::chrono::seconds>(now), {}};
    for (const CleanupItem& item : items) {
        CleanupPlanItem planned{.id = item.id,
                                .title = item.storedTitle,
                                .classification = item.classification,
                                .method = methodFor(item),
                                .command = std::nullopt,
                                .paths = {},
                                .bytes = item.bytes(),
                                .projectPath = item.projectPath};
        if (const auto* command = std::get_if<RunCommand>(&item.removal.how)) planned.command = *command;
        for (const std::string& path : item.removal.affectedPaths())
            planned.paths.push_back({path, identityOf(item, path)});
        plan.items.push_back(std::move(planned));
    }
    return plan;
}

std::string planText(const CleanupPlan& plan) {
    SortedJson json{{"kind", kKind},
                    {"version", kVersion},
                    {"home", keptText(plan.home)},
                    {"madeAt", iso8601(plan.madeAt)},
                    {"items", SortedJson::array()}};
    for (const CleanupPlanItem& item : plan.items) json["items"].push_back(itemJson(item));
    return json.dump(2) + "\n";
}

std::expected<CleanupPlan, Error> planFromText(std::string_view text) {
    const auto json = boundedJson(text);
    if (!json) return std::unexpected(json.error());
    return planFrom(*json);
}

std::expected<CleanupPlan, Error> readPlan(const std::string& path) {
    const auto text = readFile(path, kPlanLimit);
    if (!text) return about(text.error(), path);
    auto plan = planFromText(*text);
    if (!plan) return about(plan.error(), path);
    return plan;
}

std::expected<void, Error> mayHoldPlan(const std::string& path) {
    const auto status = statusOf(path);
    if (!status && status.error().kind == Error::Kind::missing) return {};
    if (readPlan(path)) return {};
    return std::unexpected(malformedError("replace", path, "what lies there is no plan"));
}

std::expected<void, Error> writePlan(const std::string& path, const CleanupPlan& plan) {
    if (auto free = mayHoldPlan(path); !free) return free;
    return writeFileAtomically(path, planText(plan), 0600);
}

PlannedCleanup asPlanned(const CleanupPlan& plan, const ScanReport& report) {
    std::map<std::string, CleanupItem> offered;
    for (CleanupItem& item : report.allItems()) offered.emplace(item.id, std::move(item));
    PlannedCleanup cleanup;
    for (const CleanupPlanItem& planned : plan.items) {
        const auto found = offered.find(planned.id);
        const auto change = found == offered.end() ? std::optional(localized("it is no longer offered"))
                                                   : changeOf(planned, found->second);
        if (change)
            cleanup.leftAlone.push_back(leftAlone(planned, *change));
        else
            cleanup.items.push_back(found->second);
    }
    return cleanup;
}

}  // namespace brindle
