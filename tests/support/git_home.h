// Repositories for tests, made with the real git in a home of their own.
#pragma once

#include <string>
#include <vector>

#include "core/tools/toolbox.h"
#include "tests/support/test_home.h"

namespace brindle::test {

class GitHome : public TestHome {
  public:
    GitHome();

    // Runs a script in a folder of the home, which is made, as its user would, without any protection: $home is the
    // home. The test fails when the script does, unless it says otherwise.
    std::string shell(const std::string& folder, const std::string& script, bool mayFail = false);

    // A repository with one commit of what lies in the folder already, and of a file "source".
    std::string repository(const std::string& folder);
    // The same, pushed to a bare repository remotes/FOLDER.git of the home, and in step with it.
    std::string pushed(const std::string& folder);
    // A project of the best kind: clean, pushed, its packages ignored and pinned, and all that tells of activity of one
    // moment.
    void untouchedProject(const std::string& folder, std::int64_t secondsSinceEpoch);

    // What the code under test runs: git as found on this machine, in this home; `environment` comes to it from the
    // caller.
    Toolbox tools(std::vector<std::string> environment = {}) const;
};

}  // namespace brindle::test
