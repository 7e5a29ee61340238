#include "core/modules/xcode_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/modules/simulator_tool.h"
#include "core/modules/xcode_derived_data.h"
#include "core/modules/xcode_device_support.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "tests/support/disk_usage.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Outcome = std::expected<ProcessResult, ProcessError>;
using testing::Contains;
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
        context.home = home.path();
        context.now = std::chrono::system_clock::now();
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

    void scan() { result = XcodeModule(settings).scan(context); }

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
    ScanContext context;
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
    std::string binary;
    const std::string hex =
        "62706c6973743030d2010203045f10104c6173744163636573736564446174655d576f726b7370616365506174683341c797"
        "05a60000"
        "005f10132f676f6e652f4f6c642e78636f646570726f6a080d202e3700000000000001010000000000000005000000000000"
        "000000"
        "0000000000004d";
    for (std::size_t at = 0; at < hex.size(); at += 2)
        binary += static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
    home.text(kDerived + "Old" + kHash + "/info.plist", binary);
    home.text(kDerived + "Disk" + kHash + "/info.plist",
              propertyList("<key>WorkspacePath</key><string>/Volumes/Nowhere/Disk.xcodeproj</string>"));
    home.file(kDerived + "Bare" + kHash + "/Index.noindex/data");
    home.text(kDerived + "Bare" + kHash + "/info.plist", "no property list");
    home.file(kDerived + "ci/Build/app");
    home.file(kDerived + "Strange" + kHash + "/thesis/text");
    home.file(kDerived + "notes/text");
    home.file(kDerived + "ModuleCache.noindex/module");
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
    };
    EXPECT_EQ(result.items.size(), expected.size());
    for (const auto& [name, title, classification, workspace] : expected) {
        const CleanupItem& found = item("derivedData." + name);
        EXPECT_EQ(found.storedTitle, title);
        EXPECT_EQ(found.classification, classification) << name;
        EXPECT_EQ(found.bytes(), test::diskUsage(home.path(kDerived + name))) << name;
        EXPECT_THAT(found.removal.affectedPaths(), ElementsAre(home.path(kDerived + name)));
        const auto& facts = found.explanation.facts;
        const auto state = std::ranges::find(facts, "Workspace is", &Fact::storedLabel);
        EXPECT_EQ(state == facts.end() ? "" : state->storedValue, workspace) << name;
    }
    const CleanupItem& app = item("derivedData.My-App" + kHash);
    EXPECT_EQ(app.explanation.facts, (std::vector<Fact>{{"Workspace", "~/Code/App.xcodeproj"},
                                                        {"Workspace is", "still there"},
                                                        {"Last used", "over a year ago"},
                                                        {"Last modified", "today"},
                                                        {"Files", "4"},
                                                        {"Test results", "1"}}));
    EXPECT_EQ(app.clears, "the results of past test runs");
    EXPECT_NE(item("derivedData.Old" + kHash).explanation.storedWhySuggested,
              app.explanation.storedWhySuggested);
    EXPECT_EQ(item("derivedData.Disk" + kHash).explanation.storedWhySuggested,
              app.explanation.storedWhySuggested);
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
    home.file(kXcode + "iOS Device Logs/log");
    scan();
    EXPECT_EQ(result.items.size(), folders.size());
    for (const auto& [name, isNewest] : folders) {
        const std::size_t space = name.find(" DeviceSupport");
        const CleanupItem& found = item("deviceSupport." + name.substr(0, space) + name.substr(space + 14));
        EXPECT_EQ(found.classification, Classification::review);
        EXPECT_EQ(found.explanation.storedWhySuggested->starts_with("This is the newest"), isNewest) << name;
        EXPECT_THAT(found.removal.affectedPaths(), ElementsAre(home.path(kXcode + name)));
    }
    EXPECT_THAT(item("deviceSupport.iOS/iPhone12,1 17.10 (21H1)").explanation.facts,
                testing::IsSupersetOf({Fact{"Device model", "iPhone12,1"}, Fact{"System version", "17.10"},
                                       Fact{"System build", "21H1"}}));
}

