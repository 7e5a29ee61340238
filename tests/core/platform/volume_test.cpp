#include "core/platform/volume.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "core/platform/machine.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

TEST(Volume, FindsTheMountPointThatHoldsAPath) {
    constexpr std::string_view kTable =
        "21 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "22 21 8:2 / /home rw - ext4 /dev/sda2 rw\n"
        "23 22 8:3 / /home/a\\040b rw - ext4 /dev/sdb1 rw\n"
        "24 21 8:4 / /odd\\134040\\011x rw - ext4 /dev/sdc1 rw\n"
        "cut off\n"
        "25 21 8:5 / /last rw - tmpfs tmpfs rw";
    const struct {
        std::string_view path;
        std::string_view mountPoint;
    } cases[] = {
        {"/", "/"},
        {"/homely/x", "/"},
        {"/home", "/home"},
        {"/home/a", "/home"},
        {"/home/a b", "/home/a b"},
        {"/home/a b/c", "/home/a b"},
        {"/home/a bc", "/home"},
        {"/odd\\040\tx/y", "/odd\\040\tx"},
        {"/last/x", "/last"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(mountPointHolding(each.path, kTable), each.mountPoint) << each.path;
    EXPECT_EQ(mountPointHolding("/home", ""), std::nullopt);
    EXPECT_EQ(mountPointHolding("/etc", "22 21 8:2 / /home rw\n"), std::nullopt);
}

TEST(Volume, TellsTheCapacityBehindALink) {
    test::TestHome home;
    home.folder("real");
    const auto capacity = volumeCapacity(home.link("link", "real"));
    ASSERT_TRUE(capacity) << capacity.error().describe();
    ASSERT_TRUE(capacity->name);
    EXPECT_FALSE(capacity->name->empty());
    EXPECT_GT(capacity->availableBytes, 0U);
    EXPECT_LE(capacity->availableBytes, capacity->totalBytes);
#ifndef __APPLE__
    struct statvfs volume = {};
    ASSERT_EQ(statvfs(home.path().c_str(), &volume), 0);
    EXPECT_EQ(capacity->totalBytes, std::uint64_t{volume.f_blocks} * volume.f_frsize);
#endif
}

TEST(Volume, SaysNoWhereThereIsNothingToTell) {
    test::TestHome home;
    EXPECT_EQ(volumeCapacity(home.path("none")).error().kind, Error::Kind::missing);
    EXPECT_EQ(volumeCapacity(home.link("dangling", "none")).error().kind, Error::Kind::missing);
#ifdef __linux__
    EXPECT_EQ(volumeCapacity("/proc").error().code, ENOTSUP);
#endif
}

TEST(Machine, KnowsItsOwnProgramAndLimits) {
    const auto program = executablePath();
    ASSERT_TRUE(program);
    EXPECT_TRUE(program->ends_with("/test_platform")) << *program;
    EXPECT_EQ(canonicalPath(*program + "/..").error().kind, Error::Kind::missing);
    EXPECT_GE(processorCount(), 1U);
    EXPECT_GE(descriptorLimit(), 20U);
    ASSERT_TRUE(currentUserHome());
    EXPECT_EQ(currentUserHome()->front(), '/');
}

TEST(Machine, TakesTheHomeFromTheUserDatabaseAndNotFromTheEnvironment) {
    const auto before = currentUserHome();
    const char* old = getenv("HOME");
    const std::string kept = old != nullptr ? old : "";
    ASSERT_EQ(setenv("HOME", "/elsewhere", 1), 0);
    EXPECT_EQ(currentUserHome(), before);
    const auto variables = currentEnvironment();
    EXPECT_NE(std::ranges::find(variables, "HOME=/elsewhere"), variables.end());
    setenv("HOME", kept.c_str(), 1);
}

}  // namespace
}  // namespace brindle
