#include "core/modules/xcode_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/modules/simulator_tool.h"
#include "core/modules/xcode_derived_data.h"
#include "core/modules/xcode_device_support.h"
#include "core/text/byte_format.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using Outcome = std::expected<ProcessResult, ProcessError>;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kHash = "-gqrkybvfoqwvzjfvkhvnubiwdwxy";
const std::string kXcode = "Library/Developer/Xcode/";
const std::string kDerived = kXcode + "DerivedData/";
const std::string kDevices = "Library/Developer/CoreSimulator/Devices/";
const std::string kFirst = "0A1B2C3D-0000-4000-8000-000000000001";
const std::string kSecond = "0A1B2C3D-0000-4000-8000-000000000002";
const std::string kThird = "0A1B2C3D-0000-4000-8000-000000000003";

std::string propertyList(const std::string& content) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" + content +
           "</dict></plist>";
}

class XcodeModuleTest : public testing::Test {
  protected:
    XcodeModuleTest() {
        settings.systemSimulators = home.path("system");
        settings.tools.locate = [this](std::string_view name) {
            return hasTools ? std::optional("/usr/bin/" + std::string(name)) : std::nullopt;
        };
        settings.tools.run = [this](std::string_view executable, const std::vector<std::string>& arguments,
                                    const RunOptions& options) -> Outcome {
            EXPECT_LE(options.timeout.count(), 30);
            std::string line(executable);
            for (const std::string& argument : arguments) line += " " + argument;
            asked.push_back(line);
            return answers.contains(line) ? answers.at(line)
                                          : Outcome(ProcessResult{.status = 64, .errors = "Unrecognized"});
        };
        answers[kSelect] = ProcessResult{.output = "/Applications/Xcode.app/Contents/Developer\n"};
    }

    void scan() {
        result = XcodeModule(settings).scan(context);
        for (const CleanupItem& found : result.items) {
            test::expectExplainedInEnglish(found.explanation);
            const bool isFilledIn = found.id.contains('/') || found.id.contains("untime.") ||
                                    found.storedTitle.starts_with("DerivedData of ");
            test::expectInEnglish({isFilledIn ? "Files" : found.storedTitle});
        }
    }

    const CleanupItem& item(const std::string& key) const {
        for (const CleanupItem& found : result.items) {
            if (found.id == "xcode." + key) return found;
        }
        throw std::logic_error("no item " + key);
    }
    std::vector<std::string> ids() const {
        std::vector<std::string> found;
        for (const CleanupItem& each : result.items) found.push_back(each.id.substr(6));
        return found;
    }

    const std::string kSelect = "/usr/bin/xcode-select -p";
    const std::string kList = "/usr/bin/xcrun simctl list -j";
    const std::string kRuntimes = "/usr/bin/xcrun simctl runtime list -j";
    test::TestHome home;
    ScanContext context = test::contextOf(home);
    XcodeSettings settings;
    bool hasTools = true;
    std::map<std::string, Outcome> answers;
    std::vector<std::string> asked;
    ModuleResult result;
};

