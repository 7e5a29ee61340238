#include "core/modules/leftovers_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "core/modules/bundle_identifier.h"
#include "core/modules/bundle_information.h"
#include "core/modules/leftover_exclusions.h"
#include "core/platform/machine.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kDay = 86'400;

std::string informationOf(const std::string& identifier) {
    return "<plist><dict><key>CFBundleIdentifier</key><string>" + identifier + "</string></dict></plist>";
}

// A small Mac in a home: /Applications is its folder "apps".
class Leftovers : public testing::Test {
  protected:
    Leftovers() {
        settings.applicationFolders = {home.path("apps"), "Applications"};
        settings.serviceFolders = {"Library/LaunchAgents"};
        settings.commandFolders = {".local/bin"};
        settings.databaseKnows = [](const std::string&) { return false; };
        settings.runningPrograms = [] { return std::vector<std::string>(); };
        settings.mayReadContainers = [](const std::string&) { return true; };
        home.text("apps/Present.app/Contents/Info.plist", informationOf("com.present.app"));
    }

    void age(const std::string& relative, int days) {
        const auto now = std::chrono::floor<std::chrono::seconds>(context.now).time_since_epoch().count();
        home.modified(relative, now - days * kDay - 3600);
    }

    // A folder directly in ~/Library/PLACE with one file, both of this age.
    std::string data(const std::string& place, const std::string& name, std::size_t bytes = 5000,
                     int days = 100) {
        const std::string folder = "Library/" + place + "/" + name;
        const std::string path = home.folder(folder);
        home.file(folder + "/data", bytes);
        age(folder + "/data", days);
        age(folder, days);
        return path;
    }

    ModuleResult scan() const { return LeftoversModule(settings).scan(context); }
    std::vector<std::string> found() const {
        std::vector<std::string> ids;
        for (const CleanupItem& item : scan().items) ids.push_back(item.id);
        return ids;
    }
    std::vector<std::string> unreachable() const {
        std::vector<std::string> paths;
        for (const UnreachableLocation& location : scan().unreachable) paths.push_back(location.path);
        return paths;
    }

    test::TestHome home;
    ScanContext context = test::contextOf(home);
    LeftoverSettings settings;
};

