// A fresh temporary folder that is also the home: tests declare what lies in it, the destructor takes it
// away.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::test {

class TestHome {
  public:
    TestHome();
    ~TestHome();
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;

    const std::string& path() const { return path_; }
    std::string path(std::string_view relative) const { return path_ + "/" + std::string(relative); }

    // Each creates missing parents and returns the absolute path. `bytes` are written, so they occupy blocks.
    std::string folder(std::string_view relative);
    std::string file(std::string_view relative, std::size_t bytes = 5000);
    std::string text(std::string_view relative, std::string_view content);
    std::string script(std::string_view relative,
                       std::string_view content);  // 0755, with #!/bin/sh put before
    std::string sparse(std::string_view relative, std::uint64_t logicalBytes, std::size_t writtenBytes = 0);
    std::string link(std::string_view relative, std::string_view target);
    std::string hardLink(std::string_view relative, std::string_view existingRelative);

    void mode(std::string_view relative, unsigned bits);
    void modified(std::string_view relative, std::int64_t secondsSinceEpoch);

  private:
    std::string path_;
};

// "scan --json" -> its words.
std::vector<std::string> wordsOf(const std::string& line);

// Whether file modes stop this process: false for root. Tests that need it skip loudly:
//   if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
bool permissionsApply();
inline constexpr const char* kNeedsUnprivilegedUser = "runs only as an unprivileged user";

// The string catalogues (resources/), and the folder that was built (bin/brindle lies in it). Always ask
// these: the suites named ...Unprivileged run on copies, because their user may not be able to reach the
// originals.
std::string resourcesFolder();
std::string buildFolder();

}  // namespace brindle::test
