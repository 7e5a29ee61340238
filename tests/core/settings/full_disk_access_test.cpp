#include "core/settings/full_disk_access.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::kNeedsUnprivilegedUser;
using test::permissionsApply;
using test::TestHome;
using testing::ElementsAre;
using testing::HasSubstr;

FullDiskAccess accessIn(const TestHome& home) {
    return FullDiskAccess(home.path(), home.path("system"));
}

// A folder where a file is expected cannot be read as one, whoever runs this.
TEST(FullDiskAccess, IsNotGrantedWhenEveryExistingProbeFails) {
    TestHome home;
    EXPECT_TRUE(accessIn(home).isGranted()) << "there is nothing to try it with";
    EXPECT_THAT(accessIn(home).report(), HasSubstr(home.path("Library/Mail: not there\n")));
    home.folder("system/Application Support/com.apple.TCC/TCC.db");
    EXPECT_FALSE(accessIn(home).isGranted());
    EXPECT_THAT(accessIn(home).report(), HasSubstr("/TCC.db: could not read: Is a directory\n"));
    home.folder("Library/Metadata/CoreSpotlight");
    EXPECT_TRUE(accessIn(home).isGranted()) << "one readable probe is enough";
    EXPECT_THAT(accessIn(home).report(), HasSubstr("/CoreSpotlight: readable\n"));
}

TEST(FullDiskAccessUnprivileged, FollowsTheModesOfTheProbes) {
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    using Case = std::tuple<unsigned, unsigned, unsigned, bool>;
    const Case cases[] = {
        {0, 0, 0600, false},    // the file lies in a folder that cannot be entered: unknown is no
        {0, 0100, 0, false},    // nothing can be read
        {0, 0100, 0600, true},  // only the file can
        {0, 0500, 0, true},     // only its folder can
        {0700, 0, 0, true},
    };
    for (const auto& [mail, safari, bookmarks, isGranted] : cases) {
        TestHome home;
        home.folder("Library/Mail");
        home.text("Library/Safari/Bookmarks.plist", "x");
        home.mode("Library/Safari/Bookmarks.plist", bookmarks);
        home.mode("Library/Safari", safari);
        home.mode("Library/Mail", mail);
        EXPECT_EQ(accessIn(home).isGranted(), isGranted) << accessIn(home).report();
    }
}

TEST(FullDiskAccessUnprivileged, BlockedIsWhatExistsAndCannotBeListed) {
    TestHome home;
    const auto open = home.folder("open");
    const auto file = home.text("file", "x");
    EXPECT_THAT(FullDiskAccess::blockedPaths({file, open, home.path("none"), file + "/below"}),
                ElementsAre(file));
    if (!permissionsApply()) GTEST_SKIP() << kNeedsUnprivilegedUser;
    const auto shut = home.folder("shut");
    home.mode("shut", 0300);
    EXPECT_THAT(FullDiskAccess::blockedPaths({open, shut, file}), ElementsAre(shut, file));
}

}  // namespace
}  // namespace brindle
