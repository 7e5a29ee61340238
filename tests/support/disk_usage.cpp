#include "tests/support/disk_usage.h"

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace brindle::test {

std::uint64_t diskUsage(const std::vector<std::string>& paths) {
    std::string command = "du -s -c -k --";
    for (const std::string& path : paths) command += " '" + path + "'";
    command += " | tail -n 1";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    unsigned long long kibibytes = 0;
    if (!pipe || std::fscanf(pipe.get(), "%llu", &kibibytes) != 1) throw std::runtime_error(command);
    return kibibytes * 1024;
}

std::size_t openDescriptors() {
    const auto count = std::distance(std::filesystem::directory_iterator("/dev/fd"), {});
    return static_cast<std::size_t>(count);
}

}  // namespace brindle::test
