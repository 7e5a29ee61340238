// Starts stand_in_engine.py, which says what it takes, on a socket of its own.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "core/platform/child_process.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle::test {

class StandInEngine {
  public:
    explicit StandInEngine(const std::string& state, const std::string& mode = "answer",
                           const std::string& version = "1.50", const std::string& socket = "")
        : folder_(TemporaryFolder::create("engine", "/tmp").value()),
          socket_(socket.empty() ? folder_.path() + "/s" : socket),
          child_(start({state, mode, version})) {
        for (int tries = 0; !exists(socket_); ++tries) {
            if (tries == 500 || child_.poll()) throw std::runtime_error("the engine did not start");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    std::string address() const { return "unix://" + socket_; }

  private:
    ChildProcess start(const std::vector<std::string>& arguments) const {
        ChildProcessOptions options{.executable = "/usr/bin/env"};
        options.arguments = {"python3", resourcesFolder() + "/../tests/support/stand_in_engine.py", socket_};
        options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
        options.environment = {"PATH=/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin"};
        options.stdoutPath = folder_.path() + "/out";
        options.stderrPath = folder_.path() + "/err";
        return ChildProcess::start(options).value();
    }

    TemporaryFolder folder_;
    std::string socket_;  // the system takes 104 bytes at most
    ChildProcess child_;
};

}  // namespace brindle::test
