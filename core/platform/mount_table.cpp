#include <algorithm>
#include <cstddef>

#include "core/platform/mount_points.h"
#include "core/platform/volume.h"

namespace brindle {

namespace {

constexpr std::size_t kMountPointField = 4;  // ID, parent, device, root, mount point

std::string_view fieldOf(std::string_view line, std::size_t wanted) {
    for (; wanted > 0; --wanted) {
        const std::size_t blank = line.find(' ');
        if (blank == std::string_view::npos) return {};
        line.remove_prefix(blank + 1);
    }
    return line.substr(0, line.find(' '));
}

bool isOctal(char letter) {
    return letter >= '0' && letter <= '7';
}

// The kernel writes blanks, tabs, line feeds and backslashes inside a path as \ooo.
std::string withoutEscapes(std::string_view field) {
    std::string path;
    for (std::size_t index = 0; index < field.size(); ++index) {
        const std::string_view code = field.substr(index, 4);
        if (code.size() < 4 || code[0] != '\\' || !isOctal(code[1]) || !isOctal(code[2]) ||
            !isOctal(code[3])) {
            path += field[index];
            continue;
        }
        path += static_cast<char>((code[1] - '0') * 64 + (code[2] - '0') * 8 + (code[3] - '0'));
        index += 3;
    }
    return path;
}

bool holds(std::string_view mountPoint, std::string_view path) {
    if (mountPoint.empty() || !path.starts_with(mountPoint)) return false;
    return mountPoint == "/" || path.size() == mountPoint.size() || path[mountPoint.size()] == '/';
}

struct Mount {
    std::string point;  // empty where the line has none
    std::string_view line;
};

// One for each line, in their order.
std::vector<Mount> mountsIn(std::string_view mountinfo) {
    std::vector<Mount> mounts;
    while (!mountinfo.empty()) {
        const std::string_view line = mountinfo.substr(0, mountinfo.find('\n'));
        mountinfo.remove_prefix(line.size() < mountinfo.size() ? line.size() + 1 : line.size());
        mounts.push_back({withoutEscapes(fieldOf(line, kMountPointField)), line});
    }
    return mounts;
}

// Of several at one point the last: it lies over the others.
std::optional<Mount> mountHolding(std::string_view path, std::string_view mountinfo) {
    std::optional<Mount> longest;
    for (Mount& mount : mountsIn(mountinfo)) {
        if (holds(mount.point, path) && (!longest || mount.point.size() >= longest->point.size()))
            longest = std::move(mount);
    }
    return longest;
}

}  // namespace

std::optional<std::string> mountPointHolding(std::string_view path, std::string_view mountinfo) {
    const auto mount = mountHolding(path, mountinfo);
    return mount ? std::optional(mount->point) : std::nullopt;
}

std::optional<std::string> mountedDeviceHolding(std::string_view path, std::string_view mountinfo) {
    constexpr std::string_view kEndOfOptions = " - ";  // then the kind of file system, then the device
    const auto mount = mountHolding(path, mountinfo);
    const std::size_t end = mount ? mount->line.find(kEndOfOptions) : std::string_view::npos;
    if (end == std::string_view::npos) return std::nullopt;
    std::string device = withoutEscapes(fieldOf(mount->line.substr(end + kEndOfOptions.size()), 1));
    return device.starts_with("/dev/") ? std::optional(std::move(device)) : std::nullopt;
}

MountPoints MountPoints::fromTable(std::string_view mountinfo) {
    std::vector<std::string> points;
    for (Mount& mount : mountsIn(mountinfo)) points.push_back(std::move(mount.point));
    std::ranges::sort(points);
    points.erase(std::ranges::unique(points).begin(), points.end());
    MountPoints made;
    made.sorted_ = std::make_shared<const std::vector<std::string>>(std::move(points));
    return made;
}

std::vector<std::string> MountPoints::below(const std::string& path) const {
    if (!sorted_) return {};
    const std::string inside = path.ends_with('/') ? path : path + '/';
    std::vector<std::string> found;
    for (auto each = std::ranges::upper_bound(*sorted_, inside);
         each != sorted_->end() && each->starts_with(inside); ++each) {
        found.push_back(*each);
    }
    return found;
}

}  // namespace brindle
