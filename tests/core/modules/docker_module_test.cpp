#include "core/modules/docker_module.h"

#include <gtest/gtest.h>

#include <ranges>

#include "core/modules/docker_engine.h"
#include "core/modules/docker_usage.h"
#include "core/text/byte_format.h"
#include "core/tools/tool_output.h"
#include "tests/support/canned_tools.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"
#include "tests/support/stand_in_engine.h"

namespace brindle {
namespace {

using Answers = std::map<std::string, test::CannedAnswer>;

constexpr const char* kContext = "docker context inspect --format {{json .Endpoints.docker.Host}}";
constexpr const char* kUsage = "docker system df --format json";
constexpr const char* kOldUsage = "docker system df --format {{json .}}";
constexpr const char* kImage = "Library/Containers/com.docker.docker/Data/vms/0";
constexpr const char* kReport =
    R"j({"Active":"1","Reclaimable":"200kB (42%)","Size":"4.328GB","TotalCount":"3","Type":"Images"}
{"Active":"0","Reclaimable":"2kB (100%)","Size":"2kB","TotalCount":"1","Type":"Containers"}
{"Active":"1","Reclaimable":"1kB (9%)","Size":"5kB","TotalCount":"2","Type":"Local Volumes"}
{"Active":"1","Reclaimable":"50kB","Size":"50kB","TotalCount":"2","Type":"Build Cache"})j";

ModuleResult scanDocker(const test::TestHome& home, const Toolbox& tools) {
    return DockerModule(tools).scan(test::contextOf(home));
}

TEST(DockerModule, OffersWhatTheEngineReportsAndCountsNothingTwice) {
    test::TestHome home;
    home.file(std::string(kImage) + "/data/Docker.raw", 1'000'000);
    const std::uint64_t occupied = test::diskUsage(home.path(kImage));
    const auto scanAt = [&](const std::string& socket) {
        return scanDocker(home, test::cannedTools({{kContext, {"\"unix://" + socket + "\""}},
                                                   {kUsage, {"json\njson\njson\n"}},
                                                   {kOldUsage, {kReport}}}));
    };
    const ModuleResult result = scanAt(home.path(".docker/run/docker.sock"));
    ASSERT_EQ(result.items.size(), 5U);
    EXPECT_TRUE(result.unreachable.empty());
    EXPECT_EQ(result.totalBytes(), occupied);
    const CleanupItem& image = result.items[0];
    EXPECT_EQ(image.classification, Classification::protected_);
    EXPECT_EQ(test::factOf(image, "Size on disk"), ByteFormat::shortText(occupied) + " (sparse)");
    EXPECT_EQ(test::factOf(image, "Listed separately"), "253.0 KB");
    test::expectInEnglish({image.storedTitle, image.explanation.storedWhatHappensNext, "Size on disk",
                           "Listed separately", result.items[1].storedDetail,
                           test::factOf(result.items[3], "Named volumes")});
    EXPECT_EQ(result.items[1].bytes(), 200'000U);
    EXPECT_EQ(result.items[1].measurement.source, DirectoryMeasurement::Source::reported);
    for (const std::size_t row : {1U, 2U, 3U, 4U}) test::expectInEnglish(result.items[row]);

    // Another engine of this machine keeps its data elsewhere.
    EXPECT_EQ(scanAt("/run/other.sock").totalBytes(), occupied + 253'000);
    home.link(".docker/run/docker.sock", home.text("other.sock", ""));
    EXPECT_EQ(scanAt(home.path(".docker/run/docker.sock")).totalBytes(), occupied + 253'000);
}

TEST(DockerModule, SaysWhyAnEngineHasNothingToOffer) {
    test::TestHome home;
    const test::CannedAnswer here = {"\"unix:///var/run/docker.sock\"\n"};
    const std::string silent = "Daemon not reachable";
    const std::string inspect = "docker context inspect";
    const Answers far = {{kContext, {"\"ssh://me@far\"\n"}}, {kUsage, {kReport}}};
    const Answers unclear = {{kContext, {"no such command", 1}}, {kUsage, {kReport}}};
    const std::tuple<Answers, std::string, std::string> cases[] = {
        {{{kContext, here}}, silent, "Start Docker Desktop"},
        {{{kContext, here}, {kUsage, {"", 1}}}, silent, "Start Docker Desktop"},
        {{{kContext, here}, {kUsage, {"garbage"}}}, silent, "Start Docker Desktop"},
        {far, inspect, "Docker is set to work on another"},
        {unclear, inspect, "Brindle could not tell whether"}};
    EXPECT_FALSE(scanDocker(home, {}).isToolchainInstalled);
    for (const bool hasImage : {false, true}) {
        if (hasImage) home.file(std::string(kImage) + "/Docker.raw");
        for (const auto& [answers, asked, remedy] : cases) {
            const ModuleResult result = scanDocker(home, test::cannedTools(answers));
            ASSERT_EQ(result.items.size(), hasImage ? 1U : 0U);
            ASSERT_EQ(result.unreachable.size(), 1U);
            const UnreachableLocation& problem = result.unreachable.front();
            EXPECT_EQ(problem.path, asked);
            EXPECT_TRUE(problem.storedRemedy.starts_with(remedy)) << problem.storedRemedy;
            test::expectInEnglish({problem.storedRemedy});
        }
    }
    EXPECT_EQ(scanDocker(home, {}).unreachable.at(0).path, silent);
}

// The real client, talking to an engine of our own.
class DockerClient : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!ProcessRunner(home.path(), {}).locate("docker")) GTEST_SKIP() << "docker is not installed here";
    }
    // The module may wait 15 seconds; the tests do not.
    Toolbox toolsFor(const std::string& address) const {
        const ProcessRunner runner(home.path(), {"HOME=" + home.path(), "DOCKER_HOST=" + address});
        Toolbox tools = Toolbox::of(runner);
        tools.run = [runner](std::string_view name, const std::vector<std::string>& arguments,
                             RunOptions options) {
            EXPECT_EQ(options.timeout, DockerModule::kTimeout);
            options.timeout = std::chrono::seconds(2);
            return runner.run(name, arguments, options);
        };
        return tools;
    }
    test::TestHome home;
};

TEST_F(DockerClient, IsUnderstoodInWhatItSaysOfAnEngine) {
    const test::StandInEngine engine(
        R"({"images": [[2498000000, 1], [1830000000, 0]], "containers": [[1114, "exited"], [3000000, "running"]],
            "volumes": [[52000000000, 0], [7, 2]], "cache": [[16430000, false], [99, true]]})");
    const Toolbox tools = toolsFor(engine.address());
    const ModuleResult result = scanDocker(home, tools);
    const std::vector<std::uint64_t> expected = {1'830'000'000, 1114, 52'000'000'000, 16'430'000};
    ASSERT_EQ(result.items.size(), expected.size());
    for (std::size_t row = 0; row < expected.size(); ++row) {
        EXPECT_EQ(result.items[row].bytes(), expected[row]);
        const auto& prune = std::get<RunCommand>(result.items[row].removal.how);
        const auto pruned = tools.run(prune.executable, prune.arguments, {.timeout = DockerModule::kTimeout});
        ASSERT_TRUE(pruned && pruned->succeeded());
        EXPECT_EQ(DockerUsage::parseBytes(reclaimedSpace(pruned->output).value_or("")), expected[row])
            << pruned->output;
    }
    EXPECT_TRUE(scanDocker(home, tools).items.empty());
    EXPECT_TRUE(scanDocker(home, tools).unreachable.empty());
}

