#include "cli/unreachable_view.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "cli/display_width.h"
#include "core/platform/path_text.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

struct Group {
    UnreachableLocation::Reason reason;
    std::string remedy;
    std::vector<std::string> paths;
};

std::vector<Group> grouped(const std::vector<UnreachableLocation>& locations) {
    std::vector<Group> groups;
    for (const UnreachableLocation& location : locations) {
        auto group = std::ranges::find_if(groups, [&](const Group& each) {
            return each.reason == location.reason && each.remedy == location.remedy();
        });
        if (group == groups.end()) group = groups.insert(group, {location.reason, location.remedy(), {}});
        if (std::ranges::find(group->paths, location.path) == group->paths.end()) {
            group->paths.push_back(location.path);
        }
    }
    std::ranges::sort(groups, [](const Group& left, const Group& right) {
        return std::tie(left.reason, left.remedy) < std::tie(right.reason, right.remedy);
    });
    return groups;
}

std::string groupText(const Group& group, const std::string& home, const Look& look) {
    constexpr std::size_t kMostPaths = 8;
    std::string text = "  " + look.palette.warning(label(group.reason)) + "\n";
    const std::size_t shown = group.paths.size() > kMostPaths + 1 ? kMostPaths : group.paths.size();
    for (std::size_t index = 0; index < shown; ++index) {
        text += "    " +
                shortenMiddle(shownPath(group.paths[index], home), look.width - 4, look.glyphs.ellipsis()) +
                "\n";
    }
    if (shown < group.paths.size()) {
        const auto more = static_cast<std::int64_t>(group.paths.size() - shown);
        for (const std::string& line :
             wrap(localized("and %@ more (--json shows all)", ByteFormat::count(more)), look.width - 4)) {
            text += "    " + line + "\n";
        }
    }
    for (const std::string& line : wrap(group.remedy, look.width - 4)) {
        text += "    " + look.palette.quiet(line) + "\n";
    }
    return text;
}

}  // namespace

std::string shownPath(const std::string& path, const std::string& home) {
    return printable(abbreviatedPath(path, home));
}

std::string unreachableText(const std::vector<UnreachableLocation>& locations, const std::string& home,
                            const Look& look) {
    if (locations.empty()) return "";
    std::string text = look.palette.heading(localized("Not measured")) + "\n";
    for (const Group& group : grouped(locations)) text += groupText(group, home, look);
    return text;
}

}  // namespace brindle
