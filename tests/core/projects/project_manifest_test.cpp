#include "core/projects/project_manifest.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/projects/toml_nesting.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Reader = std::optional<std::string> (*)(std::string_view);

std::string repeated(std::string_view piece, std::size_t bytes) {
    std::string text;
    while (text.size() < bytes) text += piece;
    return text;
}

TEST(ProjectManifest, ReadsTheNameWhereEachFormatHasIt) {
    const std::tuple<Reader, std::string, std::string> named[] = {
        {nameInJsonManifest, R"({"a":{"name":"in"},"l":[{"name":"in"}],"name":" @acme/web ","z":1})",
         "@acme/web"},
        {nameInJsonManifest, R"({"name":"one","name":"tw\u00f6"})", "twö"},
        {nameInJsonManifest, "\xEF\xBB\xBF{\"name\":\"marked\"}", "marked"},
        {nameInJsonManifest, R"({"name":")" + std::string(214, 'n') + "\"}", std::string(214, 'n')},
        {nameInCargoManifest, "[workspace.package]\nname='no'\n[package]\nname = \"tool\" # so\n", "tool"},
        {nameInCargoManifest, "package.name='dotted'\n", "dotted"},
        {nameInPythonManifest, "[tool.poetry]\nname='old'\n[project]\nname='new'\n", "new"},
        {nameInPythonManifest, "[tool.poetry]\nname='old'\n[project]\nname=''\n", "old"},
        {nameInPubspec, "# app\nenvironment: {name: in}\n? [a, name]\n: name\nname: lantern\na: b\n]",
         "lantern"},
        {nameInPubspec, "\xEF\xBB\xBFname: \"12\"\n", "12"},
        {nameInSwiftManifest, "let p = Package(rename:3, name:\"\", name: \n\t\"Kit\", name: \"Late\")",
         "Kit"},
    };
    for (const auto& [read, text, name] : named) EXPECT_EQ(read(text), name) << text;
    const std::pair<Reader, std::vector<std::string>> nameless[] = {
        {nameInJsonManifest,
         {"", R"({"name":"one","name":{"name":"in"}})", R"([{"name":"in"}])", R"({"name":"cut")",
          "{\"name\":\"\xFF\"}", R"({"name":"e\u001b[1m"})", R"({"name":"   "})",
          R"({"name":")" + std::string(215, 'n') + "\"}"}},
        {nameInCargoManifest,
         {"", "[package]\nname = 7\n", "package = 'name'\n", "[package]\nname = 'tool'\nbroken\n"}},
        {nameInPythonManifest, {""}},
        {nameInPubspec,
         {"",
          "name: 12\n",
          "name: True\n",
          "name: ~\n",
          "name: [a]\nname: late\n",
          "a: &n x\nname: *n\n",
          "- name: in\n",
          "a: b\n---\nname: second\n",
          {"n\0a\0m\0e\0:\0 \0x\0", 14},
          "a: \xFF\nname: x\n"}},
        {nameInSwiftManifest, {"", "name: \"a\\(b)\", name: \"line\n\"", "name: \"open"}},
    };
    for (const auto& [read, texts] : nameless)
        for (const std::string& text : texts) EXPECT_EQ(read(text), std::nullopt) << text;
}

// As large as a manifest may be: a parser that called itself for every level would end the program.
TEST(ProjectManifest, SurvivesWhatIsMadeToExhaustIt) {
    for (const char* piece :
         {"[", "{\"a\":", "[[],", "{", "a.", "[a.", "a={", "- ", "? ", "&a ", "*a ", "[a: b,", "\"", "name:"})
        for (const std::string head : {"", "a=", "[", "a=[\n", "name: "})
            for (const Reader read :
                 {nameInJsonManifest, nameInCargoManifest, nameInPubspec, nameInSwiftManifest})
                EXPECT_EQ(read(head + repeated(piece, kManifestLimit / 8)), std::nullopt) << head << piece;
    EXPECT_EQ(nameInJsonManifest(repeated("[", kManifestLimit)), std::nullopt);
    EXPECT_EQ(nameInCargoManifest("package.name='x'\n" + repeated("a.", kManifestLimit) + "a=1\n"),
              std::nullopt);

    std::string bomb = "a: &a [x]\n";
    for (char letter = 'b'; letter < 'z'; ++letter)
        bomb += std::string(1, letter) + ": &" + letter + " [" +
                repeated(std::string("*") + char(letter - 1) + ",", 30) + "]\n";
    EXPECT_EQ(nameInPubspec(bomb + "name: x\n"), "x");
}

TEST(ProjectManifest, CountsOnlyTheNestingOfTomlItself) {
    const std::string dots = repeated(".", kTomlDots + 1);
    for (const std::string& harmless :
         {"a='" + dots + "'", R"(a="\")" + dots + '"', "a=\"\"\"\"x\n\\\"\"\"" + dots + R"(""""")",
          "#\"" + dots, "a='''''x\n'''''\nb='" + dots + "'", repeated("a.b=1.5\n", 4000),
          repeated("[a]\n", 4000), "a=[#" + dots + "\n]"})
        EXPECT_TRUE(isShallowToml(harmless)) << harmless;
    for (const std::string& deep : {dots, "a='\\'" + dots, "a=\"\"\"\\\"\"\"\"\n#\n" + dots, "#'\n" + dots,
                                    "a=['#',\n" + dots, repeated("{[", 66)})
        EXPECT_FALSE(isShallowToml(deep)) << deep;
}

TEST(ProjectManifest, TakesTheFirstManifestThatYieldsAName) {
    test::TestHome home;
    const auto named = [&](const std::vector<std::string>& entries) {
        return declaredName(home.path(), entries).value_or("");
    };
    home.text("Package.swift", R"(name: "swift")");
    home.text("pubspec.yaml", "name: yaml");
    home.text("Cargo.toml", "[package]\nname='cargo'");
    home.text("composer.json", "broken");
    const std::vector<std::string> all = {"Package.swift", "pubspec.yaml", "Cargo.toml", "composer.json",
                                          "package.json"};
    EXPECT_EQ(named(all), "cargo");
    EXPECT_EQ(named({"pubspec.yaml", "Package.swift", "x"}), "yaml");
    EXPECT_EQ(named({}), "");
    home.text("package.json", R"({"name":"node"})" + std::string(kManifestLimit, ' '));
    EXPECT_EQ(named(all), "cargo");
    home.link("pyproject.toml", "pipe");
    ASSERT_EQ(::mkfifo(home.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(named({"pyproject.toml", "Package.swift"}), "swift");  // and nobody waited for the pipe
}

}  // namespace
}  // namespace brindle
