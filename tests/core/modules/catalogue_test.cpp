#include "core/modules/catalogue.h"

#include <gtest/gtest.h>

#include <set>

#include "core/guard/safety_guard.h"
#include "core/modules/default_modules.h"
#include "core/scan/cancellation_flag.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using test::contextOf;

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

}  // namespace
}  // namespace brindle
