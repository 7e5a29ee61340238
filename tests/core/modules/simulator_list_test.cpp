#include "core/modules/simulator_list.h"

#include <gtest/gtest.h>

#include "core/text/calendar.h"

namespace brindle {
namespace {

constexpr std::string_view kUdid = "0A1B2C3D-0000-4000-8000-00000000ABCD";

// A list with one device that has these fields besides its UDID.
std::string listWith(const std::string& fields,
                     const std::string& key = "com.apple.CoreSimulator.SimRuntime.iOS-18-2") {
    return R"({"devicetypes":[],"runtimes":[],"pairs":{},"devices":{")" + key +
           R"(":[{"udid":"0a1b2c3d-0000-4000-8000-00000000abcd")" + fields + "}]}}";
}

TEST(SimulatorList, TellsAvailabilityInEveryFormItHasHad) {
    const std::vector<std::pair<std::string, bool>> cases = {
        {R"_(,"availability":"(available)")_", true},
        {R"_(,"availability":"(unavailable, runtime profile not found)")_", false},
        {R"_(,"availability":" (unavailable, runtime profile not found)","availabilityError":"")_", false},
        {R"_(,"isAvailable":"YES")_", true},
        {R"_(,"isAvailable":"NO","availabilityError":"runtime profile not found")_", false},
        {R"_(,"isAvailable":"NO","availability":"(unavailable)")_", false},
        {R"_(,"isAvailable":true)_", true},
        {R"_(,"isAvailable":false,"availabilityError":"runtime profile not found")_", false},
        {R"_(,"isAvailable":0)_", false},
        {R"_(,"isAvailable":false,"availability":"(available)")_", true},  // whom to believe?
        {R"_(,"availabilityError":"something else")_", true},
        {R"_(,"isAvailable":null,"availability":[])_", true},
        {R"_(,"isAvailable":"perhaps","availability":"(gone)")_", true},
        {"", true},
    };
    for (const auto& [fields, isAvailable] : cases)
        EXPECT_EQ(parseSimulatorDevices(listWith(fields)).value().at(0).isAvailable, isAvailable) << fields;
}

TEST(SimulatorList, ReadsNamesStatesAndRuntimeKeysOldAndNew) {
    const std::string newest = listWith(
        R"(,"name":"iPhone 16","state":"Shutdown","isAvailable":true,"dataPathSize":18446744073709551615,)"
        R"("logPathSize":-1,"future":{"a":[1]})");
    EXPECT_EQ(parseSimulatorDevices(newest),
              (std::vector<SimulatorDevice>{{std::string(kUdid), "iPhone 16", "iOS 18.2", true, true}}));
    EXPECT_EQ(parseSimulatorDevices("Install Started\n1%....\nInstall Succeeded\n" + newest + "\n"),
              parseSimulatorDevices(newest));

    using Key = std::pair<std::string, std::string>;
    for (const auto& [key, name] : {Key{"iOS 12.1", "iOS 12.1"},
                                    {"com.apple.CoreSimulator.SimRuntime.watchOS-7-0-1", "watchOS 7.0.1"},
                                    {"Unavailable: com.apple.CoreSimulator.SimRuntime.tvOS-9-2", "tvOS 9.2"},
                                    {"com.apple.CoreSimulator.SimRuntime.xrOS", "xrOS"}}) {
        EXPECT_EQ(parseSimulatorDevices(listWith("", key)).value().at(0).runtime, name);
    }
    for (const char* state : {"Booted", "Booting", "Creating", "Shutting Down", "Shut down", ""}) {
        const std::string fields = R"(,"state":")" + std::string(state) + "\"";
        EXPECT_FALSE(parseSimulatorDevices(listWith(fields)).value().at(0).isShutDown) << state;
    }
}

