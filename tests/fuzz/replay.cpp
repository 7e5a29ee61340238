// Feeds a fuzz target the inputs that are kept in a folder: each whole, cut in half, and nothing at all.
//
// Usage: replay FOLDER

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// In a piece of memory of just this size, so that the address sanitizer sees a read behind its end.
void feed(std::string_view bytes) {
    const auto copy = std::make_unique<std::uint8_t[]>(bytes.size());
    std::ranges::copy(bytes, copy.get());
    LLVMFuzzerTestOneInput(copy.get(), bytes.size());
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

int main(int argumentCount, char** arguments) {
    const std::string folder = argumentCount == 2 ? arguments[1] : "";
    feed({});
    int count = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::fprintf(stderr, "%s\n", entry.path().c_str());
        const std::string content = contentOf(entry.path());
        feed(content);
        feed(std::string_view(content).substr(0, content.size() / 2));
        ++count;
    }
    if (count == 0)
        std::fprintf(stderr, "no inputs in \"%s\": %s\n", folder.c_str(), error.message().c_str());
    return count == 0 ? 1 : 0;
}