TEST_F(Leftovers, AreOneItemAnApplicationWithAllItsFoldersTheLargestFirst) {
    const std::string caches = data("Caches", "com.Gone.App", 9000, 45);
    const std::string support = data("Application Support", "com.gone.app", 90'000);
    const std::string updater = data("Caches", "com.gone.app.ShipIt", 20'000);
    const std::string cookies = home.file("Library/HTTPStorages/com.gone.app.binarycookies", 400);
    age("Library/HTTPStorages/com.gone.app.binarycookies", 90);
    data("Logs", "com.present.other");
    const ModuleResult result = scan();
    EXPECT_TRUE(result.isToolchainInstalled);
    EXPECT_THAT(result.unreachable, IsEmpty());
    ASSERT_EQ(result.items.size(), 2U);
    const CleanupItem& item = result.items[0];
    EXPECT_EQ(item.id, "leftovers.com.gone.app");
    EXPECT_EQ(item.classification, Classification::review);
    EXPECT_EQ(item.removal.affectedPaths(), (std::vector{support, updater, caches, cookies}));
    EXPECT_EQ(item.storedDetail, "~/Library/Application Support/com.gone.app and 3 more");
    EXPECT_EQ(item.bytes(), test::diskUsage(support) + test::diskUsage(updater) + test::diskUsage(caches) +
                                test::diskUsage(cookies));
    EXPECT_EQ(test::factOf(item, "Newest file"), "last month");
    EXPECT_EQ(test::factOf(result.items[1], "Still installed from the same vendor"), "com.present.app");
    for (const CleanupItem& each : result.items) test::expectExplainedInEnglish(each.explanation);
    test::expectInEnglish({item.explanation.facts.at(3).storedValue});
}

TEST_F(Leftovers, LeaveOutWhatAnySourceKnows) {
    for (const auto& [place, identifier] : std::vector<std::pair<std::string, std::string>>{
             {"apps/Present.app/Contents/Library/LoginItems/Start.app/Contents/Info.plist", "com.login.item"},
             {"apps/Present.app/Contents/PlugIns/Share.appex/Contents/Info.plist", "com.share.extension"},
             {"apps/Present.app/Contents/Frameworks/F.framework/Versions/Current/XPCServices/S.xpc/Contents/"
              "Info.plist",
              "com.service.nested"},
             {"apps/Phone.app/Wrapper/Phone.app/Info.plist", "com.phone.app"},
             {"Applications/Tools/Deep.app/Contents/Info.plist", "com.deep.tool"},
             {"elsewhere/Linked.app/Contents/Info.plist", "com.linked.app"},
             {"opt/Running.app/Contents/Info.plist", "com.running.app"}}) {
        home.text(place, informationOf(identifier));
        data("Caches", identifier);
    }
    home.link("apps/Linked.app", home.path("elsewhere/Linked.app"));
    home.link("apps/Loop", home.path("apps"));
    home.text("Library/LaunchAgents/com.agent.job.plist",
              "<plist><dict><key>Label</key><string>com.label.job</string><key>Program</key><string>" +
                  home.path("Library/Application Support/com.started.here/run") + "</string></dict></plist>");
    settings.runningPrograms = [this] {
        return std::vector{home.path("opt/Running.app/Contents/MacOS/Running"),
                           std::string("/bin/com.tool.daemon")};
    };
    settings.databaseKnows = [](const std::string& identifier) { return identifier == "com.record.app"; };
    for (const char* name : {"com.present.app.helper", "com.agent.job", "com.label.job", "com.tool.daemon",
                             "com.record.app.helper"}) {
        data("Caches", name);
    }
    data("Application Support", "com.started.here");
    home.text(".local/bin/gad-get", "");
    data("Caches", "org.Maker.GadGet");
    EXPECT_THAT(found(), IsEmpty());
    EXPECT_THAT(unreachable(), IsEmpty());
    data("Caches", "com.really.gone");
    EXPECT_THAT(found(), ElementsAre("leftovers.com.really.gone"));
}

TEST_F(Leftovers, LeaveOutWhatIsYoungOrEmptyOrNoDataOfAnApplication) {
    data("Caches", "com.old.app", 5000, 30);
    data("Caches", "com.young.app", 5000, 29);
    data("Caches", "com.mixed.app");
    data("Logs", "com.mixed.app", 5000, 3);
    data("Caches", "com.touched.app");
    age("Library/Caches/com.touched.app", 1);
    home.folder("Library/Caches/com.empty.app");
    age("Library/Caches/com.empty.app", 100);
    home.file("Library/Caches/com.file.app");
    age("Library/Caches/com.file.app", 100);
    home.text("Library/Application Support/com.bundle.app/Contents/Info.plist", informationOf("x.y"));
    age("Library/Application Support/com.bundle.app/Contents/Info.plist", 100);
    age("Library/Application Support/com.bundle.app", 100);
    data("Preferences", "com.settings.app");
    data("Caches", "com.docker.docker");
    home.file("other/data");
    home.link("Library/Caches/com.link.app", home.path("other"));
    home.link("Library/WebKit", home.path("Library/Preferences"));
    EXPECT_THAT(found(), ElementsAre("leftovers.com.old.app"));
}

// A file that another walk of this scan has counted is as young as it is, whoever counted it.
TEST_F(Leftovers, KnowTheAgeOfFilesThatWereCountedElsewhere) {
    data("Caches", "com.shared.app");
    home.file("cache/young");
    home.hardLink("Library/Caches/com.shared.app/young", "cache/young");
    age("Library/Caches/com.shared.app", 100);
    ASSERT_TRUE(context.measure(home.path("cache")).has_value());
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(Leftovers, AreNotClaimedWhereASourceIsSilent) {
    data("Caches", "com.gone.app");
    const LeftoverSettings whole = settings;
    const auto expectNothingFor = [&](const std::string& silent) {
        EXPECT_THAT(found(), IsEmpty());
        EXPECT_THAT(unreachable(), ElementsAre(silent));
        settings = whole;
    };
    settings.databaseKnows = [](const std::string&) { return std::nullopt; };
    expectNothingFor("the system's record of applications");
    settings.runningPrograms = [] { return std::nullopt; };
    expectNothingFor("running programs");
    settings.applicationFolders.insert(settings.applicationFolders.begin(), home.path("missing"));
    expectNothingFor(home.path("missing"));
    settings.applicationFolders = {home.folder("none")};
    expectNothingFor("application folders");
    settings.applicationFolders = {"nowhere"};
    EXPECT_FALSE(LeftoversModule(settings).isPresent(context));
    EXPECT_THAT(scan().unreachable, IsEmpty());
}

TEST_F(Leftovers, SpareWhatMayBelongToAnApplicationThatIsNotKnown) {
    for (const char* name : {"com.vendor.broken", "com.vendor.away", "com.vendor.loaded",
                             "com.vendor.faraway", "com.vendor.alias", "com.gone.app"}) {
        data("Caches", name);
    }
    home.text("apps/Alias.app", "what the Finder makes");
    home.text("apps/Broken.app/Contents/Info.plist", "bplist00 and no more");
    home.link("apps/Away.app", "/Volumes/Away/Away.app");
    home.text("Downloads/Loaded.app/Contents/Info.plist", informationOf("com.vendor.loaded"));
    settings.runningPrograms = [this] {
        return std::vector{home.path("Downloads/Loaded.app/Contents/MacOS/x"),
                           std::string("/Volumes/Gone/Faraway.app/Contents/MacOS/x")};
    };
    data("Containers", "com.boxed.app");
    EXPECT_THAT(found(), ElementsAre("leftovers.com.boxed.app", "leftovers.com.gone.app"));
    EXPECT_THAT(unreachable(), ElementsAre(home.path("apps/Broken.app")));
    settings.mayReadContainers = [](const std::string&) { return false; };
    EXPECT_THAT(found(), ElementsAre("leftovers.com.gone.app"));
    EXPECT_THAT(unreachable(), ElementsAre(home.path("apps/Broken.app"), home.path("Library/Containers")));
}

TEST_F(Leftovers, AreWholeOrNotThereWhereverTheScanIsCancelled) {
    data("Caches", "com.gone.app");
    home.file("cache/young");
    home.hardLink("Library/Caches/com.gone.app/old", "cache/young");
    age("cache/young", 50);
    age("Library/Caches/com.gone.app", 100);
    std::atomic<int> left = 0;
    context.isCancelled = [&left] { return --left < 0; };
    const auto scanWith = [&](int polls) {
        context.hardlinks = std::make_shared<HardlinkTracker>();
        left = 1'000'000;
        (void)context.measure(home.path("cache"));
        left = polls;
        return scan().items;
    };
    const auto whole = scanWith(1'000'000);
    ASSERT_EQ(whole.size(), 1U);
    for (int polls = 0; polls < 60; ++polls) {
        const auto items = scanWith(polls);
        EXPECT_TRUE(items.empty() || items == whole) << polls;
    }
}

using LeftoversUnprivileged = Leftovers;

TEST_F(LeftoversUnprivileged, AreNotClaimedWhereFoldersCannotBeRead) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    data("Caches", "com.gone.app");
    home.folder("apps/Suite/parts/locked");
    data("Caches", "com.suite.app");
    home.mode("apps/Suite/parts/locked", 0);
    EXPECT_THAT(found(), ElementsAre("leftovers.com.gone.app"));
    EXPECT_THAT(unreachable(), ElementsAre(home.path("apps/Suite/parts/locked")));
    home.folder("apps/Shut.app/Contents");
    home.mode("apps/Shut.app", 0);  // named once, however much of it cannot be read
    EXPECT_THAT(unreachable(), testing::UnorderedElementsAre(home.path("apps/Suite/parts/locked"),
                                                             home.path("apps/Shut.app")));
    home.mode("apps/Shut.app", 0755);
    for (const char* const folder :
         {"apps/Suite/parts", "apps/Suite", "apps", "Library/LaunchAgents", ".local/bin"}) {
        home.folder(folder);
        home.mode(folder, 0);
        EXPECT_EQ(found().empty(), std::string(folder) != "apps/Suite/parts") << folder;
        home.mode(folder, 0755);
    }
    home.folder("Library/Caches/com.gone.app/private");
    age("Library/Caches/com.gone.app", 100);
    home.mode("Library/Caches/com.gone.app/private", 0);
    EXPECT_THAT(found(), IsEmpty());
    home.mode("Library/Caches/com.gone.app/private", 0755);
    home.mode("apps/Suite/parts/locked", 0755);
}

TEST(BundleIdentifier, IsReadFromTheNamesThatApplicationsGiveTheirFolders) {
    const std::pair<const char*, const char*> cases[] = {
        {"com.Vendor.App", "com.Vendor.App"},
        {"com.vendor.app.savedState", "com.vendor.app"},
        {"us.zoom.xos", "us.zoom.xos"},
    };
    for (const auto& [name, identifier] : cases) EXPECT_EQ(identifierFromName(name), identifier) << name;
    for (const char* none :
         {"io.vendor.savedState.savedState", "com.vendor.ShipIt", "com.vendor", "com.apple.Safari",
          "COM.Apple.Safari", "group.com.vendor.app", "2BUA8C4S2C.com.vendor.app",
          "B1B9D29C-8A51-4D4C-9E55-6E2C0B1B1B1B", "com..app", "com.vendor.app.", "com.vendor.app (2)",
          "com.v\xc3\xa9ndor.app", "1.2.3", "so.1.2", "node.js.cache", "de.wikipedia.org", "..", ""}) {
        EXPECT_EQ(identifierFromName(none), std::nullopt) << none;
    }
}

TEST(BundleIdentifier, BelongsToAnInstalledOneThatItBeginsWith) {
    IdentifierSet installed;
    EXPECT_TRUE(installed.add("com.Vendor.App"));
    EXPECT_TRUE(installed.add("org.short"));
    EXPECT_TRUE(installed.add("com.parts.suite.helper"));
    EXPECT_FALSE(installed.add("com"));
    EXPECT_FALSE(installed.add("com.$(NAME).app"));
    for (const char* const covered : {"com.vendor.app", "COM.VENDOR.APP.helper", "com.vendor.app-helper",
                                      "com.vendor.apphelper", "org.short.thing", "com.parts.suite"}) {
        EXPECT_TRUE(installed.covers(covered)) << covered;
    }
    for (const char* const other :
         {"com.vendor.ap", "com.vendor.other", "org.shortage.thing", "com.parts.suit", "com.parts.suite2"}) {
        EXPECT_FALSE(installed.covers(other)) << other;
    }
    EXPECT_THAT(possibleOwners("com.my-vendor.appHelper-two.x"),
                testing::ElementsAre("com.my-vendor.appHelper-two.x", "com.my-vendor.appHelper-two",
                                     "com.my-vendor.appHelper", "com.my-vendor.app", "com.my-vendor"));
}

TEST(BundleIdentifier, SharesAVendorOnlyWhereTheNameSaysOne) {
    IdentifierSet installed;
    for (const char* const each : {"com.vendor.app", "com.github.anna.tool", "uk.co.maker.app"}) {
        EXPECT_TRUE(installed.add(each));
    }
    EXPECT_EQ(installed.relativeOf("com.Vendor.gone"), "com.vendor.app");
    EXPECT_EQ(installed.relativeOf("com.github.anna.gone"), "com.github.anna.tool");
    EXPECT_EQ(installed.relativeOf("uk.co.maker.gone"), "uk.co.maker.app");
    EXPECT_EQ(installed.relativeOf("com.github.bert.gone"), std::nullopt);
    EXPECT_EQ(installed.relativeOf("com.vendors.gone"), std::nullopt);
}

TEST(BundleIdentifier, MayBelongToAnApplicationOfWhichOnlyTheNameIsKnown) {
    EXPECT_TRUE(mayBelongToName("com.google.Chrome", "Google Chrome"));
    EXPECT_TRUE(mayBelongToName("com.vendor.FooDesktop", "Foo"));
    EXPECT_TRUE(mayBelongToName("com.v.Foo-2.helper", "Foo 2"));
    EXPECT_TRUE(mayBelongToName("com.vendor.bar", "\xe5\xbe\xae\xe4\xbf\xa1 2"));
    EXPECT_FALSE(mayBelongToName("com.vendor.bar", "Foo"));
    EXPECT_FALSE(mayBelongToName("com.vendor.bar", "Com"));
    EXPECT_FALSE(mayBelongToName("com.vendor.bar", ""));
}

TEST(BundleIdentifier, IsNeverLeftBehindWhereItsOwnerIsNoBundleOrItsDataIsTooDear) {
    for (const char* const kept : {"com.docker.docker", "com.dropbox", "com.Microsoft.OneDrive",
                                   "org.swift.swiftpm", "com.1password.1password", "com.adobe.acc.helper"}) {
        EXPECT_TRUE(isNeverLeftover(kept)) << kept;
    }
    EXPECT_FALSE(isNeverLeftover("com.boxes.app"));
}

TEST(BundleInformation, FindsWhoAJobStartsAndTheBundlesAroundAProgram) {
    const auto job = PropertyList::parse(
        "<plist><dict><key>Label</key><string>com.v.agent</string><key>ProgramArguments</key>"
        "<array><string>/A/X.app/Contents/MacOS/x</string><string>-d</string></array></dict></plist>");
    ASSERT_TRUE(job.has_value());
    EXPECT_EQ(launchJobIn(*job).label, "com.v.agent");
    EXPECT_EQ(launchJobIn(*job).program, "/A/X.app/Contents/MacOS/x");
    EXPECT_EQ(launchJobIn(PropertyList{}).program, std::nullopt);
    EXPECT_THAT(bundlesAround("/A/X.app/Contents/Frameworks/Y.app/Contents/MacOS/y"),
                testing::ElementsAre("/A/X.app", "/A/X.app/Contents/Frameworks/Y.app"));
    EXPECT_TRUE(bundlesAround("/Contents/x").empty());
    EXPECT_EQ(bundleIdentifierIn(PropertyList{}), std::nullopt);
}

}  // namespace
}  // namespace brindle
