#include "core/modules/docker_usage.h"

#include <gtest/gtest.h>

#include <ranges>

#include "core/modules/docker_engine.h"

namespace brindle {
namespace {

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