TEST(SimulatorList, TakesADeviceThatIsListedTwiceForOneAndTrustsNoOtherName) {
    const auto devices = parseSimulatorDevices(
        R"({"devices":{"iOS 12.1":[{"udid":"0A1B2C3D-0000-4000-8000-00000000ABCD","isAvailable":false,)"
        R"("state":"Shutdown"},{"udid":"../../../Documents"}],)"
        R"("iOS 13.0":[{"udid":"0a1b2c3d-0000-4000-8000-00000000abcd","isAvailable":true,"state":"Booted"}]}})");
    EXPECT_EQ(devices, (std::vector<SimulatorDevice>{{std::string(kUdid), "", "iOS 12.1", true, false},
                                                     {"", "", "iOS 12.1", true, false}}));
}

TEST(SimulatorList, HasNoAnswerForWhatIsNoList) {
    const std::string whole = listWith(R"(,"isAvailable":false)");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(parseSimulatorDevices(whole.substr(0, length)), std::nullopt) << length;
    }
    for (const std::string text :
         {"== Devices ==\n-- iOS 12.1 --\n", "{}", "[]", R"({"devices":[]})", R"({"devices":{"iOS 9":{}}})",
          R"({"devices":{"iOS 9":["x"]}})", R"({"runtimes":[]})", "{\"devices\":{\"\xFF\":[]}}"}) {
        EXPECT_EQ(parseSimulatorDevices(text), std::nullopt) << text;
    }
    EXPECT_EQ(parseSimulatorDevices(R"({"devices":{"iOS 9":[]}})")->size(), 0U);
}

TEST(RuntimeList, ReadsWhatIsKnownOfAnImageAndPassesOverTheRest) {
    const auto runtimes = parseSimulatorRuntimes(R"({
      "AAAAAAAA-0000-4000-8000-000000000001": {"build":"21E213","deletable":true,"kind":"Disk Image",
        "identifier":"AAAAAAAA-0000-4000-8000-000000000001","lastUsedAt":"2026-01-31T10:05:00Z",
        "mountPath":"\/Library\/Developer\/CoreSimulator\/Volumes\/iOS_21E213",
        "path":"\/Library\/Developer\/CoreSimulator\/Images\/A.dmg","sizeBytes":7301234567,"state":"Ready",
        "platformIdentifier":"com.apple.platform.iphonesimulator","version":"17.4",
        "runtimeIdentifier":"com.apple.CoreSimulator.SimRuntime.iOS-17-4"},
      "aaaaaaaa-0000-4000-8000-000000000001": {"sizeBytes":1},
      "BBBBBBBB-0000-4000-8000-000000000002": {"path":"\/Library\/Developer\/CoreSimulator\/Images\/A.dmg"},
      "CCCCCCCC-0000-4000-8000-000000000003": {"deletable":"NO","path":"file:\/\/\/x.dmg","sizeBytes":-1,
        "platformIdentifier":"com.apple.platform.watchsimulator","version":"10.4","lastUsedAt":"yesterday"},
      "DDDDDDDD-0000-4000-8000-000000000004": {"sizeBytes":18446744073709551615,"deletable":[]}
    })");
    ASSERT_TRUE(runtimes);
    const auto used =
        std::chrono::floor<std::chrono::seconds>(timeFromIso8601("2026-01-31T10:05:00Z").value());
    EXPECT_EQ(*runtimes,
              (std::vector<SimulatorRuntime>{
                  {"AAAAAAAA-0000-4000-8000-000000000001", "iOS 17.4", "17.4", "21E213", "iphonesimulator",
                   "Disk Image", "/Library/Developer/CoreSimulator/Images/A.dmg", 7301234567, true, used},
                  {"CCCCCCCC-0000-4000-8000-000000000003", "watchsimulator 10.4", "10.4", "",
                   "watchsimulator", "", "", std::nullopt, false, std::nullopt},
                  {"DDDDDDDD-0000-4000-8000-000000000004", "DDDDDDDD-0000-4000-8000-000000000004", "", "", "",
                   "", "", std::nullopt, std::nullopt, std::nullopt}}));
    EXPECT_EQ(parseSimulatorRuntimes("{}")->size(), 0U);
    for (const char* text :
         {"", "[]", R"({"error":"x"})", R"({"A; rm -rf /":{}})", R"({"":{}})", "{\"A\":{}"}) {
        EXPECT_EQ(parseSimulatorRuntimes(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace brindle
