#include "core/modules/catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "core/guard/safety_guard.h"
#include "core/modules/default_modules.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/scan/cancellation_flag.h"
#include "core/scan/scanner.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"
#include "tests/support/sample_project.h"
#include "tests/support/stand_in_engine.h"

namespace brindle {
namespace {

using test::contextOf;
using test::TestHome;

std::vector<const CatalogueModule*> catalogues() {
    static const ModuleList kModules = defaultModules({});
    std::vector<const CatalogueModule*> found;
    for (const auto& module : kModules) {
        const auto* catalogue = dynamic_cast<const CatalogueModule*>(module.get());
        if (catalogue != nullptr) found.push_back(catalogue);
    }
    return found;
}

const CatalogueModule& catalogueOf(ModuleID id) {
    for (const CatalogueModule* catalogue : catalogues()) {
        if (catalogue->id() == id) return *catalogue;
    }
    throw std::logic_error("no such module");
}

TEST(Catalogue, FindsEveryFolderWithItsSizeAndItsWayOut) {
    test::TestHome home;
    for (const CatalogueModule* catalogue : catalogues()) {
        for (const CacheSpec& spec : catalogue->specs()) home.file(spec.relativePath + "/sub/data", 30'000);
        for (const ProtectedSpec& spec : catalogue->protectedSpecs())
            home.file(spec.relativePath + "/data", 30'000);
    }
    const ScanContext context = contextOf(home);
    const SafetyGuard guard({.home = home.path()});
    std::set<std::string> ids;
    for (const CatalogueModule* catalogue : catalogues()) {
        const ModuleResult result = catalogue->scan(context);
        EXPECT_TRUE(result.isToolchainInstalled);
        test::expectInEnglish({std::string(sourceName(catalogue->id()))});
        for (const CleanupItem& item : result.items) {
            test::expectInEnglish(item);
            EXPECT_TRUE(ids.insert(item.id).second) << item.id;
            EXPECT_TRUE(item.id.starts_with(std::string(rawText(result.moduleID)) + ".")) << item.id;
            const std::string folder = home.path() + item.storedDetail.substr(1);
            EXPECT_EQ(item.bytes(), test::diskUsage(folder)) << item.id;
            EXPECT_EQ(item.explanation.facts,
                      (std::vector<Fact>{{"Last modified", "today"}, {"Files", "1"}}));
            EXPECT_EQ(item.removal.isCommand(), item.id == "python.uv" || item.id == "go.goModules")
                << item.id;
            EXPECT_EQ(guard.verdictForItem(item).isAllowed(), isRemovable(item.classification)) << item.id;
            EXPECT_EQ(item.pathIdentities.size(), item.removal.isCommand() ? 0U : 1U) << item.id;
        }
    }
    EXPECT_EQ(ids.size(), 25U);
    const CleanupItem sessions = catalogueOf(ModuleID::ai).scan(context).items.at(3);
    EXPECT_EQ(sessions.id, "ai.claudeCodeSessions");
    EXPECT_EQ(sessions.classification, Classification::protected_);
    EXPECT_EQ(sessions.explanation.storedWhatHappensNext, "Nothing is removed by Brindle.");
}

TEST(Catalogue, SaysNothingOfWhatIsMissingEmptyOrCancelled) {
    test::TestHome home;
    home.folder(".gradle/caches");
    home.file(".cargo/registry/index");
    ScanContext context = contextOf(home);
    EXPECT_TRUE(catalogueOf(ModuleID::android).scan(context).items.empty());
    EXPECT_TRUE(catalogueOf(ModuleID::android).isPresent(context));
    EXPECT_FALSE(catalogueOf(ModuleID::ai).isPresent(context));
    EXPECT_EQ(catalogueOf(ModuleID::rust).scan(context).items.size(), 1U);

    int polls = 0;
    context.isCancelled = [&polls] { return ++polls > 3; };
    EXPECT_TRUE(catalogueOf(ModuleID::rust).scan(context).items.empty());
}

TEST(Catalogue, FindsCachesWhereThisSystemKeepsThem) {
    test::TestHome home;
    home.file(".cache/pip/wheel");
    home.file(".cache/go-build/object");
    const ScanContext context = contextOf(home);
    const auto pip = catalogueOf(ModuleID::python).scan(context).items;
#ifdef __APPLE__
    EXPECT_TRUE(pip.empty());
#else
    ASSERT_EQ(pip.size(), 1U);
    EXPECT_EQ(pip[0].removal.affectedPaths(), std::vector{home.path(".cache/pip")});
    EXPECT_EQ(catalogueOf(ModuleID::go).scan(context).items.size(), 1U);
    home.file("Library/Caches/pip/wheel");
    EXPECT_EQ(catalogueOf(ModuleID::python).scan(context).items[0].storedDetail, "~/Library/Caches/pip");
#endif
}

// The home that tools/sample_home.py lays out, scanned by every module at once.
constexpr const char* kEngineState =
    R"({"images": [[1500000, 0], [700000, 1]], "cache": [[900000, false]], "volumes": [[300000, 0]]})";

ModuleSettings settingsFor(const TestHome& home) {
    const ProcessRunner runner(home.path(), {"HOME=" + home.path(), "LC_ALL=C"});
    return {.tools = Toolbox::of(runner),
            .leftovers = {.applicationFolders = {home.path("Applications")},
                          .serviceFolders = {},
                          .databaseKnows = [](const std::string&) { return std::optional(false); },
                          .runningPrograms = [] { return std::optional(std::vector<std::string>()); },
                          .mayReadContainers = [](const std::string&) { return true; }}};
}

std::string described(const CleanupItem& item, const std::string& home) {
    std::string text = item.id + " | " + std::string(rawText(item.classification)) + " | ";
    text += item.removal.isCommand() ? item.removal.description() : "";
    for (const std::string& path : item.removal.affectedPaths()) text += abbreviatedPath(path, home) + " ";
    text += "\n";
    for (const Fact& fact : item.explanation.facts) {
        if (fact.storedLabel == "Last modified" || fact.storedLabel == "Files") continue;  // every item's
        // Sizes are those of the file system; they are compared with du's.
        const bool isSize = fact.storedValue.contains("B") && fact.storedValue.contains('.');
        if (!isSize && fact.storedLabel != "Removed via")
            text += "    " + fact.storedLabel + ": " + fact.storedValue + "\n";
    }
    return text;
}

// What a tool's own command clears, where it is a folder of the home.
std::vector<std::string> foldersOf(const CleanupItem& item, const TestHome& home) {
    if (!item.removal.isCommand()) return item.removal.affectedPaths();
    if (item.id == "homebrew.cache") return {home.path("Library/Caches/Homebrew/downloads")};
    if (item.id == "homebrew.autoremove") return {home.path("homebrew/Cellar/libtiff")};
    if (item.id == "xcode.unavailableSimulators")
        return {home.path("Library/Developer/CoreSimulator/Devices/33333333-4444-5555-6666-777777777777")};
    const std::string path = item.storedDetail.substr(0, item.storedDetail.find(" · "));
    return {home.path() + path.substr(1)};
}

// With the environment's SAMPLE_HOME_COPY set to a file, what was found is written there.
TEST(SampleHome, ShowsEveryPileAsItIs) {
    if (!ProcessRunner("/", {}).locate("docker")) GTEST_SKIP() << "needs the docker client";
    test::speakEnglish();
    TestHome home;
    const std::string script = test::resourcesFolder() + "/../tools/sample_home.py";
    ASSERT_EQ(std::system(("python3 '" + script + "' '" + home.path() + "'").c_str()), 0);
    const test::StandInEngine engine(kEngineState, "answer", "1.50", home.path(".docker/run/docker.sock"));
    const ScanReport report = Scanner(defaultModules(settingsFor(home))).scan(test::contextOf(home), {});

    const SafetyGuard guard({.home = home.path(), .appLeftovers = report.vouchedLeftoverPaths()});
    std::string found;
    auto items = report.allItems();
    // Of two modules with one identity that comes first which is done first.
    std::ranges::sort(items, {}, &CleanupItem::id);
    for (const ModuleID module : allCases<ModuleID>()) {
        for (const CleanupItem& item : items) {
            if (item.moduleID != module) continue;
            found += described(item, home.path());
            if (module == ModuleID::node) test::expectInEnglish(item);
            EXPECT_EQ(guard.verdictForItem(item).isAllowed(),
                      item.classification != Classification::protected_)
                << item.id;
            const bool isMeasured = item.measurement.source == DirectoryMeasurement::Source::measured;
            if (!isMeasured || item.id == "docker.footprint") continue;
            EXPECT_EQ(item.bytes(), test::diskUsage(foldersOf(item, home))) << item.id;
        }
    }
    for (const UnreachableLocation& location : report.unreachable())
        found += location.path + ": " + location.storedRemedy + "\n";
    for (std::size_t at = 0; (at = found.find(home.path())) != std::string::npos;)
        found.replace(at, home.path().size(), "~");
    const std::string kept = test::resourcesFolder() + "/../tests/core/modules/data/sample_home.txt";
    EXPECT_EQ(found, readFile(kept).value_or("")) << "if this is right, keep it in " << kept;
    if (const char* copy = std::getenv("SAMPLE_HOME_COPY")) (void)writeFileAtomically(copy, found);
}

}  // namespace
}  // namespace brindle
