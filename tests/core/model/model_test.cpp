#include <gtest/gtest.h>

#include <tuple>

#include "core/model/cleanup_item.h"
#include "core/model/disk_info.h"
#include "core/model/model_json.h"
#include "core/text/core_strings.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

CleanupItemFields itemRemovedBy(RemovalStrategy removal) {
    CleanupItemFields fields;
    fields.title = "title";
    fields.removal = std::move(removal);
    return fields;
}

TEST(CleanupItem, KnowsWhichObjectsItWouldRemove) {
    test::TestHome home;
    const std::string file = home.file("file");
    const std::string link = home.link("link", "file");
    const CleanupItem item(itemRemovedBy({DeletePaths{{file, link, home.path("gone")}}}));
    ASSERT_EQ(item.pathIdentities.size(), 2U);
    EXPECT_NE(item.pathIdentities.at(file).inode, item.pathIdentities.at(link).inode);
    EXPECT_EQ(item.removal.description(), file + "\n" + link + "\n" + home.path("gone"));

    const CleanupItem command(itemRemovedBy({RunCommand{"/usr/bin/env", {"uv", "cache", "clean"}}}));
    EXPECT_TRUE(command.pathIdentities.empty());
    EXPECT_TRUE(command.removal.affectedPaths().empty());
    EXPECT_EQ(command.removal.description(), "/usr/bin/env uv cache clean");
}

TEST(CleanupItem, ReadsInTheChosenLanguageAndComparesInTheSource) {
    test::TestHome home;
    home.text("xx.lproj/core.json", R"({"title": "Titel", "what": "was", "label": "Etikett"})");
    CoreStrings::setBundles(ResourceBundle(home.path(), "core", {"en"}),
                            ResourceBundle(home.path(), "cli", {"en"}));
    CleanupItemFields fields = itemRemovedBy({DeletePaths{}});
    fields.explanation = {"what", "next", std::nullopt, std::nullopt, {{"label", "value"}}};
    const CleanupItem before(fields);
    CoreStrings::setOverrideLanguage("xx");
    const CleanupItem after = before;
    EXPECT_EQ(after.title(), "Titel");
    EXPECT_EQ(after.explanation.whatItIs(), "was");
    EXPECT_EQ(after.explanation.facts.front().label(), "Etikett");
    EXPECT_EQ(after, before);
    CoreStrings::setOverrideLanguage(std::nullopt);
    EXPECT_EQ(after.title(), "title");
}

TEST(RawTexts, AreThePersistedOnes) {
    for (const ModuleID module : allCases<ModuleID>()) EXPECT_EQ(moduleIDFrom(rawText(module)), module);
    EXPECT_EQ(rawText(ModuleID::ai), "ai");
    EXPECT_EQ(rawText(Classification::protected_), "protected");
    EXPECT_EQ(rawText(RemovalMethod::failed), "failed");
    EXPECT_EQ(rawText(StorageCategory::Kind::free), "free");
    EXPECT_FALSE(classificationFrom("Safe"));
    EXPECT_FALSE(removalMethodFrom(""));
}

TEST(DirectoryMeasurement, CallsAnImageSparseOnlyWhenItIsByFar) {
    using Row = std::tuple<std::uint64_t, std::uint64_t, bool>;
    for (const auto& [logical, allocated, isSparse] :
         {Row{70'000'000, 10'000'000, false}, Row{64'000'001, 0, true}, Row{64'000'000, 0, false},
          Row{400'000'000, 200'000'000, false}, Row{400'000'001, 200'000'000, true}, Row{1, 10, false}}) {
        DirectoryMeasurement measurement;
        measurement.logicalBytes = logical;
        measurement.allocatedBytes = allocated;
        EXPECT_EQ(measurement.isSparse(), isSparse) << logical << " in " << allocated;
    }
}

TEST(DirectoryMeasurement, AddsUpAndSaysWhereItComesFrom) {
    using std::chrono::sys_seconds;
    const auto at = [](int seconds) { return sys_seconds(std::chrono::seconds(seconds)); };
    DirectoryMeasurement left;
    left.allocatedBytes = 1;
    left.foldModified(at(50));
    EXPECT_EQ(left.provenance(), "measured on disk");
    DirectoryMeasurement right;
    right.hardLinkedBytes = 3;
    right.foldModified(at(10));
    right.foldModified(at(99));
    right.otherVolumePaths = {"/volume"};
    const DirectoryMeasurement sum = left + right + DirectoryMeasurement{};
    EXPECT_EQ(sum.oldestModified, at(10));
    EXPECT_EQ(sum.newestModified, at(99));
    EXPECT_EQ(sum.hardLinkedBytes, 3U);
    EXPECT_FALSE(sum.isComplete());
    EXPECT_EQ(sum.provenance(), "measured on disk, with locations skipped — treat it as a floor");
    left.allocatedBytes = ~std::uint64_t{0};
    right.allocatedBytes = 1;
    EXPECT_DEATH(left += right, "does not fit 64 bits");
}

TEST(ModelJson, KeepsNamesThatAreNoText) {
    for (const std::string name :
         {"plain", "caf\xe9", "\xff\xfe/\xc3\xa9\xc3", "zażółć", "\xed\xa0\x80 surrogate"}) {
        const std::string document = Json(jsonText(name)).dump();
        const auto back = bytesOfJsonText(Json::parse(document).get<std::string>());
        ASSERT_TRUE(back) << document;
        EXPECT_EQ(*back, name);
    }
    EXPECT_EQ(jsonText("caf\xe9!"), std::string("caf\0e9!", 7));
    const std::string name = "caf\xe9";
    CleanupItemFields fields = itemRemovedBy({DeletePaths{{name}}});
    fields.id = fields.title = fields.detail = name;
    fields.projectPath = fields.clears = name;
    fields.explanation = {name, name, name, {}, {{name, name}}};
    EXPECT_NO_THROW((void)toJson(CleanupItem(fields)).dump());
    EXPECT_FALSE(bytesOfJsonText(std::string("x\0f", 3)));
    EXPECT_FALSE(bytesOfJsonText(std::string("x\0zz", 4)));
}

TEST(ModelJson, ExplanationsComeBackAsTheyWere) {
    Explanation bare{"what", "next", std::nullopt, std::nullopt, {}};
    EXPECT_EQ(toJson(bare).dump(), R"({"whatItIs":"what","whatHappensNext":"next","facts":[]})");
    Explanation full{
        "what", "next", "why", Regeneration{Regeneration::Kind::action, "Relaunch"}, {{"label", "caf\xe9"}}};
    EXPECT_EQ(explanationFromJson(toJson(bare)), bare);
    EXPECT_EQ(explanationFromJson(toJson(full)), full);
    for (const char* broken :
         {"[]", "{}", R"({"whatItIs":"a","whatHappensNext":"b"})",
          R"({"whatItIs":"a","whatHappensNext":"b","facts":[{"label":"x"}]})",
          R"({"whatItIs":"a","whatHappensNext":"b","facts":[],"whySuggested":1})",
          R"({"whatItIs":"a","whatHappensNext":"b","facts":[],"regeneratedBy":{"magic":"x"}})"}) {
        EXPECT_FALSE(explanationFromJson(Json::parse(broken))) << broken;
    }
}

TEST(DiskInfo, NeverCountsMoreThanTheVolumeHolds) {
    EXPECT_EQ((DiskInfo{"v", 100, 30}.usedBytes()), 70U);
    EXPECT_EQ((DiskInfo{"v", 100, 130}.usedBytes()), 0U);
}

}  // namespace
}  // namespace brindle
