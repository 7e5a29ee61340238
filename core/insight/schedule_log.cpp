#include "core/insight/schedule_log.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "core/model/model_json.h"
#include "core/platform/files.h"

namespace brindle {

namespace {

constexpr std::uint64_t kReadMost = 4ULL << 20U;

std::string lineOf(const ScheduledRun& run) {
    return Json{{"at", iso8601(run.at)},
                {"reclaimableBytes", run.reclaimableBytes},
                {"receipt", run.receipt ? Json(run.receipt->text()) : Json(nullptr)},
                {"cleanedBytes", run.cleanedBytes},
                {"wasCancelled", run.wasCancelled},
                {"refusal", run.refusal ? Json(jsonText(*run.refusal)) : Json(nullptr)}}
        .dump();
}

std::optional<ScheduledRun> runFrom(const std::string& line) {
    try {
        const Json json = Json::parse(line);
        const auto at = timeFromIso8601(json.at("at").get<std::string>());
        if (!at || !json.at("reclaimableBytes").is_number_unsigned() ||
            !json.at("cleanedBytes").is_number_unsigned())
            return std::nullopt;
        ScheduledRun run{.at = *at,
                         .reclaimableBytes = json.at("reclaimableBytes"),
                         .receipt = std::nullopt,
                         .cleanedBytes = json.at("cleanedBytes"),
                         .wasCancelled = json.at("wasCancelled"),
                         .refusal = std::nullopt};
        if (json.at("receipt").is_string()) run.receipt = uuidFrom(json["receipt"].get<std::string>());
        if (json.at("refusal").is_string()) run.refusal = json["refusal"];
        return run;
    } catch (const Json::exception&) {
        return std::nullopt;
    }
}

std::vector<std::string> linesIn(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace

std::expected<void, Error> ScheduleLog::append(const ScheduledRun& run) const {
    // What cannot be read is begun anew: nothing depends on it.
    std::vector<std::string> lines = linesIn(readFile(path_, kReadMost).value_or(""));
    lines.push_back(lineOf(run));
    if (lines.size() > kMost) lines.erase(lines.begin(), lines.end() - kMost);
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return writeFileAtomically(path_, text);
}

std::vector<ScheduledRun> ScheduleLog::runs() const {
    std::vector<ScheduledRun> runs;
    for (const std::string& line : linesIn(readFile(path_, kReadMost).value_or(""))) {
        if (auto run = runFrom(line)) runs.push_back(*std::move(run));
    }
    std::ranges::reverse(runs);
    return runs;
}

}  // namespace brindle
