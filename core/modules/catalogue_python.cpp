// Python's package caches.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> pythonSpecs() {
    return {
        {
            .key = "pip",
            .title = "pip cache",
            .relativePath = "Library/Caches/pip",
            .whatItIs =
                "Wheels and source archives pip has downloaded, reused across every environment on this Mac.",
            .whatHappensNext = "pip downloads and rebuilds wheels on the next install. Noticeably slower "
                               "once for packages that compile.",
            .regeneratedBy = {Regeneration::Kind::command, "pip install"},
        },
        {
            .key = "uv",
            .title = "uv cache",
            .relativePath = ".cache/uv",
            .whatItIs = "uv's download and build cache, shared by every project it manages.",
            .whatHappensNext =
                "uv refetches on the next sync. It is fast enough that you are unlikely to notice.",
            .regeneratedBy = {Regeneration::Kind::command, "uv sync"},
            .command = RunCommand{"/usr/bin/env", {"uv", "cache", "clean"}},
        },
        {
            .key = "poetry",
            .title = "Poetry cache",
            .relativePath = "Library/Caches/pypoetry",
            .whatItIs = "Poetry's artefact and virtualenv cache.",
            .whatHappensNext = "This includes virtual environments. Poetry can recreate them from each "
                               "project, but changes made only inside an environment are not reproducible.",
            .whySuggested =
                "Poetry recreates these from each project. It is review rather than safe because a change "
                "made only inside an environment is in no lockfile and comes back with nothing.",
            .regeneratedBy = {Regeneration::Kind::command, "poetry install"},
            .classification = Classification::review,
        },
    };
}

}  // namespace brindle
