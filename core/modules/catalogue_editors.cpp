// Editors.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> editorSpecs() {
    return {
        {
            .key = "vscode",
            .title = "VS Code caches",
            .relativePath = "Library/Application Support/Code/CachedData",
            .whatItIs = "Compiled extension and workspace data VS Code caches between launches.",
            .whatHappensNext =
                "VS Code rebuilds it on the next launch. The first window opens a little slower.",
            .regeneratedBy = {Regeneration::Kind::action, "Relaunch VS Code"},
        },
        {
            .key = "cursor",
            .title = "Cursor caches",
            .relativePath = "Library/Application Support/Cursor/CachedData",
            .whatItIs = "Cursor's cached extension and workspace data.",
            .whatHappensNext = "Rebuilt on the next launch.",
            .regeneratedBy = {Regeneration::Kind::action, "Relaunch Cursor"},
        },
        {
            .key = "jetbrains",
            .title = "JetBrains caches",
            .relativePath = "Library/Caches/JetBrains",
            .whatItIs = "Indexes and local history for JetBrains IDEs. Indexes are derived from your source.",
            .whatHappensNext = "Indexes rebuild on the next open. Local History may contain edits that exist "
                               "nowhere else; review it before removing this folder.",
            .whySuggested = "Indexes rebuild from your source the next time a project is opened. It is "
                            "review rather than safe because Local History sits in the same folder and can "
                            "hold edits that exist nowhere else.",
            .regeneratedBy = {Regeneration::Kind::action, "Reopen the project"},
            .classification = Classification::review,
        },
    };
}

}  // namespace brindle
