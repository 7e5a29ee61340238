#include "core/tools/tool_output.h"

#include <gtest/gtest.h>

#include <string>

namespace brindle::test {
namespace {

TEST(ToolOutput, KnowsErrorAndWarningLines) {
    for (const char* line :
         {"error", "error: no space", "fatal: x", "npm error code E404", "npm \t fatal", "npm ERR! code"}) {
        EXPECT_TRUE(isErrorLine(line) && !isWarningLine(line)) << line;
    }
    for (const char* line : {"warn", "npm warn deprecated", "warning: x"}) {
        EXPECT_TRUE(!isErrorLine(line) && isWarningLine(line)) << line;
    }
    const std::string blanks(3'000'000, ' ');
    for (const char* line : {"", "npm", "ERR! code", "npmERR!", "npm notice error", "errors: 3", "error_code",
                             " error", "Error: x", "npm WARN x", "warnings", "warned", blanks.c_str()}) {
        EXPECT_FALSE(isErrorLine(line) || isWarningLine(line)) << line;
    }
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