TEST_F(DockerClient, NeverMakesUpASizeOfWhatIsWrongWithAnEngine) {
    const std::string kHuge =
        R"({"images": [[9000000000000000000, 0]], "containers": [[4000000000000000, "exited"]],
        "volumes": [[-1, 0]], "cache": [[-47520000000, false]]})";
    const std::string kSome = R"({"images": [[5000, 0]]})";
    using Numbers = std::array<std::size_t, 2>;  // items, problems
    const auto numbers = [&](const std::string& address) {
        const ModuleResult result = scanDocker(home, toolsFor(address));
        return Numbers{result.items.size(), result.unreachable.size()};
    };
    EXPECT_EQ(numbers(test::StandInEngine(kHuge).address()), (Numbers{0, 0}));
    EXPECT_EQ(numbers(test::StandInEngine("{}").address()), (Numbers{0, 0}));
    EXPECT_EQ(numbers(test::StandInEngine(kSome, "answer", "1.41").address()), (Numbers{1, 0}));
    EXPECT_EQ(numbers(test::StandInEngine(kSome, "answer", "1.24").address()), (Numbers{0, 1}));
    for (const char* mode : {"hang", "garbage", "error"})
        EXPECT_EQ(numbers(test::StandInEngine(kSome, mode).address()), (Numbers{0, 1})) << mode;
    for (const char* address : {"unix:///nowhere/docker.sock", "tcp://127.0.0.1:1", "http://x"})
        EXPECT_EQ(numbers(address), (Numbers{0, 1})) << address;
}

// As client 28 printed it.
const std::string kImageUsage =
    R"j({"Active":"1","Reclaimable":"1.83GB (42%)","Size":"4.328GB","TotalCount":"3","Type":"Images"})j";
const std::string kCache =
    R"({"Active":"1","Reclaimable":"16.43MB","Size":"16.43MB","TotalCount":"2","Type":"Build Cache"})";
