#include "core/model/receipt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "core/model/receipt_json.h"

namespace brindle {
namespace {

ReceiptEntry entryOf(RemovalMethod method, std::uint64_t bytes) {
    ReceiptEntry entry;
    entry.itemID = "rust.target";
    entry.moduleID = ModuleID::rust;
    entry.title = "target";
    entry.paths = {"/home/u/target"};
    entry.bytes = bytes;
    entry.method = method;
    return entry;
}

// Every field, and names that are no UTF-8, hold a NUL, or look like what stands for such bytes.
Receipt fullReceipt() {
    ReceiptEntry entry = entryOf(RemovalMethod::trashed, ~std::uint64_t{0});
    entry.paths = {"/caf\xe9/\xff\xfe", "/two\nlines \"\\", "/é\xe2\x82"};
    entry.regeneratedBy = Regeneration{Regeneration::Kind::command, "cargo build"};
    entry.note = std::string(
        "a\0"
        "41 \xc3",
        6);
    entry.classification = Classification::review;
    entry.action = "";
    entry.pathFailures = {"/b\x80: busy"};
    entry.trashedPaths = std::vector<std::string>();
    entry.trashedObjects = {{"/caf\xe9", "/T/\xff", -1, ~std::uint64_t{0}, 0xFFFF}};
    return {.id = *uuidFrom("f81d4fae-7dec-41d0-a765-00a0c91e6bf6"),
            .performedAt = *timeFromIso8601("2026-11-21T19:39:00Z"),
            .entries = {entry, entryOf(RemovalMethod::refused, 0)},
            .wasDryRun = true};
}

TEST(Uuid, IsReadInEitherCaseAndInNoOtherForm) {
    const auto uuid = uuidFrom("f81d4fae-7DEC-41d0-a765-00a0c91e6bf6");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->text(), "F81D4FAE-7DEC-41D0-A765-00A0C91E6BF6");
    for (const char* wrong :
         {"", "f81d4fae-7dec-41d0-a765-00a0c91e6bf", "f81d4fae-7dec-41d0-a765-00a0c91e6bf61",
          "f81d4fae7-dec-41d0-a765-00a0c91e6bf6", "f81d4fae-7dec-41d0-a765-00a0c91e6b-6",
          "{81d4fae-7dec-41d0-a765-00a0c91e6bf6", "f81d4fae-7dec-41d0-a765-00a0c91e6b 6"}) {
        EXPECT_FALSE(uuidFrom(wrong)) << wrong;
    }
    std::set<Uuid> fresh;
    for (int count = 0; count < 1000; ++count) fresh.insert(Uuid::fresh().value());
    EXPECT_EQ(fresh.size(), 1000U);
    EXPECT_TRUE(std::ranges::all_of(fresh, [](const Uuid& made) { return made.text()[14] == '4'; }));
}

TEST(Receipt, CountsOnlyWhatWentAndKeepsTheTrashApart) {
    Receipt receipt;
    for (const auto& [method, bytes] : {std::pair{RemovalMethod::deleted, 100},
                                        {RemovalMethod::trashed, 40},
                                        {RemovalMethod::refused, 1000},
                                        {RemovalMethod::failed, 2000}}) {
        receipt.entries.push_back(entryOf(method, static_cast<std::uint64_t>(bytes)));
    }
    EXPECT_EQ(receipt.bytesFreed(), 140U);
    EXPECT_EQ(receipt.trashedBytes(), 40U);
    EXPECT_EQ(receipt.reclaimedBytes(), 100U);
    receipt.entries.push_back(entryOf(RemovalMethod::command, 7));
    EXPECT_EQ(receipt.reclaimedBytes(), 107U);

    for (ReceiptEntry& entry : receipt.entries) {
        entry.trashedPaths = std::vector<std::string>{"/gone", "/" + std::string(rawText(entry.method))};
        EXPECT_FALSE(entry.isPartialFailure());
        entry.pathFailures = {"/a: busy"};
        EXPECT_EQ(entry.isPartialFailure(), entry.isFreeing());
    }
    const auto found = receipt.recoverable([](const std::string& path) { return path == "/trashed"; });
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front(), receipt.entries[1]);
}

