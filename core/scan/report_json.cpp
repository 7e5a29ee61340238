#include "core/scan/report_json.h"

#include "core/model/project_json.h"

namespace brindle {

namespace {

template <typename Record>
Json arrayOf(const std::vector<Record>& records) {
    Json array = Json::array();
    for (const Record& record : records) array.push_back(toJson(record));
    return array;
}

Json moduleJson(const ModuleResult& module) {
    return Json{
        {"id", rawText(module.moduleID)},
        {"displayName", sourceName(module.moduleID)},
        {"isToolchainInstalled", module.isToolchainInstalled},
        {"totalBytes", module.totalBytes()},
        {"items", arrayOf(module.items)},
        {"unreachable", arrayOf(module.unreachable)},
    };
}

Json totalsJson(const ScanReport& report) {
    return Json{
        {"developerBytes", report.developerBytes()},
        {"reclaimableBytes", report.reclaimableBytes()},
        {"safeBytes", report.bytes(Classification::safe)},
        {"reviewBytes", report.bytes(Classification::review)},
        {"protectedBytes", report.bytes(Classification::protected_)},
    };
}

}  // namespace

nlohmann::ordered_json projectsJson(const std::vector<Project>& projects,
                                    const std::map<std::string, RelatedProjects>& relations) {
    Json array = Json::array();
    for (const Project& project : projects) {
        Json json = toJson(project);
        const auto related = relations.find(project.path);
        json.update(toJson(related == relations.end() ? RelatedProjects() : related->second));
        array.push_back(std::move(json));
    }
    return array;
}

nlohmann::ordered_json reportJson(const ScanReport& report, const std::string& home, bool isInterrupted) {
    Json json{
        {"schemaVersion", kReportSchemaVersion},
        {"home", jsonText(home)},
        {"finishedAt", iso8601(report.finishedAt)},
        {"duration", report.duration},
        {"isPartial", isInterrupted || report.isPartial()},
        {"disk", report.disk ? toJson(*report.disk) : Json(nullptr)},
        {"storage", arrayOf(report.storage)},
        {"totals", totalsJson(report)},
        {"modules", Json::array()},
        {"projects", projectsJson(report.projects, report.projectRelations())},
    };
    for (const ModuleResult& module : report.modules) json["modules"].push_back(moduleJson(module));
    return json;
}

}  // namespace brindle
