// Developer tools: every entry is for review on purpose; each says why in whySuggested.
#include "core/modules/catalogue.h"

#include <algorithm>
#include <iterator>

namespace brindle {

namespace {

std::vector<CacheSpec> downloadedPackages() {
    return {
        {
            .key = "pub",
            .title = "Dart / Flutter hosted packages",
            .relativePath = ".pub-cache/hosted",
            .whatItIs = "Packages downloaded by Dart pub. Git checkouts and global activations are excluded.",
            .whatHappensNext = "Close Dart and Flutter builds first. Packages download again; offline builds "
                               "may fail until then.",
            .whySuggested = "Only the hosted package cache is listed; Git checkouts and global activations "
                            "are not. Every package in it came from a published version.",
            .regeneratedBy = {Regeneration::Kind::command, "flutter pub get"},
            .classification = Classification::review,
        },
        {
            .key = "terraform",
            .title = "Terraform provider cache",
            .relativePath = ".terraform.d/plugin-cache",
            .whatItIs = "The conventional shared provider cache. Project state, configuration and "
                        "credentials are excluded.",
            .whatHappensNext = "Stop Terraform operations first. Providers download on the next "
                               "initialization. Custom cache locations are not scanned.",
            .whySuggested =
                "Every provider in it is downloaded from a registry. It is review rather than safe because a "
                "custom cache location elsewhere would not be scanned, so this may not be the whole picture.",
            .regeneratedBy = {Regeneration::Kind::command, "terraform init"},
            .classification = Classification::review,
        },
        {
            .key = "hf",
            .title = "Hugging Face model cache",
            .relativePath = ".cache/huggingface/hub",
            .whatItIs =
                "Downloaded Hub models and snapshots. Authentication tokens outside this cache are excluded.",
            .whatHappensNext = "Stop model workloads first. Models may be large, gated or no longer "
                               "available; review before moving this cache to Trash.",
            .whySuggested = "Every model here was downloaded from the Hub, which is normally the way back. "
                            "It is review rather than safe because a model can be gated or withdrawn after "
                            "you fetched it, and then it is not.",
            .regeneratedBy = {Regeneration::Kind::action,
                              "Download the required models again using the original model IDs"},
            .classification = Classification::review,
        },
    };
}

std::vector<CacheSpec> keptInstallers() {
    return {
        {
            .key = "nvm",
            .title = "nvm download archives",
            .relativePath = ".nvm/.cache/bin",
            .whatItIs = "Downloaded Node distribution archives. Installed Node versions are excluded.",
            .whatHappensNext =
                "Stop nvm installations first. Future installations download the archives again.",
            .whySuggested = "These are the downloaded archives, not the installed Node versions. nvm "
                            "downloads an archive again when a version is installed.",
            .regeneratedBy = {Regeneration::Kind::action, "Install the required Node version with nvm"},
            .classification = Classification::review,
        },
        {
            .key = "mise",
            .title = "mise retained downloads",
            .relativePath = ".local/share/mise/downloads",
            .whatItIs = "Installer downloads retained by mise backends. Installed tools and configuration "
                        "are excluded.",
            .whatHappensNext =
                "Stop active installations first. Future installs may need to download these archives again.",
            .whySuggested = "These are installer downloads mise kept after installing. The installed tools "
                            "themselves are not listed.",
            .regeneratedBy = {Regeneration::Kind::command, "mise install"},
            .classification = Classification::review,
        },
        {
            .key = "asdf",
            .title = "asdf download archives",
            .relativePath = ".asdf/downloads",
            .whatItIs = "Source archives and tarballs asdf kept after building a version. The installed "
                        "versions in ~/.asdf/installs are not touched.",
            .whatHappensNext =
                "Stop active installations first. Reinstalling a version downloads its archive again.",
            .whySuggested = "These are source archives kept after a build, not the installed versions. "
                            "Reinstalling a version downloads its archive again.",
            .regeneratedBy = {Regeneration::Kind::command, "asdf install"},
            .classification = Classification::review,
        },
    };
}

}  // namespace

std::vector<CacheSpec> developerToolsSpecs() {
    std::vector<CacheSpec> specs = downloadedPackages();
    std::ranges::move(keptInstallers(), std::back_inserter(specs));
    return specs;
}

}  // namespace brindle
