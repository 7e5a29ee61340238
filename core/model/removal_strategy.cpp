#include "core/model/removal_strategy.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace brindle {

const std::vector<std::string>& RemovalStrategy::affectedPaths() const {
    static const std::vector<std::string> kNone;
    const auto* deletion = std::get_if<DeletePaths>(&how);
    return deletion ? deletion->paths : kNone;
}

std::string RemovalStrategy::description() const {
    if (const auto* command = std::get_if<RunCommand>(&how)) {
        std::string text = command->executable;
        for (const std::string& argument : command->arguments) text += " " + argument;
        return text;
    }
    return fmt::format("{}", fmt::join(affectedPaths(), "\n"));
}

}  // namespace brindle
