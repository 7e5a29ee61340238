#include "core/platform/user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <thread>

#include "core/platform/base64.h"
#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using test::TestHome;
using List = std::vector<std::string>;

std::optional<DefaultsValue> valueOf(const UserDefaults& defaults, std::string_view key) {
    const auto value = defaults.value(key);
    if (!value) ADD_FAILURE() << value.error().describe();
    return value.value_or(std::nullopt);
}

TEST(UserDefaults, GivesBackEveryKindOfValueToAnotherInstance) {
    const DefaultsValue values[] = {
        true,
        std::numeric_limits<std::uint64_t>::max(),
        -0.25,
        std::string("é \"\n\x01"),
        List{},
        List{"/a", std::string("/caf\xe9\0x", 8), ""},
        TimePoint(std::chrono::seconds(-1)),
        TimePoint(std::chrono::seconds(1'795'245'567)),
        DefaultsData{std::string("\0\xff{}", 4)},
    };
    TestHome home;
    const std::string path = home.path(".config/brindle/preferences.json");
    for (const DefaultsValue& value : values) {
        ASSERT_TRUE(fileDefaults(path)->set("brindle.key", value));
        EXPECT_EQ(valueOf(*fileDefaults(path), "brindle.key"), value) << *readFile(path);
    }
    ASSERT_TRUE(fileDefaults(path)->remove("brindle.key"));
    EXPECT_EQ(valueOf(*fileDefaults(path), "brindle.key"), std::nullopt);
}

TEST(UserDefaults, RefusesWhatWouldReadBackAsSomethingElse) {
    TestHome home;
    const auto defaults = fileDefaults(home.path("preferences.json"));
    ASSERT_TRUE(defaults->set("kept", true));
    for (const DefaultsValue& value : {DefaultsValue(std::nan("")), DefaultsValue(std::string("caf\xe9")),
                                       DefaultsValue(std::monostate())}) {
        EXPECT_EQ(defaults->set("brindle.key", value).error().kind, Error::Kind::malformed);
    }
    EXPECT_FALSE(defaults->set("k\xe9y", true));
    EXPECT_EQ(*readFile(home.path("preferences.json")), "{\n  \"kept\": true\n}\n");
}

TEST(UserDefaults, TypesWhatAPersonWroteByHand) {
    const std::pair<const char*, DefaultsValue> cases[] = {
        {"-5", -5.0},
        {"2e10", 2e10},
        {"18446744073709551616", 18446744073709551616.0},
        {"null", std::monostate()},
        {"[\"a\", [\"b\"]]", std::monostate()},
        {"{\"date\": \"yesterday\"}", std::monostate()},
        {"{\"date\": \"2026-11-21T07:19:27Z\", \"zone\": 1}", std::monostate()},
        {"{\"data\": \"QQ=\"}", std::monostate()},
        {"{\"data\": \"QQ==\"}", DefaultsData{"A"}},
    };
    TestHome home;
    for (const auto& [json, value] : cases) {
        const auto path = home.text("p.json", "\xEF\xBB\xBF{\"k\": " + std::string(json) + "}");
        EXPECT_EQ(valueOf(*fileDefaults(path), "k"), value) << json;
    }
}

TEST(UserDefaults, KeepsForeignEntriesAndTheirOrderWhenItWrites) {
    TestHome home;
    const auto path =
        home.text("p.json", R"({"z": {"deep": [null, 1.5, -3]}, "brindle.cadence": 7, "a": null})");
    ASSERT_TRUE(fileDefaults(path)->set("brindle.cadence", std::string("daily")));
    ASSERT_TRUE(fileDefaults(path)->set("new", std::uint64_t{1}));
    ASSERT_TRUE(fileDefaults(path)->remove("a"));
    EXPECT_EQ(*readFile(path),
              "{\n  \"z\": {\n    \"deep\": [\n      null,\n      1.5,\n      -3\n    ]\n  },\n"
              "  \"brindle.cadence\": \"daily\",\n  \"new\": 1\n}\n");
}

TEST(UserDefaults, NeverOverwritesAFileItCannotUnderstand) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "not JSON"},
        {"{\n\"a\": 1,\n\"b\": tru\n}", "line 3"},
        {"[\"a\"]", "not a JSON object"},
        {"{\"a\": 1, \"b\": 2, \"a\": 3}", "the key a stands twice"},
        {"{\"a\": 1e400}", "too large"},
        {"{\"a\": " + std::string(200'000, '[') + std::string(200'000, ']') + "}", "nested too deep"},
    };
    TestHome home;
    for (const auto& [content, reason] : cases) {
        const auto path = home.text("p.json", content);
        const auto defaults = fileDefaults(path);
        const auto value = defaults->value("b");
        ASSERT_FALSE(value) << content;
        EXPECT_EQ(value.error().kind, Error::Kind::malformed);
        EXPECT_THAT(value.error().describe(), testing::HasSubstr(reason));
        EXPECT_EQ(defaults->set("b", true), std::unexpected(value.error()));
        EXPECT_EQ(defaults->remove("a"), std::unexpected(value.error()));
        EXPECT_EQ(*readFile(path), content);
    }
}