TEST_F(XcodeModuleTest, KeepsArchivesAndOffersCachesBesideWhatTheUserMade) {
    home.file(kXcode + "Archives/2026-01-31/App 1.xcarchive/dSYMs/App.app.dSYM/data");
    home.text(
        kXcode + "Archives/2026-01-31/App 1.xcarchive/Info.plist",
        propertyList("<key>Name</key><string>App</string><key>CreationDate</key><date>2026-01-31T10:05:00Z"
                     "</date><key>ApplicationProperties</key><dict><key>CFBundleShortVersionString</key>"
                     "<string>1.2</string><key>CFBundleVersion</key><string>34</string></dict>"));
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
    const CleanupItem& archive = item("archive.2026-01-31/App 1");
    EXPECT_EQ(archive.storedTitle, "Archive of App");
    EXPECT_EQ(archive.explanation.facts, (std::vector<Fact>{{"Version", "1.2 (34)"},
                                                            {"Created", "2026-01-31 10:05 UTC"},
                                                            {"Symbol files (dSYM)", "1"},
                                                            {"Last modified", "today"},
                                                            {"Files", "2"}}));
    EXPECT_EQ(archive.classification, Classification::protected_);
    EXPECT_EQ(item("archive.2026-01-31/Broken").storedTitle, "Archive of Broken");
    EXPECT_THAT(item("previews").removal.affectedPaths(),
                ElementsAre(home.path(kXcode + "UserData/Previews/App")));
    EXPECT_EQ(item("previews").classification, Classification::review);
    EXPECT_THAT(item("testSimulators").explanation.facts,
                Contains(Fact{"Remove it yourself with", "xcrun simctl --set testing delete all"}));
    EXPECT_EQ(item("previewSimulators").classification, Classification::protected_);
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
    EXPECT_THAT(
        gone.explanation.facts,
        testing::IsSupersetOf({Fact{"Devices", "2"}, Fact{"Simulators", "iOS 12.1: iPhone 8, iPhone X"}}));
    const CleanupItem& working = item("simulators");
    const std::uint64_t largest = test::diskUsage(home.path(kDevices + kSecond));
    EXPECT_EQ(working.bytes(), largest + test::diskUsage(home.path(kDevices + kThird)));
    EXPECT_THAT(
        working.explanation.facts,
        testing::IsSupersetOf({Fact{"Devices", "2"},
                               Fact{"Largest", "iPhone 16 (iOS 18.2), " + ByteFormat::shortText(largest)},
                               Fact{"Remove it yourself with", "xcrun simctl delete " + kSecond},
                               Fact{"Empty it yourself with", "xcrun simctl erase " + kSecond}}));
    EXPECT_EQ(working.classification, Classification::protected_);
    EXPECT_EQ(item("unlistedSimulators").bytes(), test::diskUsage(home.path(kDevices + "Unknown")));

    answers[kList] = listed("Booted");
    scan();
    EXPECT_EQ(item("unavailableSimulators").classification, Classification::protected_);
    EXPECT_THAT(item("unavailableSimulators").explanation.facts,
                Contains(Fact{"Not shut down", "iPhone 8 (iOS 12.1)"}));
}

