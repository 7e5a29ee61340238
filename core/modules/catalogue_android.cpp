// Android and JVM builds: what the build tools fill again by themselves.
#include "core/modules/catalogue.h"

namespace brindle {

std::vector<CacheSpec> androidSafeSpecs() {
    return {
        {
            .key = "gradle",
            .title = "Gradle cache",
            .relativePath = ".gradle/caches",
            .whatItIs = "Downloaded dependencies and build outputs Gradle keeps between builds, shared by "
                        "every Android and JVM project on this Mac.",
            .whatHappensNext = "The next build re-downloads what it needs and recompiles. It is the slowest "
                               "single rebuild on this list.",
            .regeneratedBy = {Regeneration::Kind::command, "./gradlew build"},
        },
        {
            .key = "gradleWrapper",
            .title = "Gradle distributions",
            .relativePath = ".gradle/wrapper/dists",
            .whatItIs = "Copies of Gradle itself, one per version any project has asked for.",
            .whatHappensNext = "The wrapper downloads the version a project needs on its next build.",
            .regeneratedBy = {Regeneration::Kind::command, "./gradlew --version"},
        },
        {
            .key = "androidBuild",
            .title = "Android build cache",
            .relativePath = ".android/build-cache",
            .whatItIs = "Pre-dexed libraries the Android build tools reuse across projects.",
            .whatHappensNext = "Rebuilt on the next build.",
            .regeneratedBy = {Regeneration::Kind::command, "./gradlew build"},
        },
    };
}

}  // namespace brindle
