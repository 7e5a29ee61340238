// What is understood of a settings file is text, and where an image lies never leads out of its folder.
#include <cstdint>
#include <cstdlib>

#include "core/modules/android_devices.h"
#include "core/text/printable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace brindle;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto ini = AndroidIni::parse(bytes);
    if (!ini) return 0;
    for (const auto& [key, value] : ini->values) {
        if (key.empty() || !isValidUtf8(value) || value.find('\n') != std::string::npos) std::abort();
        const auto image = usedSystemImage(value);
        if (!image) continue;
        if (image->starts_with('/') || image->ends_with('/') ||
            ("/" + *image + "/").find("/../") != std::string::npos)
            std::abort();
        if (!image->empty() && usedSystemImage("system-images/" + *image) != *image) std::abort();
    }
    return 0;
}
