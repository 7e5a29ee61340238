// One line on the terminal while a scan runs: modules done, bytes found so far, time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "cli/palette.h"
#include "cli/streams.h"
#include "core/scan/scanner.h"

namespace brindle {

// Draws on the messages' terminal only, from a thread of its own, and takes the line away when it ends, when
// the scan is cancelled, or when it is destroyed. Nothing at all is written where there is no terminal.
class Progress {
  public:
    struct Plan {
        std::size_t moduleCount = 0;
        CancellationTest isCancelled;
        Glyphs glyphs;
        bool isWanted = true;   // false: a terminal that cannot erase a line
        std::string task = {};  // what is being done, where no modules are counted
    };

    Progress(Streams& streams, Plan plan);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // From any thread.
    void moduleFinished(const ModuleResult& result);

    // From now on this is being done; from any thread.
    void changeTask(std::string task);

    // The line is gone when this returns, and does not come back.
    void finish();

  private:
    void run();
    void draw();
    void erase();
    std::string line() const;

    Streams& streams_;
    Plan plan_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    mutable std::mutex lock_;
    std::condition_variable wake_;
    std::size_t finished_ = 0;
    std::uint64_t bytes_ = 0;
    bool isOver_ = false;
    bool isDrawn_ = false;
    std::jthread thread_;  // last: it uses all the others
};

}  // namespace brindle