TEST_F(XcodeModuleTest, ShowsSimulatorsAsOneRowAndSaysWhatToDoWhenSimctlGivesNoList) {
    home.file(kDevices + kFirst + "/data/apps");
    struct Case {
        std::string question;
        Outcome outcome;
        std::string remedyPart;
    };
    const std::vector<Case> cases = {
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
        EXPECT_NE(result.unreachable[0].storedRemedy.find(remedyPart), std::string::npos) << remedyPart;
        if (question == kSelect) {
            EXPECT_THAT(asked, ElementsAre(kSelect));
        }
    }
    hasTools = false;
    asked.clear();
    scan();
    EXPECT_EQ(result.unreachable.size(), 1U);
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(XcodeModuleTest, ShowsRuntimeImagesOnceAndNeverMeasuresWhatIsMounted) {
    home.file("system/Images/B.dmg", 70'000);
    home.file("system/Volumes/iOS/big", 90'000);
    const std::string image = home.path("system/Images/B.dmg");
    answers[kRuntimes] = ProcessResult{
        .output = R"({"A-1":{"sizeBytes":7300000000,"deletable":true,"build":"21E213","version":"17.4",)"
                  R"("runtimeIdentifier":"com.apple.CoreSimulator.SimRuntime.iOS-17-4","kind":"Disk Image"},)"
                  R"("B-2":{"path":")" +
                  image + R"(","deletable":false,"mountPath":")" + home.path("system/Volumes/iOS") +
                  R"("},"C-3":{"path":")" + home.path("system/Volumes/iOS") + R"(","mountPath":")" +
                  home.path("system/Volumes/iOS") + R"("}})"};
    scan();
    EXPECT_THAT(ids(), ElementsAre("simulatorRuntime.A-1", "simulatorRuntime.B-2"));
    const CleanupItem& reported = item("simulatorRuntime.A-1");
    EXPECT_EQ(reported.bytes(), 7'300'000'000U);
    EXPECT_EQ(reported.measurement.source, DirectoryMeasurement::Source::reported);
    EXPECT_EQ(reported.classification, Classification::protected_);
    EXPECT_EQ(reported.explanation.facts,
              (std::vector<Fact>{{"Version", "17.4 (21E213)"},
                                 {"Kind", "Disk Image"},
                                 {"Can be deleted", "yes"},
                                 {"Remove it yourself with", "xcrun simctl runtime delete A-1"}}));
    EXPECT_EQ(item("simulatorRuntime.B-2").bytes(), test::diskUsage(image));
    ASSERT_EQ(result.unreachable.size(), 1U);
    EXPECT_NE(result.unreachable[0].storedRemedy.find("C-3"), std::string::npos);

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

// Of what stands in an item as it is written in the source; a text that no catalogue knows could not be translated.
TEST_F(XcodeModuleTest, HasEveryTextInTheEnglishStrings) {
    for (const std::string& relative : {kDerived + "App" + kHash + "/Build/a",
                                        kDerived + "ci/Build/a",
                                        kDerived + "notes/a",
                                        kDerived + "ModuleCache/a",
                                        kDerived + "SymbolCache.noindex/a",
                                        kDerived + "SDKStatCaches.noindex/a",
                                        kDerived + "CompilationCache.noindex/a",
                                        kXcode + "iOS DeviceSupport/16.0/a",
                                        kXcode + "iOS DeviceSupport/17.0/a",
                                        kXcode + "iOS DeviceSupport/mine/a",
                                        kXcode + "Products/a",
                                        kXcode + "DocumentationCache/a",
                                        kXcode + "UserData/Previews/App/a",
                                        kXcode + "UserData/Previews/Simulator Devices/a",
                                        kXcode + "Archives/day/A.xcarchive/a",
                                        kXcode + "Archives/day/B.xcarchive/dSYMs/B.dSYM/a",
                                        kDevices + kFirst + "/a",
                                        kDevices + "Unknown/a",
                                        std::string("Library/Developer/XCTestDevices/a"),
                                        std::string("Library/Caches/org.swift.swiftpm/a"),
                                        std::string("Library/Caches/com.apple.dt.Xcode/a"),
                                        std::string("Library/Developer/CoreSimulator/Caches/a")}) {
        home.file(relative);
    }
    const ResourceBundle english(test::resourcesFolder(), "core", {"en"});
    const auto expectKnown = [&](const std::string& text) { EXPECT_EQ(english.text(text, ""), text); };
    const std::string device = R"({"devices":{"iOS 9":[{"udid":")" + kFirst + R"(","isAvailable":)";
    for (const std::string rest :
         {R"(false,"state":"Shutdown"}]}})", R"(false,"state":"Booted"}]}})", "true}]}}", ""}) {
        answers[kList] = ProcessResult{.output = device + rest};
        answers[kRuntimes] =
            ProcessResult{.output = R"({"A":{"sizeBytes":1,"deletable":true},"B":{"sizeBytes":1,)"
                                    R"("deletable":false}})"};
        scan();
        EXPECT_GE(result.items.size(), 22U);
        for (const UnreachableLocation& location : result.unreachable) expectKnown(location.storedRemedy);
        for (const CleanupItem& each : result.items) {
            const bool isFilledIn = each.id.find('/') != std::string::npos ||
                                    each.id.find("untime.") != std::string::npos ||
                                    each.storedTitle.starts_with("DerivedData of ");
            if (!isFilledIn) expectKnown(each.storedTitle);
            expectKnown(each.explanation.storedWhatItIs);
            expectKnown(each.explanation.storedWhatHappensNext);
            if (each.explanation.storedWhySuggested) expectKnown(*each.explanation.storedWhySuggested);
            const auto& again = each.explanation.regeneratedBy;
            if (again && again->kind != Regeneration::Kind::command) expectKnown(again->storedText);
            for (const Fact& fact : each.explanation.facts) expectKnown(fact.storedLabel);
        }
    }
    for (const int status : {1, 69, 72})
        expectKnown(simctlOutput("x", ProcessResult{.status = status}).error().remedy);
    for (const auto kind : {ProcessError::Kind::timedOut, ProcessError::Kind::notFound})
        expectKnown(simctlOutput("x", std::unexpected(ProcessError{.kind = kind})).error().remedy);
}

}  // namespace
}  // namespace brindle
