// Runs a developer's tool: found in trusted folders only, in an environment that is known, with its output
// captured and its time bounded. Whether a command may be run at all is decided before, by the safety guard.
#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/tools/process_result.h"

namespace brindle {

struct RunOptions {
    // From the start; time in which the machine sleeps does not count. Nothing, or less, stops the tool at
    // once.
    std::chrono::duration<double> timeout = std::chrono::seconds(60);
    // Asked by the thread that called run(), before the start and then at every look (about 0.02 s apart).
    std::function<bool()> isCancelled = {};
    // A tool that prints one of these, on either stream, and is still there 0.25 s later is taken to be
    // waiting. Case counts; a phrase may arrive in pieces. One that ends at once gives its result.
    std::vector<std::string> waitingPhrases = {};
    // Applied to the environment in this order, after the runner's own variables. PATH is beyond their reach.
    std::vector<std::string> removedVariables = {};  // names; "GIT_*" stands for all that begin with GIT_
    std::map<std::string, std::string> setVariables = {};
    // Where the tool runs. Some look there for what they are to work on, or try to write there.
    std::string folder = "/";
};

// Immutable: one runner may be used from several threads at once.
class ProcessRunner {
  public:
    // More than this in one of the two streams ends the run: neither memory nor the disk is filled by a tool.
    static constexpr std::uint64_t kOutputLimit = 64ULL << 20U;

    // `environment`: the program's own, as "NAME=value"; of a name that comes twice the first counts. The
    // output goes through a fresh folder in its TMPDIR, or in the system's temporary folder where that is not
    // an absolute path or takes no folder.
    ProcessRunner(std::string home, const std::vector<std::string>& environment);

    // The trusted folders of a home, in the order in which they are searched.
    static std::vector<std::string> developerPathsFor(std::string home);

    // Those of this runner's home.
    const std::vector<std::string>& developerPaths() const { return developerPaths_; }

    // An absolute path comes back unchanged when an executable file lies there; any other name is looked for
    // in the trusted folders, never above them.
    std::optional<std::string> locate(std::string_view name) const;

    // The environment that a tool sees: the program's, with PATH set to the trusted folders,
    // HOMEBREW_NO_AUTO_UPDATE, HOMEBREW_NO_AUTOREMOVE, HOMEBREW_NO_ANALYTICS and HOMEBREW_NO_ENV_HINTS to 1,
    // and the changes of the options.
    std::map<std::string, std::string> environmentFor(const RunOptions& options) const;

    // Runs the tool in the options' folder, with nothing on its standard input, and waits for its end: a result
    // whatever the status (requireSuccess() makes a non-zero one an error), or the reason why there is none.
    // A run that has to be stopped gets SIGTERM, SIGKILL after at most 0.5 s, and takes along what the tool
    // itself started. Helpers that outlive a tool's normal end hold nothing up and live on. Blocks: never
    // call it on the interface's thread.
    std::expected<ProcessResult, ProcessError> run(std::string_view executable,
                                                   const std::vector<std::string>& arguments,
                                                   const RunOptions& options = {}) const;

  private:
    std::string temporaryFolder() const;

    std::vector<std::string> developerPaths_;
    std::map<std::string, std::string> environment_;
};

}  // namespace brindle
