// What the container engine's own client says of the space that the engine holds: `docker system df`.
//
// The client prints one JSON object for each kind, one a line ("Type", "TotalCount", "Active", "Size", "Reclaimable",
// every value a string); other versions and compatible clients print an array, a single object, or numbers. Clients
// before version 23 take the format "json" for a template and print the word itself; they know "{{json .}}".
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/classification.h"
#include "core/model/regeneration.h"
#include "core/model/removal_strategy.h"

namespace brindle {

// A whole number, written as a JSON number or as a string that holds one.
struct FlexibleInt {
    std::int64_t value = 0;

    static std::optional<FlexibleInt> from(const nlohmann::json& value);
};

// One object of the report as it stands there.
struct DockerUsageRaw {
    std::string type;
    FlexibleInt totalCount;
    FlexibleInt active;
    std::string reclaimable;  // empty when it is no text: no size that could be read
    std::string size;         // likewise, or when the client does not give it

    // Absent when a key is missing or a count is none.
    static std::optional<DockerUsageRaw> from(const nlohmann::json& value);
};

struct DockerUsage {
    std::string type;  // as the engine names it: "Images", "Containers", "Local Volumes", "Build Cache"
    std::int64_t totalCount = 0;
    std::int64_t active = 0;
    std::uint64_t reclaimableBytes = 0;

    bool operator==(const DockerUsage&) const = default;

    // What cannot be read, exceeds the row's own size or anything that a disk could hold is nothing reclaimable.
    static DockerUsage from(const DockerUsageRaw& raw);

    // The size at the start of such a text as "1.5kB" or "3.2TB (40%)": decimal units, up to the first space. Clients
    // of 2016 put a space before the unit ("16.43 MB (50%)"), which is understood too. Absent for an unknown or
    // missing unit, a sign, an exponent, and beyond 64 bits.
    static std::optional<std::uint64_t> parseBytes(std::string_view text);

    // How one kind is explained and cleaned.
    struct Spec {
        std::string key;
        std::string title;
        Classification classification = Classification::review;
        std::string whatItIs;
        std::string whatHappensNext;
        std::string whySuggested;
        std::optional<Regeneration> regeneratedBy;
        RunCommand command;
    };

    // Absent for a kind that Brindle does not know.
    static std::optional<Spec> cleanupSpec(std::string_view type);
};

// The rows of the known kinds, in the report's order; other kinds are ignored. Lines before the first object are taken
// for warnings. Absent when what follows is anything but whole objects, when there is none, when one of a known kind
// cannot be decoded, and when a kind comes twice.
std::optional<std::vector<DockerUsage>> parseDockerUsage(std::string_view output);

// Whether the client took the format for a template and printed it.
bool isFormatEchoed(std::string_view output);

}  // namespace brindle
