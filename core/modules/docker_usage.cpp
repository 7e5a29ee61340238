#include "core/modules/docker_usage.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "core/text/ascii.h"

namespace brindle {

namespace {

using nlohmann::json;

// No engine holds more on one machine; sums of a few such numbers still fit.
constexpr std::uint64_t kBelievableBytes = 1'000'000'000'000'000'000;

struct Unit {
    std::string_view suffix;
    double bytes;
};
// The single letter comes last: every other one ends with it.
constexpr std::array<Unit, 6> kUnits = {
    {{"TB", 1e12}, {"GB", 1e9}, {"MB", 1e6}, {"kB", 1e3}, {"KB", 1e3}, {"B", 1}}};

// std::from_chars alone would take a sign, an exponent's rest, "inf" and "nan".
std::optional<double> plainNumber(std::string_view text) {
    const auto isPlain = [](char c) { return (c >= '0' && c <= '9') || c == '.'; };
    if (!std::ranges::all_of(text, isPlain)) return std::nullopt;
    double number = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<std::uint64_t> bytesOf(double number, double unit) {
    constexpr double kBeyond = 18446744073709551616.0;  // 2^64
    const double bytes = std::round(number * unit);
    if (!(bytes < kBeyond)) return std::nullopt;
    return static_cast<std::uint64_t>(bytes);
}

// Unit by unit in their order, so that "kB" is never read as "B".
std::optional<std::uint64_t> sizeFrom(std::string_view number, std::string_view unitText) {
    for (const Unit& unit : kUnits) {
        if (unitText != unit.suffix) continue;
        const auto value = plainNumber(number);
        return value ? bytesOf(*value, unit.bytes) : std::nullopt;
    }
    return std::nullopt;
}

std::string textOr(const json& object, const char* key, std::string otherwise) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::move(otherwise);
}

std::optional<json> parsed(std::string_view text) {
    json value = json::parse(text, nullptr, false);
    return value.is_discarded() ? std::nullopt : std::optional(std::move(value));
}

// From the first line that could begin a value.
std::string_view withoutWarnings(std::string_view output) {
    for (const std::string_view line : trimmedLines(output)) {
        if (line.starts_with('{') || line.starts_with('[')) {
            return output.substr(static_cast<std::size_t>(line.data() - output.data()));
        }
    }
    return {};
}

// The objects of an array, a single object, or one object a line.
std::optional<std::vector<json>> objectsIn(std::string_view text) {
    std::vector<json> objects;
    if (auto whole = parsed(text)) {
        if (whole->is_array()) {
            objects.assign(whole->begin(), whole->end());
        } else {
            objects.push_back(std::move(*whole));
        }
    } else {
        for (const std::string_view line : trimmedLines(text)) {
            auto object = parsed(line);
            if (!object) return std::nullopt;
            objects.push_back(std::move(*object));
        }
    }
    const auto isObject = [](const json& value) { return value.is_object(); };
    if (objects.empty() || !std::ranges::all_of(objects, isObject)) return std::nullopt;
    return objects;
}

}  // namespace

std::optional<FlexibleInt> FlexibleInt::from(const json& value) {
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX) return std::nullopt;
    if (value.is_number_integer()) return FlexibleInt{value.get<std::int64_t>()};
    if (!value.is_string()) return std::nullopt;
    const auto& text = value.get_ref<const std::string&>();
    FlexibleInt number;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number.value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<DockerUsageRaw> DockerUsageRaw::from(const json& value) {
    for (const char* key : {"Type", "TotalCount", "Active", "Reclaimable"}) {
        if (!value.contains(key)) return std::nullopt;
    }
    const auto total = FlexibleInt::from(value["TotalCount"]);
    const auto active = FlexibleInt::from(value["Active"]);
    if (!total || !active || !value["Type"].is_string()) return std::nullopt;
    return DockerUsageRaw{.type = value["Type"].get<std::string>(),
                          .totalCount = *total,
                          .active = *active,
                          .reclaimable = textOr(value, "Reclaimable", {}),
                          .size = textOr(value, "Size", {})};
}

DockerUsage DockerUsage::from(const DockerUsageRaw& raw) {
    const auto size = parseBytes(raw.size);
    std::uint64_t reclaimable = parseBytes(raw.reclaimable).value_or(0);
    if (reclaimable > size.value_or(kBelievableBytes) || reclaimable > kBelievableBytes) reclaimable = 0;
    return {raw.type, raw.totalCount.value, raw.active.value, reclaimable};
}

std::optional<std::uint64_t> DockerUsage::parseBytes(std::string_view text) {
    const std::string_view first = text.substr(0, text.find(' '));
    const std::size_t unit = first.find_first_not_of("0123456789.");
    if (unit != std::string_view::npos) return sizeFrom(first.substr(0, unit), first.substr(unit));
    const std::string_view rest = text.substr(std::min(first.size() + 1, text.size()));
    return sizeFrom(first, rest.substr(0, rest.find(' ')));
}

std::optional<std::vector<DockerUsage>> parseDockerUsage(std::string_view output) {
    const auto objects = objectsIn(withoutWarnings(output));
    if (!objects) return std::nullopt;
    std::vector<DockerUsage> rows;
    for (const json& object : *objects) {
        const std::string type = textOr(object, "Type", {});
        if (type.empty()) return std::nullopt;
        if (!DockerUsage::cleanupSpec(type)) continue;
        const auto raw = DockerUsageRaw::from(object);
        const bool isKnown =
            std::ranges::any_of(rows, [&](const DockerUsage& row) { return row.type == type; });
        if (!raw || isKnown) return std::nullopt;
        rows.push_back(DockerUsage::from(*raw));
    }
    return rows;
}

bool isFormatEchoed(std::string_view output) {
    const auto lines = trimmedLines(output);
    return !lines.empty() && std::ranges::all_of(lines, [](std::string_view line) { return line == "json"; });
}

}  // namespace brindle
