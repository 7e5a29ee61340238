#include "core/text/printable.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <tuple>

#include "core/text/shell_word.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

TEST(Printable, EscapesWhatATerminalMustNotSee) {
    using Case = std::tuple<std::string_view, std::string_view, bool>;
    using namespace std::string_view_literals;
    const Case cases[] = {
        {"", "", true},
        {"Café — 日本 \xF0\x9F\x97\x91", "Café — 日本 \xF0\x9F\x97\x91", true},
        {"back\\slash", "back\\slash", true},
        {"a\0b"sv, "a\\x00b", true},
        {"\x1B[31m\n\t\x7F", "\\x1B[31m\\x0A\\x09\\x7F", true},
        {"\xC2\x9B[m", "\\xC2\\x9B[m", true},                   // the one-character form of ESC [
        {"\xC2\xA0", "\xC2\xA0", true},                         // the first character after the controls
        {"exe\xE2\x80\xAEgpj", "exe\\xE2\\x80\\xAEgpj", true},  // right-to-left override
        {"\xE2\x81\xA6x\xE2\x81\xA9", "\\xE2\\x81\\xA6x\\xE2\\x81\\xA9", true},  // isolates
        {"caf\xE9", "caf\\xE9", false},                                          // Latin-1
        {"\xC0\xAF", "\\xC0\\xAF", false},                                       // overlong slash
        {"\xED\xA0\x80", "\\xED\\xA0\\x80", false},                              // a surrogate
        {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80", false},                     // beyond the last character
        {"\xE2\x82", "\\xE2\\x82", false},                                       // cut short at the end
        {"\xE2\x82ok", "\\xE2\\x82ok", false},  // what follows a broken start survives
    };
    for (const auto& [bytes, shown, isValid] : cases) {
        EXPECT_EQ(printable(bytes), shown);
        EXPECT_EQ(isValidUtf8(bytes), isValid) << shown;
    }
}

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
    for (const char* name : {"", "-rf", "a\nb", "caf\xE9", "exe\xE2\x80\xAEgpj", "\x1B[2J"})
        EXPECT_EQ(shellWord(name), std::nullopt) << name;
}

}  // namespace
}  // namespace brindle
