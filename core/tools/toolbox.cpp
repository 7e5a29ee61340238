#include "core/tools/toolbox.h"

namespace brindle {

Toolbox Toolbox::of(const ProcessRunner& runner) {
    Toolbox toolbox;
    toolbox.locate = [runner](std::string_view name) { return runner.locate(name); };
    toolbox.run = [runner](std::string_view executable, const std::vector<std::string>& arguments,
                           const RunOptions& options) { return runner.run(executable, arguments, options); };
    return toolbox;
}

}  // namespace brindle
