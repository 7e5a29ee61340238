#include "core/scan/report_json.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

Project projectAt(std::string path, ArtifactCategory category) {
    Project project;
    project.path = std::move(path);
    project.name = project.path.substr(project.path.rfind('/') + 1);
    project.artifacts = {{project.path + "/build", "build", category, {}, {}}};
    return project;
}

TEST(ReportJson, TellsOfEachProjectWhichOthersLookAlike) {
    ScanReport report;
    report.projects = {projectAt("/h/a/lantern", ArtifactCategory::build),
                       projectAt("/h/b/lantern", ArtifactCategory::sourceAndHistory),
                       projectAt("/h/orbit", ArtifactCategory::build)};
    const auto projects = reportJson(report, "/h")["projects"];
    EXPECT_EQ(projects[0]["relations"][0]["otherPath"], "/h/b/lantern");
    EXPECT_EQ(projects[1]["relations"][0]["basis"], "sameFolderName");
    EXPECT_TRUE(projects[2]["relations"].is_array() && projects[2]["relations"].empty());
    EXPECT_EQ(report.vouchedProjectPaths(), (std::set<std::string>{"/h/a/lantern/build", "/h/orbit/build"}));
}

}  // namespace
}  // namespace brindle
