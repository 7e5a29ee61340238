#include "core/tools/tool_output.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brindle::test {
namespace {

TEST(ToolOutput, KnowsErrorAndWarningLines) {
    const std::vector<std::string> errors = {
        "error",        "error: no space", "fatal: not a repository", "npm error code E404",
        "npm \t fatal", "npm ERR! code"};
    const std::vector<std::string> warnings = {"warn", "npm warn deprecated", "warning: x"};
    const std::vector<std::string> neither = {"",
                                              "npm",
                                              "ERR! code",
                                              "npmERR!",
                                              "npm notice error",
                                              "errors: 3",
                                              "error_code",
                                              " error",
                                              "Error: x",
                                              "npm WARN x",
                                              "warnings",
                                              "warned",
                                              std::string(3'000'000, ' ')};
    for (const auto& line : errors) EXPECT_TRUE(isErrorLine(line) && !isWarningLine(line)) << line;
    for (const auto& line : warnings) EXPECT_TRUE(!isErrorLine(line) && isWarningLine(line)) << line;
    for (const auto& line : neither) EXPECT_FALSE(isErrorLine(line) || isWarningLine(line)) << line;
}

TEST(ToolOutput, FindsWhatWasReclaimedAndBelievesOnlyALiteralZero) {
    EXPECT_EQ(reclaimedSpace("Deleted\nTotal reclaimed space:  1.2GB \r\nreclaimed space: 3B\n"), "1.2GB");
    EXPECT_EQ(reclaimedSpace("reclaimed space:"), "");
    EXPECT_EQ(reclaimedSpace("Reclaimed 3 GB"), std::nullopt);
    for (const char* zero : {"0", "0B", "0.00 kB", "0 "}) EXPECT_TRUE(isNothingReclaimed(zero)) << zero;
    for (const char* other : {"", "0.", "00", "0.01B", "1B", "0 B (shared)", "zero", "-0B"}) {
        EXPECT_FALSE(isNothingReclaimed(other)) << other;
    }
}

}  // namespace
}  // namespace brindle::test
