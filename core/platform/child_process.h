// Starting another program, and ending it.
//
// The child gets an empty standard input, its output and errors in two files, none of this process's other
// descriptors, the default action for every signal, an empty signal mask, and a session of its own without a
// terminal: it cannot prompt, and what it starts can be ended with it. Only a descendant that moves to a
// session or process group of its own escapes that.
#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "core/platform/error.h"

namespace brindle {

struct ChildProcessOptions {
    std::string executable = {};                // absolute path
    std::vector<std::string> arguments = {};    // without the program's own name
    std::vector<std::string> environment = {};  // "NAME=value"; the child sees exactly these
    std::string stdoutPath = {};                // created or emptied, 0600; never a link
    std::string stderrPath = {};
    std::string workingFolder = "/";
};

// Owned by one thread. Destroying a child that still runs kills its process group and reaps it; what an ended
// child left behind is left alone. The process number stays ours until then, so a signal never meets a
// stranger.
class ChildProcess {
  public:
    // The error is that of the file that could not be created, or of the start: a missing executable,
    // interpreter or working folder is Kind::missing. A NUL byte in any text is refused (EINVAL), never cut
    // off. A process that ignores SIGCHLD never learns how its children ended: start() puts the default
    // action back.
    static std::expected<ChildProcess, Error> start(const ChildProcessOptions& options);
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;

    // The exit status once the child has ended, 128 + N after signal N; absent while it runs. Never waits.
    // 255 when something else in this process took the status away.
    std::optional<std::int32_t> poll();
    // Waits for the end. Output files are complete then, but for what grandchildren still write.
    std::int32_t wait();
    // Asks the child and its process group to end (SIGTERM); after its end, those it left behind.
    void terminate();
    // Ends them (SIGKILL).
    void kill();

  private:
    explicit ChildProcess(int processId) : processId_(processId) {}
    void await(int options);
    void signalGroup(int signal) const;
    void dispose() noexcept;
    int processId_ = -1;  // also the number of its process group; -1 after a move
    std::optional<std::int32_t> status_;
};

// The time this system has been awake since it started: a sleeping machine uses up no time-out.
std::chrono::duration<double> systemUptime();

}  // namespace brindle
