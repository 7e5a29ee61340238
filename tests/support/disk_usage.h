// What the system's own du says, to be compared with.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace brindle::test {

// Allocated bytes of the paths and all below them; each file with several names once. Throws when du cannot
// be run.
inline std::uint64_t diskUsage(const std::vector<std::string>& paths) {
    std::string command = "du -s -c -k --";
    for (const std::string& path : paths) command += " '" + path + "'";
    command += " | tail -n 1";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    unsigned long long kibibytes = 0;
    if (!pipe || std::fscanf(pipe.get(), "%llu", &kibibytes) != 1) throw std::runtime_error(command);
    return kibibytes * 1024;
}
inline std::uint64_t diskUsage(const std::string& path) {
    return diskUsage(std::vector{path});
}

// Descriptors that this process has open.
inline std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"), {});
}

}  // namespace brindle::test
