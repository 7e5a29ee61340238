#include "tests/support/test_home.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace brindle::test {

namespace fs = std::filesystem;

namespace {

void require(bool done, const std::string& what) {
    if (!done) throw std::system_error(errno, std::generic_category(), what);
}

std::string fromEnvironment(const char* name, const char* otherwise) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : otherwise;
}

}  // namespace

TestHome::TestHome() {
    std::string pattern = (fs::temp_directory_path() / "brindle-test-XXXXXX").string();
    require(mkdtemp(pattern.data()) != nullptr, pattern);
    path_ = fs::canonical(pattern).string();
}

TestHome::~TestHome() {
    std::error_code ignored;
    for (auto entry =
             fs::recursive_directory_iterator(path_, fs::directory_options::skip_permission_denied, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) chmod(entry->path().c_str(), 0700);
    }
    fs::remove_all(path_, ignored);
}

std::string TestHome::folder(std::string_view relative) {
    fs::create_directories(path(relative));
    return path(relative);
}

std::string TestHome::text(std::string_view relative, std::string_view content) {
    const fs::path target = path(relative);
    fs::create_directories(target.parent_path());
    std::ofstream stream(target, std::ios::binary);
    stream << content;
    require(stream.good(), target.string());
    return target.string();
}

std::string TestHome::file(std::string_view relative, std::size_t bytes) {
    return text(relative, std::string(bytes, 'b'));
}

std::string TestHome::script(std::string_view relative, std::string_view content) {
    text(relative, "#!/bin/sh\n" + std::string(content));
    mode(relative, 0755);
    return path(relative);
}

std::string TestHome::sparse(std::string_view relative, std::uint64_t logicalBytes,
                             std::size_t writtenBytes) {
    file(relative, writtenBytes);
    require(truncate(path(relative).c_str(), static_cast<off_t>(logicalBytes)) == 0, path(relative));
    return path(relative);
}

std::string TestHome::link(std::string_view relative, std::string_view target) {
    fs::create_directories(fs::path(path(relative)).parent_path());
    fs::create_symlink(target, path(relative));
    return path(relative);
}

std::string TestHome::hardLink(std::string_view relative, std::string_view existingRelative) {
    fs::create_directories(fs::path(path(relative)).parent_path());
    fs::create_hard_link(path(existingRelative), path(relative));
    return path(relative);
}

void TestHome::mode(std::string_view relative, unsigned bits) {
    require(chmod(path(relative).c_str(), bits) == 0, path(relative));
}

void TestHome::modified(std::string_view relative, std::int64_t secondsSinceEpoch) {
    const timespec moment{static_cast<time_t>(secondsSinceEpoch), 0};
    const timespec times[2] = {moment, moment};
    require(utimensat(AT_FDCWD, path(relative).c_str(), times, AT_SYMLINK_NOFOLLOW) == 0, path(relative));
}

std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), {}};
}

bool permissionsApply() {
    return geteuid() != 0;
}

std::string resourcesFolder() {
    return fromEnvironment("BRINDLE_TEST_RESOURCES", BRINDLE_RESOURCES);
}
std::string buildFolder() {
    return fromEnvironment("BRINDLE_TEST_BINARY_DIR", BRINDLE_BINARY_DIR);
}

}  // namespace brindle::test