TEST_F(XcodeModuleTest, OffersWhatXcodeBuiltAndLeavesAloneWhatItMayNotHaveMade) {
    const std::string project = home.folder("Code/App.xcodeproj");
    home.file(kDerived + "My-App" + kHash + "/Build/Products/app");
    home.file(kDerived + "My-App" + kHash + "/Logs/Test/one.xcresult/data");
    home.file(kDerived + "My-App" + kHash + "/Logs/Test/LogStoreManifest.plist");
    home.text(kDerived + "My-App" + kHash + "/info.plist",
              propertyList("<key>WorkspacePath</key><string>" + project +
                           "</string><key>LastAccessedDate</key><date>2020-01-31T10:05:00Z</date>"));
    home.text(kDerived + "Old" + kHash + "/info.plist",
              propertyList("<key>WorkspacePath</key><string>/gone/Old.xcodeproj</string>"));
    home.text(kDerived + "Disk" + kHash + "/info.plist",
              propertyList("<key>WorkspacePath</key><string>/Volumes/Nowhere/Disk.xcodeproj</string>"));
    home.file(kDerived + "Bare" + kHash + "/Index.noindex/data");
    home.text(kDerived + "Bare" + kHash + "/info.plist", "no property list");
    home.file(kDerived + "ci/Build/app");
    home.file(kDerived + "Strange" + kHash + "/thesis/text");
    home.file(kDerived + "notes/text");
    for (const char* cache :
         {"ModuleCache.noindex", "SymbolCache.noindex", "SDKStatCaches.noindex", "CompilationCache.noindex"})
        home.file(kDerived + cache + "/module");
    home.folder(kDerived + "Empty" + kHash);
    home.file("elsewhere/Build/app");
    home.link(kDerived + "Linked" + kHash, home.path("elsewhere"));
    scan();

    using C = Classification;
    const std::vector<std::tuple<std::string, std::string, C, std::string>> expected = {
        {"My-App" + kHash, "DerivedData of My-App", C::safe, "still there"},
        {"Old" + kHash, "DerivedData of Old", C::safe, "no longer there"},
        {"Disk" + kHash, "DerivedData of Disk", C::safe, "its volume is not connected now"},
        {"Bare" + kHash, "DerivedData of Bare", C::safe, ""},
        {"ci", "DerivedData of ci", C::review, ""},
        {"Strange" + kHash, "DerivedData of Strange", C::protected_, ""},
        {"notes", "DerivedData of notes", C::protected_, ""},
        {"ModuleCache.noindex", "Shared module cache", C::safe, ""},
        {"SymbolCache.noindex", "Shared symbol cache", C::safe, ""},
        {"SDKStatCaches.noindex", "Shared SDK file cache", C::safe, ""},
        {"CompilationCache.noindex", "Shared compilation cache", C::safe, ""},
    };
    EXPECT_EQ(result.items.size(), expected.size());
    for (const auto& [name, title, classification, workspace] : expected) {
        const CleanupItem& found = item("derivedData." + name);
        EXPECT_EQ(found.storedTitle, title);
        EXPECT_EQ(found.classification, classification) << name;
        EXPECT_EQ(found.bytes(), test::diskUsage(home.path(kDerived + name))) << name;
        EXPECT_THAT(found.removal.affectedPaths(), ElementsAre(home.path(kDerived + name)));
        EXPECT_EQ(test::factOf(found, "Workspace is"), workspace) << name;
    }
    const CleanupItem& app = item("derivedData.My-App" + kHash);
    EXPECT_EQ(test::factOf(app, "Last used"), "over a year ago");
    EXPECT_EQ(test::factOf(app, "Test results"), "1");
    EXPECT_EQ(app.clears, "the results of past test runs");
    EXPECT_THAT(asked, IsEmpty());
}

TEST(DerivedDataName, LosesOnlyAHashOfXcodesOwnForm) {
    EXPECT_EQ(projectOfDerivedData("A-B" + kHash), "A-B");
    for (const std::string name :
         {"My-App", "My-App-gqrkybvfoqwvzjfvkhvnubiwdwx", "gqrkybvfoqwvzjfvkhvnubiwdwxy",
          "App-gqrkybvfoqwvzjfvkhvnubiwdwxY", "Appgqrkybvfoqwvzjfvkhvnubiwdwxy"}) {
        EXPECT_EQ(projectOfDerivedData(name), std::nullopt) << name;
    }
    EXPECT_EQ(projectOfDerivedData(kHash), std::nullopt);
}

TEST(DeviceSupportName, IsReadInEveryFormThatXcodeHasUsed) {
    using Version = DeviceSupportVersion;
    EXPECT_EQ(Version::parse("iPhone12,1 17.4 (21E219)"), (Version{"iPhone12,1", {17, 4}, "17.4", "21E219"}));
    EXPECT_EQ(Version::parse("17.4 (21E5184k)"), (Version{"", {17, 4}, "17.4", "21E5184k"}));
    EXPECT_EQ(Version::parse("16.0"), (Version{"", {16}, "16.0", ""}));
    EXPECT_EQ(Version::parse("15.0.1 (19A346) arm64e"), (Version{"", {15, 0, 1}, "15.0.1", "19A346"}));
    EXPECT_EQ(Version::parse("Watch6,1 10.4 (21T216) arm64_32")->model, "Watch6,1");
    for (const char* name :
         {"", " ", "Backup 99.0", "iPhone12,1", "17.4 ", "17.", "17.4 (", "17.4 (21E219) a b",
          "99999999999.0", "17.4 (21/E)", "-1.0", "17.4copy", ",1 17.4", "17.4 ()"}) {
        EXPECT_EQ(Version::parse(name), std::nullopt) << name;
    }
}

