// What every fuzz target begins with: it defines `check`, which gets the bytes and requires what the parser promises.
#pragma once

#include <cstdlib>
#include <string_view>

void check(std::string_view bytes);

inline void require(bool holds) {
    if (!holds) std::abort();
}

extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    check({reinterpret_cast<const char*>(data), size});
    return 0;
}
