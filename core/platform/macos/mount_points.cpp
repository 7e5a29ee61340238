#include "core/platform/mount_points.h"

namespace brindle {

MountPoints MountPoints::current() {
    return fromTable("");
}

}  // namespace brindle