TEST_F(XcodeModuleTest, NamesTheNewestOfEachPlatformByNumber) {
    const std::vector<std::pair<std::string, bool>> folders = {
        {"iOS DeviceSupport/9.3.5 (13G36)", false},
        {"iOS DeviceSupport/iPhone12,1 17.10 (21H1)", true},
        {"iOS DeviceSupport/iPhone14,5 17.10 (21H1)", true},
        {"iOS DeviceSupport/17.4 (21E219)", false},
        {"iOS DeviceSupport/Saved 99.0", false},
        {"watchOS DeviceSupport/10.4 (21T216)", true},
        {"watchOS DeviceSupport/10.0", false},
    };
    for (const auto& [name, isNewest] : folders) home.file(kXcode + name + "/Symbols/dyld");
    home.file("elsewhere/Symbols");
    home.link(kXcode + "iOS DeviceSupport/99.0", home.path("elsewhere"));
    scan();
    EXPECT_EQ(result.items.size(), folders.size());
    for (const auto& [name, isNewest] : folders) {
        const std::size_t space = name.find(" DeviceSupport");
        const CleanupItem& found = item("deviceSupport." + name.substr(0, space) + name.substr(space + 14));
        EXPECT_EQ(found.classification, Classification::review);
        EXPECT_EQ(found.explanation.storedWhySuggested->starts_with("This is the newest"), isNewest) << name;
        EXPECT_THAT(found.removal.affectedPaths(), ElementsAre(home.path(kXcode + name)));
    }
}

TEST_F(XcodeModuleTest, KeepsArchivesAndOffersCachesBesideWhatTheUserMade) {
    home.file(kXcode + "Archives/2026-01-31/App 1.xcarchive/dSYMs/App.app.dSYM/data");
    home.text(kXcode + "Archives/2026-01-31/App 1.xcarchive/Info.plist",
              propertyList("<key>Name</key><string>App</string>"));
    home.file(kXcode + "Archives/2026-01-31/Broken.xcarchive/data");
    home.file(kXcode + "Products/App/app");
    home.file(kXcode + "UserData/CodeSnippets/mine");
    home.file(kXcode + "UserData/Previews/App/build");
    home.file(kXcode + "UserData/Previews/Simulator Devices/" + kFirst + "/data");
    home.file("Library/Developer/XCTestDevices/" + kSecond + "/data");
    home.file("Library/Caches/com.apple.dt.Xcode/data");
    home.file("moved/data");
    home.folder("Library/Developer/CoreSimulator");
    home.link("Library/Developer/CoreSimulator/Caches", home.path("moved"));
    scan();
    EXPECT_THAT(ids(), ElementsAre("xcodeCaches", "products", "previews", "archive.2026-01-31/App 1",
                                   "archive.2026-01-31/Broken", "testSimulators", "previewSimulators"));
    EXPECT_EQ(item("archive.2026-01-31/App 1").storedTitle, "Archive of App");
    EXPECT_EQ(item("archive.2026-01-31/Broken").storedTitle, "Archive of Broken");
    for (const char* kept :
         {"archive.2026-01-31/App 1", "archive.2026-01-31/Broken", "testSimulators", "previewSimulators"})
        EXPECT_EQ(item(kept).classification, Classification::protected_) << kept;
    EXPECT_THAT(item("previews").removal.affectedPaths(),
                ElementsAre(home.path(kXcode + "UserData/Previews/App")));
    EXPECT_EQ(item("previews").classification, Classification::review);
}

