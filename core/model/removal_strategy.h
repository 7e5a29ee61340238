// How an item is removed, and how a removal ended.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/model/raw_text.h"

namespace brindle {

struct DeletePaths {
    std::vector<std::string> paths;  // absolute, each once
    bool operator==(const DeletePaths&) const = default;
};

// The tool decides what goes; no path of the item is touched.
struct RunCommand {
    std::string executable;
    std::vector<std::string> arguments;
    bool operator==(const RunCommand&) const = default;
};

struct RemovalStrategy {
    std::variant<DeletePaths, RunCommand> how;

    bool operator==(const RemovalStrategy&) const = default;

    // The paths of DeletePaths; empty for a command.
    const std::vector<std::string>& affectedPaths() const;
    // The paths one a line, or the command line with single spaces.
    std::string description() const;
    bool isCommand() const { return std::holds_alternative<RunCommand>(how); }
};

enum class RemovalMethod {
    deleted,
    trashed,
    command,  // the tool's own command was run
    refused,  // by the safety check; nothing was touched
    failed,   // tried without success
};

template <>
struct RawTexts<RemovalMethod> {
    static constexpr std::array<std::string_view, 5> kTexts = {"deleted", "trashed", "command", "refused",
                                                               "failed"};
};

constexpr std::string_view rawText(RemovalMethod method) {
    return rawTextOf(method);
}
constexpr std::optional<RemovalMethod> removalMethodFrom(std::string_view text) {
    return fromRawText<RemovalMethod>(text);
}

}  // namespace brindle