const std::vector<DockerUsage> kBoth = {{"Images", 3, 1, 1'830'000'000}, {"Build Cache", 2, 1, 16'430'000}};

std::vector<std::string> partsOf(const std::string& text) {
    std::vector<std::string> parts;
    for (const auto part : std::views::split(text, '|')) parts.emplace_back(part.begin(), part.end());
    return parts;
}

TEST(DockerUsage, ReadsSizesAsTheClientWritesThem) {
    const std::vector<std::uint64_t> sizes = {0,    0,          512,        1500,          1500,
                                              1114, 16'430'000, 16'430'000, 2'498'000'000, 3'200'000'000'000};
    const auto texts =
        partsOf("0B|0 B|512B|1.5kB|1.5KB|1.114kB|16.43MB|16.43 MB (50%)|2.498GB (40%)|3.2TB (80%)");
    for (std::size_t at = 0; at < sizes.size(); ++at)
        EXPECT_EQ(DockerUsage::parseBytes(texts.at(at)), sizes[at]) << texts[at];
    for (const std::string& text :
         partsOf("| |B|GB (1%)|7|7 (3%)|3GiB|3 GiB|5mb|4PB|-3GB|-4.752e+10B (-303%)|-4.752e+10 B "
                 "(-303%)|1e3B|0x10B|"
                 "infB|nanB| 5kB|5,5kB|1.2.3MB|+5kB|5kBB|18446744073709551616B|99999999TB|N/A")) {
        EXPECT_EQ(DockerUsage::parseBytes(text), std::nullopt) << text;
    }
}

TEST(DockerUsage, TakesAnImpossibleAmountForNothingReclaimable) {
    const auto bytes = [](const std::string& reclaimable, const std::string& size) {
        return DockerUsage::from({"Images", {1}, {0}, reclaimable, size}).reclaimableBytes;
    };
    EXPECT_EQ(bytes("2GB", "2GB"), 2'000'000'000U);
    EXPECT_EQ(bytes("2GB", ""), 2'000'000'000U);
    EXPECT_EQ(bytes("2.1GB (105%)", "2GB"), 0U);
    EXPECT_EQ(bytes("9999999TB", "9999999TB"), 0U);
    EXPECT_EQ(bytes("-2GB (-3%)", "2GB"), 0U);
}

TEST(DockerUsage, ReadsTheReportInEveryShape) {
    const std::string both = kImageUsage + "\n" + kCache;
    const std::string numbers =
        R"({"Type":"Images","TotalCount":3,"Active":1,"Size":"4.328GB","Reclaimable":"1.83GB"})";
    for (const std::string& report :
         partsOf(both + "\n|" + kImageUsage + "\r\n\r\n" + kCache + "|[" + kImageUsage + ",\n " + kCache +
                 "]|" + numbers + "\n" + kCache + "|WARNING: Error loading config file\n\n" + both +
                 R"(|{"Type":"Moon"})" + "\n" + both + "\n" + R"({"Type":"Networks","Active":"?"})")) {
        EXPECT_EQ(parseDockerUsage(report), kBoth) << report;
    }
    EXPECT_EQ(parseDockerUsage("{\n \"Type\": \"Images\",\n" + kImageUsage.substr(1)),
              std::vector{kBoth.front()});
    EXPECT_TRUE(isFormatEchoed("json\njson\njson\n"));
    EXPECT_FALSE(isFormatEchoed(kImageUsage) || isFormatEchoed(""));
}

TEST(DockerUsage, RefusesAReportThatItCannotRead) {
    const std::string broken =
        R"(|{"Type":"Images"})"
        R"(|{"Type":"Images","TotalCount":"four","Active":"1","Reclaimable":"1GB"})"
        R"(|{"Type":"Images","TotalCount":"4 ","Active":1,"Reclaimable":"1GB"})"
        R"(|{"Type":"Images","TotalCount":4,"Active":1.5,"Reclaimable":"1GB"})"
        R"(|{"Type":"Images","TotalCount":18446744073709551615,"Active":1,"Reclaimable":""})"
        R"(|{"Type":7,"TotalCount":4,"Active":1,"Reclaimable":"1GB"})";
    for (const std::string& report :
         partsOf("|\n|[]|{}|null|json|TYPE   TOTAL   ACTIVE\nImages 3 1|" + kImageUsage.substr(0, 60) + "|" +
                 kImageUsage + "\n" + kCache.substr(0, 20) + "|[" + kImageUsage + "|" + kImageUsage +
                 "\nWARNING: late|" + kImageUsage + kCache + "|" + kImageUsage + "\n" + kImageUsage +
                 "|[1] note\n" + kImageUsage + "|[" + kImageUsage + ",3]" + broken + "|" +
                 std::string(5000, '['))) {
        EXPECT_EQ(parseDockerUsage(report), std::nullopt) << report;
    }
}

TEST(DockerEngine, IsHereOnlyWithAnAddressOfThisMachine) {
    using Place = DockerEngine::Place;
    const auto expectPlace = [](Place place, const std::string& outputs) {
        for (const std::string& output : partsOf(outputs))
            EXPECT_EQ(parseDockerEngine(output).place, place) << output;
    };
    expectPlace(Place::local,
                "\"unix:///var/run/docker.sock\"\n|\"npipe:////./pipe/docker_engine\"|\"fd://3\"");
    expectPlace(Place::remote, R"("ssh://me@far"|"tcp://1.2.3.4:2375"|"tcp://[fe80::1]:2375")");
    expectPlace(Place::unknown,
                R"("tcp://localhost:2375/x.sock"|"tcp://127.0.0.1:1"|"tcp://me@[::1]:1"|"unix://")"
                R"(|"npipe:////far/pipe/engine"|"unix://near.sock"|""|null||unix:///a|["unix:///a"])"
                "|\"unix:///a\"\n\"unix:///b\"");
}

}  // namespace
}  // namespace brindle