TEST_F(XcodeModuleTest, SeparatesSimulatorsThatWorkFromThoseWhoseRuntimeIsGone) {
    home.file(kDevices + kFirst + "/data/apps", 40'000);
    home.file(kDevices + kSecond + "/data/apps", 90'000);
    home.file(kDevices + kThird + "/data/apps");
    home.file(kDevices + "Unknown/data");
    home.file(kDevices + "device_set.plist");
    const auto listed = [&](const std::string& goneState) {
        return ProcessResult{
            .output = R"({"devices":{"iOS 12.1":[{"udid":")" + kFirst +
                      R"(","name":"iPhone 8","isAvailable":false,"state":")" + goneState +
                      R"(","dataPath":")" + home.path() +
                      R"("},{"udid":"x","name":"iPhone X","isAvailable":false,"state":"Shutdown"}],)"
                      R"("com.apple.CoreSimulator.SimRuntime.iOS-18-2":[{"udid":")" +
                      kSecond + R"(","name":"iPhone 16","isAvailable":true,"state":"Booted"},{"udid":")" +
                      kThird + R"(","name":"iPad","isAvailable":true,"state":"Shutdown"}]}})"};
    };
    answers[kList] = listed("Shutdown");
    scan();
    EXPECT_THAT(ids(), ElementsAre("unavailableSimulators", "simulators", "unlistedSimulators"));
    EXPECT_THAT(result.unreachable, IsEmpty());
    const CleanupItem gone = item("unavailableSimulators");
    EXPECT_EQ(gone.classification, Classification::review);
    EXPECT_EQ(gone.removal.description(), "xcrun simctl delete unavailable");
    EXPECT_EQ(gone.bytes(), test::diskUsage(home.path(kDevices + kFirst)));
    EXPECT_EQ(test::factOf(gone, "Simulators"), "iOS 12.1: iPhone 8, iPhone X");
    const CleanupItem& working = item("simulators");
    const std::uint64_t largest = test::diskUsage(home.path(kDevices + kSecond));
    EXPECT_EQ(working.bytes(), largest + test::diskUsage(home.path(kDevices + kThird)));
    EXPECT_EQ(test::factOf(working, "Largest"), "iPhone 16 (iOS 18.2), " + ByteFormat::shortText(largest));
    EXPECT_EQ(working.classification, Classification::protected_);
    EXPECT_EQ(item("unlistedSimulators").bytes(), test::diskUsage(home.path(kDevices + "Unknown")));

    answers[kList] = listed("Booted");
    scan();
    EXPECT_EQ(item("unavailableSimulators").classification, Classification::protected_);
    EXPECT_EQ(test::factOf(item("unavailableSimulators"), "Not shut down"), "iPhone 8 (iOS 12.1)");
}

TEST_F(XcodeModuleTest, ShowsSimulatorsAsOneRowAndSaysWhatToDoWhenSimctlGivesNoList) {
    home.file(kDevices + kFirst + "/data/apps");
    const std::vector<std::tuple<std::string, Outcome, std::string>> cases = {
        {kSelect, ProcessResult{.status = 2, .errors = "error: unable to get active developer directory"},
         "No developer tools are chosen"},
        {kSelect, std::unexpected(ProcessError{.kind = ProcessError::Kind::timedOut}), "No developer tools"},
        {kList, ProcessResult{.status = 72, .errors = "xcrun: error: unable to find utility \"simctl\""},
         "have no simctl"},
        {kList, ProcessResult{.status = 69, .errors = "You have not agreed to the Xcode license"}, "licence"},
        {kList, ProcessResult{.status = 1, .errors = "CoreSimulatorService connection invalid"},
         "could not list"},
        {kList, std::unexpected(ProcessError{.kind = ProcessError::Kind::timedOut}),
         "did not answer in time"},
        {kList, ProcessResult{.output = "== Devices =="}, "does not understand"},
        {kList, ProcessResult{.output = ""}, "does not understand"},
    };
    const auto good = answers;
    for (const auto& [question, outcome, remedyPart] : cases) {
        answers = good;
        answers[question] = outcome;
        asked.clear();
        scan();
        EXPECT_THAT(ids(), ElementsAre("simulators")) << remedyPart;
        EXPECT_EQ(item("simulators").classification, Classification::protected_);
        EXPECT_EQ(item("simulators").bytes(),
                  test::diskUsage(home.path("Library/Developer/CoreSimulator/Devices")));
        ASSERT_EQ(result.unreachable.size(), 1U) << remedyPart;
        EXPECT_EQ(result.unreachable[0].path, "xcrun simctl list -j");
        EXPECT_THAT(result.unreachable[0].storedRemedy, testing::HasSubstr(remedyPart));
        test::expectInEnglish({result.unreachable[0].storedRemedy});
        if (question == kSelect) {
            EXPECT_THAT(asked, ElementsAre(kSelect));
        }
    }
    hasTools = false;
    scan();
    EXPECT_EQ(result.unreachable.size(), 1U);
}

