// What is understood of a settings file is text, and where an image lies never leads out of its folder.
#include "core/modules/android_devices.h"
#include "core/text/printable.h"
#include "tests/fuzz/target.h"

void check(std::string_view bytes) {
    using namespace brindle;
    const auto ini = AndroidIni::parse(bytes);
    if (!ini) return;
    for (const auto& [key, value] : ini->values) {
        require(!key.empty() && isValidUtf8(value) && value.find('\n') == std::string::npos);
        const auto image = usedSystemImage(value);
        if (!image) continue;
        require(!image->starts_with('/') && !image->ends_with('/') &&
                ("/" + *image + "/").find("/../") == std::string::npos);
        require(image->empty() || usedSystemImage("system-images/" + *image) == *image);
    }
}
