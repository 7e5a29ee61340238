#include "core/modules/bundle_identifier.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/modules/bundle_information.h"
#include "core/modules/leftover_exclusions.h"

namespace brindle {
namespace {

TEST(BundleIdentifier, IsReadFromTheNamesThatApplicationsGiveTheirFolders) {
    const std::pair<const char*, const char*> cases[] = {
        {"com.Vendor.App", "com.Vendor.App"},
        {"com.vendor.app.savedState", "com.vendor.app"},
        {"com.vendor.app.binarycookies", "com.vendor.app"},
        {"com.vendor.app.ShipIt", "com.vendor.app"},
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
    EXPECT_TRUE(mayBelongToName("com.vendor.foo", "Foo"));
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