TEST_F(XcodeModuleTest, ShowsRuntimeImagesOnceAndNeverMeasuresWhatIsMounted) {
    home.file("system/Images/B.dmg", 70'000);
    home.file("system/Volumes/iOS/big", 90'000);
    const std::string image = home.path("system/Images/B.dmg");
    answers[kRuntimes] = ProcessResult{
        .output = R"({"A-1":{"sizeBytes":7300000000,"deletable":true},"B-2":{"path":")" + image +
                  R"(","deletable":false,"mountPath":")" + home.path("system/Volumes/iOS") +
                  R"("},"C-3":{"path":")" + home.path("system/Volumes/iOS") + R"(","mountPath":")" +
                  home.path("system/Volumes/iOS") + R"("}})"};
    scan();
    EXPECT_THAT(ids(), ElementsAre("simulatorRuntime.A-1", "simulatorRuntime.B-2"));
    const CleanupItem& reported = item("simulatorRuntime.A-1");
    EXPECT_EQ(reported.bytes(), 7'300'000'000U);
    EXPECT_EQ(reported.measurement.source, DirectoryMeasurement::Source::reported);
    EXPECT_EQ(reported.classification, Classification::protected_);
    EXPECT_EQ(item("simulatorRuntime.B-2").bytes(), test::diskUsage(image));
    ASSERT_EQ(result.unreachable.size(), 1U);
    EXPECT_THAT(result.unreachable[0].storedRemedy, testing::HasSubstr("C-3"));

    answers[kRuntimes] = ProcessResult{.status = 64, .errors = "Unrecognized subcommand: runtime"};
    scan();
    EXPECT_EQ(result.items.size() + result.unreachable.size(), 0U);
    for (const auto& answer : {ProcessResult{.output = "garbage"}, ProcessResult{.status = 69}}) {
        answers[kRuntimes] = answer;
        scan();
        EXPECT_EQ(result.unreachable.size(), 1U);
    }
}

TEST_F(XcodeModuleTest, SaysThatFoldersWereMovedToAnotherVolume) {
    home.folder(kXcode);
    home.link(kXcode + "DerivedData", "/dev");
    home.folder("other");
    home.link(kXcode + "Archives", home.path("other"));
    scan();
    EXPECT_THAT(ids(), IsEmpty());
    ASSERT_EQ(result.unreachable.size(), 1U);
    EXPECT_EQ(result.unreachable[0].path, home.path(kXcode + "DerivedData"));
    EXPECT_EQ(result.unreachable[0].reason, UnreachableLocation::Reason::differentVolume);
}

TEST_F(XcodeModuleTest, RunsNothingWhereXcodeHasNeverBeenOrTheScanIsCancelled) {
    EXPECT_FALSE(XcodeModule(settings).isPresent(context));
    scan();
    EXPECT_EQ(result, (ModuleResult{.moduleID = ModuleID::xcode, .items = {}, .unreachable = {}}));
    EXPECT_THAT(asked, IsEmpty());
    home.file(kDevices + kFirst + "/data");
    home.file(kDerived + "App" + kHash + "/Build/app");
    EXPECT_TRUE(XcodeModule(settings).isPresent(context));
    context.isCancelled = [] { return true; };
    scan();
    EXPECT_EQ(result.items.size() + result.unreachable.size(), 0U);
}

}  // namespace
}  // namespace brindle
