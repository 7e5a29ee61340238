#include "core/modules/node_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "core/platform/file_status.h"
#include "core/text/byte_format.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using test::factOf;
using testing::HasSubstr;

// A home whose .local/bin is the only folder with tools, on a volume without clones.
class NodeModuleTest : public testing::Test {
  protected:
    NodeModule module(bool isCloning = false) const {
        Toolbox tools;
        tools.locate = [this](std::string_view name) -> std::optional<std::string> {
            const std::string path =
                name.starts_with('/') ? std::string(name) : home.path(".local/bin/" + std::string(name));
            return exists(path) ? std::optional(path) : std::nullopt;
        };
        return NodeModule(
            {.tools = tools, .canCloneFiles = [isCloning](const std::string&) { return isCloning; }});
    }
    void installTools() {
        home.text(".local/bin/npm", "#!/usr/bin/env -S A=b node --flag\n");
        home.text(".local/bin/pnpm", "#! /bin/sh\n");
        home.text(".local/bin/node", "\x7f");
    }
    // Two projects that share one file of three; what nobody links to is 30,000 bytes long.
    void fillStore(const std::string& store) {
        home.file(store + "/v10/files/both", 100'000);
        home.file(store + "/v10/files/first", 200'000);
        home.file(store + "/v10/files/second", 300'000);
        home.file(store + "/v10/files/orphan", 30'000);
        for (const std::string name : {"first", "second"}) {
            for (const std::string& file : {std::string("both"), name})
                home.hardLink("Code/" + name + "/node_modules/" + file, store + "/v10/files/" + file);
        }
    }

    test::TestHome home;
    ScanContext context = test::contextOf(home);
};

TEST_F(NodeModuleTest, SaysWhatProjectsLinkToBeforeAndAfterOneIsDeleted) {
    fillStore("Library/pnpm/store");
    const std::uint64_t whole = test::diskUsage(home.path("Library/pnpm/store"));
    const auto expectLinked = [&](const std::vector<std::string>& measured, std::uint64_t linked) {
        context.hardlinks = std::make_shared<HardlinkTracker>();
        for (const std::string& project : measured) context.measure(home.path(project));
        const CleanupItem item = module().scan(context).items.at(0);
        EXPECT_EQ(item.bytes(), whole - linked);
        EXPECT_EQ(factOf(item, "Store size"), ByteFormat::shortText(whole));
        EXPECT_EQ(factOf(item, "Already linked elsewhere"),
                  linked > 0 ? ByteFormat::shortText(linked) : "none seen yet");
        if (linked > 0) {
            EXPECT_EQ(factOf(item, "Linked by no project"),
                      ByteFormat::shortText(whole - linked) + " at most");
        }
    };
    expectLinked({}, 0);
    expectLinked({"Code/first", "Code/second"}, 606'208);
    std::filesystem::remove_all(home.path("Code/second"));
    expectLinked({"Code/first"}, 303'104);
}

// Packages installed once for all projects lie in the store a second time, under further names.
TEST_F(NodeModuleTest, CountsAStoreThatLinksIntoItselfOnce) {
    home.file("Library/pnpm/store/v11/files/01/data", 100'000);
    home.hardLink("Library/pnpm/store/v11/links/@/package/data", "Library/pnpm/store/v11/files/01/data");
    const CleanupItem item = module().scan(context).items.at(0);
    EXPECT_EQ(factOf(item, "Store size"),
              ByteFormat::shortText(test::diskUsage(home.path("Library/pnpm/store"))));
    EXPECT_EQ(factOf(item, "Already linked elsewhere"), "none seen yet");
    EXPECT_EQ(factOf(item, "Linked by no project"), "");
}

TEST_F(NodeModuleTest, TakesLinksForNoEvidenceWhereFilesAreCloned) {
    installTools();
    fillStore(".local/share/pnpm/store");
    const CleanupItem item = module(true).scan(context).items.at(0);
    EXPECT_EQ(factOf(item, "Linked by no project"), "");
    EXPECT_EQ(item.storedDetail, "~/.local/share/pnpm/store");
    EXPECT_THAT(item.explanation.storedWhatHappensNext, HasSubstr("download everything again"));
    EXPECT_TRUE(item.removal.isCommand());
    test::expectInEnglish(item);
}

TEST_F(NodeModuleTest, IsPresentWithAnyOfItsPlaces) {
    home.link(".pnpm-store", "gone");
    EXPECT_FALSE(module().isPresent(context));
    home.folder(".bun");
    EXPECT_TRUE(module().isPresent(context) && module().scan(context).items.empty());
}

TEST_F(NodeModuleTest, OffersNoCommandThatCouldNotRun) {
    const std::pair<const char*, const char*> cases[] = {
        // the content of npm, and what is missing
        {"", "npm"},
        {"#!/usr/bin/env -S A=b node --flag\n", "node"},
        {"#!/no/such/node", "/no/such/node"},
        {"#!/bin/sh -e\n", ""},
        {"\x7f", ""},
    };
    home.file(".npm/_cacache/content-v2/archive", 50'000);
    for (const auto& [npm, missing] : cases) {
        if (*npm) home.text(".local/bin/npm", npm);
        const CleanupItem item = module().scan(context).items.at(0);
        EXPECT_EQ(item.removal.isCommand(), !*missing) << npm;
        EXPECT_EQ(item.classification, *missing ? Classification::protected_ : Classification::safe);
        EXPECT_EQ(factOf(item, "Remove it yourself with"), *missing ? "npm cache clean --force" : "");
        const std::string reason = *missing ? "found no " + std::string(missing) + " in" : "npm";
        EXPECT_THAT(item.explanation.storedWhatItIs, HasSubstr(reason));
    }
}

}  // namespace
}  // namespace brindle