TEST(ReceiptJson, KeepsEveryByteOfEveryField) {
    const std::vector<Receipt> receipts{fullReceipt(), Receipt{.id = {}, .performedAt = {}, .entries = {}}};
    const std::string text = receiptsText(receipts);
    EXPECT_EQ(receiptsFromText(text), receipts) << text;

    Receipt plain = fullReceipt();
    plain.entries.erase(plain.entries.begin());
    EXPECT_EQ(receiptsText({plain}), R"([
  {
    "entries": [
      {
        "bytes": 0,
        "itemID": "rust.target",
        "method": "refused",
        "moduleID": "rust",
        "paths": [
          "/home/u/target"
        ],
        "title": "target"
      }
    ],
    "id": "F81D4FAE-7DEC-41D0-A765-00A0C91E6BF6",
    "performedAt": "2026-11-21T19:39:00Z",
    "wasDryRun": true
  }
]
)");
}

TEST(ReceiptJson, IsReadAsOthersMayWriteItAndRefusedWhenItIsWrong) {
    const std::string good = receiptsText({fullReceipt()});
    const auto isReadWith = [&good](std::string_view from, std::string_view to) {
        std::string text = good;
        return receiptsFromText(text.replace(text.find(from), from.size(), to)).has_value();
    };
    using Change = std::pair<std::string_view, std::string_view>;
    for (const auto& [from, to] :
         {Change{R"("wasDryRun")", R"("unknown": [{"a": null}], "wasDryRun")"},
          Change{"F81D4FAE", "f81d4fae"}, Change{R"("action": "")", R"("action": null)"},
          Change{"19:39:00Z", "20:39:00.000+01:00"}}) {
        EXPECT_TRUE(isReadWith(from, to)) << to;
    }
    // The other entry holds all the bytes that 64 bits can.
    for (const auto& [from, to] :
         {Change{"F81D4FAE", "F81D4FA"}, Change{"19:39:00Z", "19:39:00"},
          Change{R"("2026-11-21T19:39:00Z")", "17"}, Change{": true", ": 1"},
          Change{": true", R"(: true, "id": 1)"}, Change{R"("wasDryRun")", R"("wasdryrun")"},
          Change{R"("bytes": 0)", R"("bytes": -1)"}, Change{R"("bytes": 0)", R"("bytes": 1.0)"},
          Change{R"("bytes": 0)", R"("bytes": 1)"},
          Change{R"("bytes": 0)", R"("bytes": 18446744073709551616)"}, Change{R"("trashed")", R"("Trashed")"},
          Change{R"("rust")", R"("cobol")"}, Change{R"("review")", "7"}, Change{R"("command")", R"("magic")"},
          Change{R"("cargo build")", R"(["cargo build"])"}, Change{"\"paths\": [", "\"paths\": [1, "},
          Change{"\\u0000c3", "\\u0000c"}, Change{"\"target\"", "\"tar\xffget\""}, Change{"[", "{"}}) {
        EXPECT_FALSE(isReadWith(from, to)) << to;
    }
    EXPECT_FALSE(isReadWith(R"("mode": 65535)", R"("mode": 65536)"));
    EXPECT_FALSE(isReadWith(R"("trashedObjects": [)", R"("trashedObjects": [1,)"));
    for (std::size_t length = 0; length + 1 < good.size(); ++length) {
        EXPECT_FALSE(receiptsFromText(std::string_view(good).substr(0, length))) << "cut at " << length;
    }
    for (const char* other : {"null", "{}", "3", "[3]", "[[]]", "[{}]", "[\"a\"]", "[] []"}) {
        EXPECT_FALSE(receiptsFromText(other)) << other;
    }
}

// Minutes and gigabytes, were it not refused on the way.
TEST(ReceiptJson, IsNotOverwhelmed) {
    const auto repeated = [](std::string text, std::string_view piece, int count) {
        for (int index = 0; index < count; ++index) text += piece;
        return text;
    };
    std::string manyKeys = "[{";
    for (int index = 0; index < 200'000; ++index) manyKeys += "\"k" + std::to_string(index) + "\":[],";
    for (const std::string& text :
         {repeated("", "[", 20'000'000), repeated("[", "{\"a\":", 5'000'000), manyKeys,
          repeated("[{\"a\":[", "[],", 15'000'000), std::string(kReceiptsLimit + 1, ' ')}) {
        EXPECT_FALSE(receiptsFromText(text));
    }
}

}  // namespace
}  // namespace brindle
