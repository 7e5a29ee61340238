// How a folder is opened that is only passed through: it need not be readable. For the bodies of
// core/platform only.
#pragma once

#include <fcntl.h>

namespace brindle {

#ifdef O_PATH
inline constexpr int kSearchOnlyFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
inline constexpr int kSearchOnlyFlags = O_SEARCH | O_DIRECTORY | O_CLOEXEC;
#endif

}  // namespace brindle
