#include "core/text/shell_word.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/support/test_home.h"

namespace brindle {
namespace {

TEST(ShellWord, IsReadBackByAShellAsItWas) {
    const test::TestHome home;
    for (const std::string name : {"3.12.0", "a b", "$(touch x)", "`id`", "it's", "a\"b", "a;b", "~", "=ls",
                                   "*", "a\\", "x!y", "é", "'"}) {
        const std::string line = commandLineOn("printf %s", name).value_or("") + " >" + home.path("word");
        ASSERT_EQ(std::system(line.c_str()), 0) << line;
        std::ifstream file(home.path("word"));
        EXPECT_EQ(std::string(std::istreambuf_iterator(file), {}), name) << line;
    }
    EXPECT_EQ(shellWord("3.12.0"), "3.12.0");
    for (const char* name : {"", "-rf", "a\nb", "caf\xE9", "exe\xE2\x80\xAEgpj", "\x1B[2J"}) {
        EXPECT_EQ(shellWord(name), std::nullopt) << name;
    }
}

}  // namespace
}  // namespace brindle
