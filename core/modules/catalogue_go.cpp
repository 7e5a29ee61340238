// Go. The module cache goes by the tool's own command because Go marks it read-only.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> goSpecs() {
    return {
        {
            .key = "goModules",
            .title = "Go module cache",
            .relativePath = "go/pkg/mod",
            .whatItIs = "Every version of every Go module your projects have imported.",
            .whatHappensNext = "`go build` re-downloads them. Go marks this cache read-only, so it is "
                               "removed with its own command rather than by hand.",
            .whySuggested = "It is a download cache. Every module in it is published elsewhere and is "
                            "fetched again when a build needs it.",
            .regeneratedBy = {Regeneration::Kind::command, "go build"},
            .command = RunCommand{"/usr/bin/env", {"go", "clean", "-modcache"}},
        },
        {
            .key = "goBuild",
            .title = "Go build cache",
            .relativePath = "Library/Caches/go-build",
            .whatItIs = "Compiled package objects Go keeps so repeat builds are fast.",
            .whatHappensNext = "The next build is slower once, then back to normal.",
            .whySuggested = "It is compiler output. Go rebuilds these objects on the next build, from source "
                            "you still have.",
            .regeneratedBy = {Regeneration::Kind::command, "go build"},
        },
    };
}

}  // namespace brindle