TEST(UserDefaults, LeavesNoTraceOfNothingAndWritesThroughALinkIntoAnotherFolder) {
    TestHome home;
    const auto none = fileDefaults(home.path("none/p.json"));
    EXPECT_EQ(valueOf(*none, "a"), std::nullopt);
    EXPECT_TRUE(none->remove("a"));
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
    home.text("dotfiles/brindle.json", "{\"a\": 1}");
    const auto path = home.link(".config/p.json", "../dotfiles/brindle.json");
    ASSERT_TRUE(fileDefaults(path)->set("a", std::uint64_t{2}));
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    EXPECT_EQ(*readFile(home.path("dotfiles/brindle.json")), "{\n  \"a\": 2\n}\n");
}

TEST(UserDefaultsUnprivileged, KeepsTheOldBytesWhenTheFolderCannotBeWritten) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    TestHome home;
    const auto path = home.text("config/p.json", "{\"a\": 1}");
    home.mode("config", 0500);
    EXPECT_EQ(fileDefaults(path)->set("a", std::uint64_t{2}).error().kind, Error::Kind::permissionDenied);
    EXPECT_EQ(*readFile(path), "{\"a\": 1}");
    home.mode("config/p.json", 0);
    EXPECT_EQ(fileDefaults(path)->value("a").error().kind, Error::Kind::permissionDenied);
}

// 50 keys of its own, and one that all writers count up.
void setManyKeys(const std::string& path, const std::string& name) {
    const auto defaults = fileDefaults(path);
    for (std::uint64_t round = 0; round < 50; ++round) {
        ASSERT_TRUE(defaults->set(name + std::to_string(round), round));
        if (round % 5 != 0) continue;
        ASSERT_TRUE(defaults->update(
            "count", [](const auto& stored) -> std::expected<std::optional<DefaultsValue>, Error> {
                return stored ? std::get<std::uint64_t>(*stored) + 1 : std::uint64_t{1};
            }));
    }
}

TEST(UserDefaults, LosesNothingWhenTwoProcessesAndTheirThreadsWrite) {
    TestHome home;
    const auto path = home.path("p.json");
    const auto writeInThreads = [&path](const std::string& name) {
        const std::jthread one([&] { setManyKeys(path, name + "1-"); });
        const std::jthread other([&] { setManyKeys(path, name + "2-"); });
    };
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        writeInThreads("child");
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    writeInThreads("parent");
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const auto defaults = fileDefaults(path);
    for (const std::string name : {"child1-", "child2-", "parent1-", "parent2-"}) {
        for (std::uint64_t round = 0; round < 50; ++round)
            EXPECT_EQ(valueOf(*defaults, name + std::to_string(round)), DefaultsValue(round)) << name;
    }
    EXPECT_EQ(valueOf(*defaults, "count"), DefaultsValue(std::uint64_t{40}));
}

}  // namespace
}  // namespace brindle
