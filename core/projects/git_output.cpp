#include "core/projects/git_output.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "core/model/remote_address.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

// Without line breaks; the text after the last one counts as well.
template <typename Use>
void eachLine(std::string_view text, Use use) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        use(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// The field behind the text's first white space; empty when there is none.
std::string_view firstField(std::string_view& text) {
    text = trimmed(text);
    const std::size_t end = std::min(text.find_first_of(kWhiteSpace), text.size());
    const std::string_view field = text.substr(0, end);
    text.remove_prefix(end);
    return field;
}

// A list that keeps each text once, in order of first appearance.
class Once {
  public:
    void add(std::string text) {
        if (!text.empty() && seen_.insert(text).second) list.push_back(std::move(text));
    }
    std::vector<std::string> list;

  private:
    std::set<std::string> seen_;
};

// "+3 -1"
std::int64_t aheadIn(std::string_view counts) {
    const std::string_view first = firstField(counts);
    return first.starts_with('+') ? parseCount(first.substr(1)).value_or(0) : 0;
}

bool takePrefix(std::string_view& line, std::string_view prefix) {
    if (!line.starts_with(prefix)) return false;
    line.remove_prefix(prefix.size());
    return true;
}

// Up to the next NUL, which is taken away; absent when there is none.
std::optional<std::string_view> untilNul(std::string_view& text) {
    const std::size_t end = text.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end + 1);
    return part;
}

}  // namespace

std::vector<std::string> remoteNames(std::string_view text) {
    Once names;
    eachLine(text, [&](std::string_view line) { names.add(std::string(firstField(line))); });
    return names.list;
}

std::vector<std::string> remoteURLs(std::string_view text) {
    Once urls;
    eachLine(text, [&](std::string_view line) {
        firstField(line);
        const std::string_view url = firstField(line);
        // A remote without an address prints its "(fetch)" there.
        if (!url.starts_with('(')) urls.add(withoutCredentials(url));
    });
    return urls.list;
}

GitStatusText parseStatus(std::string_view text) {
    GitStatusText status;
    std::optional<std::string> upstream;
    eachLine(text, [&](std::string_view line) {
        if (takePrefix(line, "# branch.head ")) {
            if (line != "(detached)") status.branch = std::string(line);
        } else if (takePrefix(line, "# branch.upstream ")) {
            upstream = std::string(line);
        } else if (takePrefix(line, "# branch.ab ")) {
            status.ahead = aheadIn(line);
            status.upstream = upstream;  // Git can only compare with what is there
        } else if (line.starts_with("? ")) {
            status.untracked += 1;
        } else if (!line.empty() && !line.starts_with('#')) {
            status.modified += 1;
        }
    });
    return status;
}

std::vector<Worktree> parseWorktrees(std::string_view text) {
    std::vector<Worktree> worktrees;
    bool isInside = false;
    eachLine(text, [&](std::string_view line) {
        if (line.empty()) {
            isInside = false;
        } else if (takePrefix(line, "worktree ")) {
            worktrees.push_back(
                {.path = std::string(line), .branch = {}, .prunableReason = {}, .lastUsed = {}});
            isInside = true;
        } else if (!isInside) {
            return;
        } else if (takePrefix(line, "branch ")) {
            takePrefix(line, "refs/heads/");
            worktrees.back().branch = std::string(line);
        } else if (line == "locked" || line.starts_with("locked ")) {
            worktrees.back().isLocked = true;
        } else if (takePrefix(line, "prunable")) {
            worktrees.back().prunableReason = std::string(trimmed(line));
        }
    });
    return worktrees;
}

std::vector<std::string> outputLines(std::string_view text) {
    std::vector<std::string> lines;
    eachLine(text, [&](std::string_view line) {
        if (!line.empty()) lines.emplace_back(line);
    });
    return lines;
}

std::optional<std::int64_t> parseCount(std::string_view text) {
    text = trimmed(text);
    std::int64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count < 0) return std::nullopt;
    return count;
}

std::optional<std::vector<GitSetting>> parseSettings(std::string_view text) {
    std::vector<GitSetting> settings;
    while (!text.empty()) {
        const auto scope = untilNul(text);
        const auto setting = scope ? untilNul(text) : std::nullopt;
        if (!setting) return std::nullopt;
        const std::size_t end = setting->find('\n');
        GitSetting& added =
            settings.emplace_back(std::string(*scope), std::string(setting->substr(0, end)), std::nullopt);
        if (end != std::string_view::npos) added.value = std::string(setting->substr(end + 1));
    }
    return settings;
}

}  // namespace brindle
