#include "core/platform/user_folders.h"

#include <gtest/gtest.h>

#include "tests/support/test_home.h"

namespace brindle {
namespace {

using Paths = std::vector<std::string>;

TEST(UserFolders, UnderstandsWhatNamesTheDocuments) {
    const std::pair<std::string_view, Paths> cases[] = {
        {"", {"/h/Documents", "/h/Desktop", "/h/Downloads"}},
        {"# XDG_DESKTOP_DIR=\"/no\"\n\t XDG_DESKTOP_DIR = \"$HOME/Schreib tisch//\"  # x\r\n"
         "XDG_DOCUMENTS_DIR=\"/data/Dok\\\"u\\\\m\\$\"\nXDG_DOWNLOAD_DIR=\"$HOME\"",
         {"/data/Dok\"u\\m$", "/h/Schreib tisch", "/h"}},
        {"XDG_DESKTOP_DIR=\"$HOME/a\"\nXDG_DESKTOP_DIR=\"$HOME/b/../c\"\nXDG_DESKTOP_DIR=\"$HOMER/d\"\n"
         "XDG_DESKTOP_DIRS=\"/e\"\nXDG_DESKTOP_DIR=\"relative\"\nXDG_DESKTOP_DIR=\"/open\nXDG_DESKTOP_DIR='/"
         "f'\n"
         "XDG_DESKTOP_DIR\nXDG_DESKTOP_DIR=\"/g\\",
         {"/h/Documents", "/h/c", "/h/Downloads"}},
    };
    for (const auto& [text, folders] : cases) EXPECT_EQ(documentFoldersIn(text, "/h"), folders) << text;
}

#ifndef __APPLE__
TEST(UserFolders, ResolvesLinksAndTellsEachPlaceOnce) {
    struct Row {
        const char* desktop;
        const char* documents;
        const char* download;
        Paths folders;  // relative to the home
    };
    for (const Row& row :
         {Row{"$HOME/desk", "$HOME/docs", "$HOME/down", {"docs", "desk", "down"}},
          Row{"$HOME/docs/desk", "$HOME/docs", "$HOME/link", {"docs"}}, Row{"$HOME", "/", "$HOME/toHome", {}},
          Row{"$HOME/none", "$HOME/Applications/x", "$HOME/nowhere", {}},
          Row{"$HOME/docs-2", "$HOME/docs", "$HOME/docs/../down", {"docs", "down", "docs-2"}}}) {
        test::TestHome home;
        for (const char* folder : {"desk", "docs/desk", "docs-2", "down", "Applications/x"})
            home.folder(folder);
        home.link("link", "docs");
        home.link("toHome", ".");
        home.link("nowhere", "gone");
        home.text("conf/user-dirs.dirs", std::string("XDG_DESKTOP_DIR=\"") + row.desktop +
                                             "\"\nXDG_DOCUMENTS_DIR=\"" + row.documents +
                                             "\"\nXDG_DOWNLOAD_DIR=\"" + row.download + "\"\n");
        Paths expected;
        for (const std::string& folder : row.folders) expected.push_back(home.path(folder));
        UserFolders found = userFolders(home.path(), {"A=b", "XDG_CONFIG_HOME=" + home.path("conf")});
        std::ranges::sort(found.documents);
        std::ranges::sort(expected);
        EXPECT_EQ(found.documents, expected) << row.documents;
        EXPECT_EQ(found.applications.back(), home.path("Applications"));
        home.folder("Documents");
        EXPECT_EQ(userFolders(home.path(), {"XDG_CONFIG_HOME=conf"}).documents,
                  Paths{home.path("Documents")});
    }
}
#endif

}  // namespace
}  // namespace brindle
