#include "core/modules/python_runtimes_module.h"

#include <gtest/gtest.h>

#include "core/modules/python_config.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using test::contextOf;
using test::factOf;
using test::TestHome;

void interpreter(TestHome& home, const std::string& name) {
    home.file(".pyenv/versions/" + name + "/bin/python", 40'000);
}

void environment(TestHome& home, const std::string& relative, const std::string& version) {
    const std::string bin = home.path(".pyenv/versions/" + version + "/bin");
    home.text(relative + "/pyvenv.cfg", "home = " + bin + "\nversion = " + version + "\n");
    home.link(relative + "/bin/python", bin + "/python");
    home.file(relative + "/lib/package", 20'000);
}

TEST(PythonRuntimes, ProtectsWhatAnythingNamesAndSaysByWhom) {
    TestHome home;
    for (const char* name : {"2.7.18", "3.7.1", "3.8.1", "3.9.7", "3.10.4", "3.11.4", "3.12.0", "3.13.1",
                             "pypy3.9-7.3.12", "miniforge3-24.1"})
        interpreter(home, name);
    TestHome drive;
    drive.text("code/.python-version", "3.7\n");
    drive.folder("code/tool");
    home.file(".pyenv/versions/miniforge3-24.1/envs/data/conda-meta/history");
    home.text(".pyenv/version", "3.9.7  pypy3.9 # both\n");
    home.text("code/.python-version", "python-3.10\n");
    home.text("code/tool/setup.py", "");
    environment(home, "code/tool/.venv", "3.11.4");
    environment(home, ".local/pipx/venvs/black", "3.12.0");
    home.link(".pyenv/versions/latest", home.path(".pyenv/versions/3.13.1"));
    home.text("code/tool/.python-version", "latest\nsystem\n");
    environment(home, ".pyenv/versions/3.8.1/envs/old", "3.8.1");
    ScanContext context = contextOf(home);
    context.activeProjectPaths = {home.path("code/tool"), drive.path("code/tool")};

    const std::map<std::string, std::string> users = {
        {"2.7.18", ""},
        {"3.7.1", drive.path("code/.python-version")},
        {"3.8.1", "~/.pyenv/versions/3.8.1/envs/old"},
        {"3.9.7", "~/.pyenv/version"},
        {"3.10.4", "~/code/.python-version"},
        {"3.11.4", "~/code/tool/.venv"},
        {"3.12.0", "~/.local/pipx/venvs/black"},
        {"3.13.1", "~/code/tool/.python-version"},
        {"pypy3.9-7.3.12", "~/.pyenv/version"},
        {"miniforge3-24.1", "~/.pyenv/versions/miniforge3-24.1/envs/data"},
    };
    const ModuleResult result = PythonRuntimesModule().scan(context);
    ASSERT_EQ(result.items.size(), users.size());  // the alias is none
    for (const CleanupItem& item : result.items) {
        const std::string name = item.id.substr(std::string("python.runtime.").size());
        ASSERT_TRUE(users.contains(name)) << item.id;
        EXPECT_EQ(factOf(item, "Used by"), users.at(name)) << name;
        EXPECT_EQ(item.classification == Classification::review, users.at(name).empty()) << name;
        EXPECT_EQ(item.bytes(), test::diskUsage(home.path(".pyenv/versions/" + name)));
    }

    const auto expectAllProtected = [&] {
        for (const CleanupItem& item : PythonRuntimesModule().scan(context).items)
            EXPECT_EQ(item.classification, Classification::protected_) << item.id;
    };
    context.projectPlaces = [&] { return ProjectPlaces{{}, {home.path("code/unread")}}; };
    expectAllProtected();
    context.projectPlaces = [] { return ProjectPlaces(); };
    home.folder("code/tool/.venv2/pyvenv.cfg");  // there, and no file that can be read
    expectAllProtected();
}

TEST(PythonRuntimes, SaysWhatAnEnvironmentStillHas) {
    TestHome home;
    interpreter(home, "3.12.0");
    home.folder("code/alive");
    for (const char* name : {"alive", "moved", "lonely", "broken", "it's out"})
        environment(home, std::string(".virtualenvs/") + name,
                    name == std::string("broken") ? "3.6" : "3.12.0");
    home.text(".virtualenvs/alive/.project", home.path("code/alive") + "\n");
    home.text(".virtualenvs/moved/.project", home.path("code/moved/") + "\n");
    home.file(".virtualenvs/it's out/src/library/.git/HEAD");
    home.file(".virtualenvs/postactivate");
    home.file(".virtualenvs/wheels/a.whl");  // a folder that is no environment
    std::map<std::string, CleanupItem> found;
    for (const CleanupItem& item : PythonRuntimesModule().scan(contextOf(home)).items)
        found.emplace(item.id, item);
    ASSERT_EQ(found.size(), 6U);
    const auto why = [&](const std::string& name) {
        return found.at("python.environment." + name).explanation.storedWhySuggested.value_or("");
    };
    EXPECT_TRUE(why("alive").starts_with("Its project is still there."));
    EXPECT_TRUE(why("moved").starts_with("The project it was made for is no longer there"));
    EXPECT_TRUE(why("lonely").starts_with("Nothing says which project"));
    EXPECT_TRUE(why("broken").starts_with("Its interpreter is gone"));
    EXPECT_EQ(found.at("python.environment.it's out").classification, Classification::protected_);
    EXPECT_EQ(factOf(found.at("python.environment.it's out"), "Remove it yourself with"),
              "rmvirtualenv 'it'\\''s out'");
}

TEST(PythonConfig, ReadsEveryFormThatToolsWrite) {
    using EnvironmentNames = std::vector<std::string>;
    EXPECT_EQ(parsePythonVersions("3.11.4\r\n# old\n\n 2.7.18\tpython-3.9 # x\nsystem"),
              (EnvironmentNames{"3.11.4", "2.7.18", "3.9"}));
    EXPECT_EQ(parsePythonVersions(""), EnvironmentNames());
    EXPECT_EQ(parsePyvenvConfig("HOME=/a/bin\nversion_info = 3.12.1.final.0\nuv = 0.4\nexecutable = "
                                "/b/python3\nbase-prefix = no"),
              (PyvenvConfig{{"/a/bin", "/b/python3"}, "3.12.1.final.0"}));
    EXPECT_TRUE(namesPythonVersion("3.1", "3.1.5"));
    EXPECT_TRUE(namesPythonVersion("3.13t", "3.13.1t"));
    EXPECT_FALSE(namesPythonVersion("3.13t", "3.13.1") || namesPythonVersion("3.1", "3.11.5"));
}

}  // namespace
}  // namespace brindle
