// Rust.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> rustSpecs() {
    return {
        {
            .key = "cargoRegistry",
            .title = "Cargo registry",
            .relativePath = ".cargo/registry",
            .whatItIs = "Downloaded and unpacked sources for every crate your Rust projects depend on.",
            .whatHappensNext = "`cargo build` re-downloads what a project needs. Slower once, per project.",
            .whySuggested = "It is a download cache. Every crate in it is published on crates.io and is "
                            "fetched again when a build needs it.",
            .regeneratedBy = {Regeneration::Kind::command, "cargo build"},
        },
    };
}

}  // namespace brindle
