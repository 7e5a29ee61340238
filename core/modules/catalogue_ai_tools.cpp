// AI coding tools.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> aiToolsSpecs() {
    return {
        {
            .key = "claudeCodeNode",
            .title = "Claude Code working caches",
            .relativePath = "Library/Caches/claude-cli-nodejs",
            .whatItIs = "Per-folder caches Claude Code keeps for each directory it has run in.",
            .whatHappensNext = "Nothing. The next session in a folder writes what it needs again.",
            .regeneratedBy = {Regeneration::Kind::automatic,
                              "Written again the next time Claude Code runs in that folder"},
        },
        {
            .key = "claudeCodePlugins",
            .title = "Claude Code plugin cache",
            .relativePath = ".claude/plugins/cache",
            .whatItIs = "Checkouts of the plugin marketplaces you have installed from, pinned per version. "
                        "Which plugins are installed is recorded outside this folder, in "
                        "installed_plugins.json, and is not affected.",
            .whatHappensNext = "Installed plugins are fetched again on their next use or update, which needs "
                               "a network connection. Each checkout is a copy of a published repository — "
                               "there is no work of yours inside it.",
            .whySuggested = "What is in it is published elsewhere and pinned per version, and the record of "
                            "which plugins you installed lives outside this folder.",
            .regeneratedBy =
                {Regeneration::Kind::action,
                 "Claude Code downloads the marketplace again when a plugin is next installed or updated"},
            .classification = Classification::review,
        },
        {
            .key = "codeiumBrowser",
            .title = "Codeium browser downloads",
            .relativePath = ".codeium/ws-browser",
            .whatItIs = "A Chromium build and its media libraries, downloaded by Codeium and Windsurf so "
                        "their browser tools have something to drive.",
            .whatHappensNext = "The browser features download it again the next time they are used. It is a "
                               "large download, so this is worth keeping on a metered connection.",
            .whySuggested = "It is a downloaded browser rather than anything you wrote, and the feature that "
                            "needs it downloads it again.",
            .regeneratedBy = {Regeneration::Kind::action,
                              "Downloaded again the next time a browser feature is used"},
            .classification = Classification::review,
        },
    };
}

std::vector<ProtectedSpec> aiToolsProtectedSpecs() {
    return {
        {
            .key = "claudeCodeSessions",
            .title = "Claude Code session history",
            .relativePath = ".claude/projects",
            .reason =
                "The transcripts of your past Claude Code sessions, which is what resuming a conversation "
                "reads. It is a record of your own work, so Brindle measures it and never removes it.",
        },
        {
            .key = "claudeCodeFileHistory",
            .title = "Claude Code file history",
            .relativePath = ".claude/file-history",
            .reason = "Snapshots Claude Code keeps so an edit it made can be undone. Removing them would "
                      "silently take the undo with them, so Brindle leaves them alone.",
        },
    };
}

}  // namespace brindle
