#include "core/modules/property_list.h"

#include <gtest/gtest.h>

#include "core/platform/files.h"
#include "tests/support/test_home.h"

namespace brindle::test {
namespace {

std::string bigEndian(std::uint64_t number, int length) {
    std::string bytes;
    for (int byte = length - 1; byte >= 0; --byte) bytes += static_cast<char>(number >> (8 * byte) & 0xFFU);
    return bytes;
}

// A binary list of these objects, the first of them the root; references and offsets take two bytes.
std::string binaryList(const std::vector<std::string>& objects) {
    std::string list = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(list.size(), 2);
        list += object;
    }
    const std::size_t table = list.size();
    return list + offsets + bigEndian(0x0202, 8) + bigEndian(objects.size(), 8) + bigEndian(0, 8) +
           bigEndian(table, 8);
}

// An array that refers to these objects.
std::string arrayOf(const std::vector<std::uint64_t>& references) {
    std::string object = static_cast<char>(0xA0U | references.size()) + std::string();
    for (const std::uint64_t reference : references) object += bigEndian(reference, 2);
    return object;
}

// Each but the last refers to the next one so many times.
std::string chain(std::size_t levels, std::size_t times) {
    std::vector<std::string> objects;
    for (std::size_t level = 1; level < levels; ++level)
        objects.push_back(arrayOf(std::vector<std::uint64_t>(times, level)));
    objects.push_back(arrayOf({}));
    return binaryList(objects);
}

std::string repeated(std::string_view text, std::size_t times) {
    std::string all;
    for (; times > 0; --times) all += text;
    return all;
}

std::string xmlList(std::string_view content) {
    return "<plist version=\"1.0\">\n" + std::string(content) + "\n</plist>\n";
}

std::string nested(std::size_t levels) {
    return xmlList(repeated("<array>", levels) + repeated("</array>", levels));
}

std::string keys(int count) {
    std::string content;
    for (int key = 0; key < count; ++key) content += "<key>" + std::to_string(key) + "</key><true/>";
    return xmlList("<dict>" + content + "</dict>");
}

std::string kept(const std::string& name) {
    return resourcesFolder() + "/../tests/fuzz/corpus/property_list/" + name;
}

PropertyList only(std::string_view xml) {
    const auto list = PropertyList::parse(xmlList("<array>" + std::string(xml) + "</array>"));
    const auto* array = list ? std::get_if<PropertyList::Array>(&list->value) : nullptr;
    return array != nullptr && array->size() == 1 ? array->front() : PropertyList{"no list of one value"};
}

TEST(PropertyList, ReadsEqualValuesFromBothForms) {
    const auto list = readPropertyList(kept("info.xml"));
    ASSERT_TRUE(list);
    EXPECT_EQ(list, readPropertyList(kept("info.binary")));
    EXPECT_EQ(list->text("CFBundleIdentifier"), "com.example.Editor");
    EXPECT_EQ(list->text("CFBundleName"), "Éditeur 東京 😀");
    EXPECT_EQ(list->date("Built"), std::chrono::sys_seconds(std::chrono::seconds(1'710'000'001)));
    EXPECT_EQ(*list->find("Negative"), PropertyList{std::int64_t{-1}});
    EXPECT_EQ(*list->find("Large"), PropertyList{std::int64_t{1} << 40});
    EXPECT_EQ(*list->find("Ratio"), PropertyList{0.25});
    EXPECT_EQ(*list->find("LSRequiresNativeExecution"), PropertyList{true});
    EXPECT_EQ(*list->find("Icon"), PropertyList{});
    EXPECT_FALSE(list->text("BuildNumber") || list->date("CFBundleName") || list->find("Missing"));
    const auto derived = readPropertyList(kept("derived_data.binary"));
    EXPECT_EQ(derived->text("WorkspacePath"), "/Users/jo/src/Über & Co/App.xcodeproj");
}

TEST(PropertyList, TellsNoFalseNumberOrDate) {
    EXPECT_EQ(only("<integer> -9223372036854775807 </integer>"), PropertyList{-INT64_MAX});
    EXPECT_EQ(only("<integer>0x7FFFFFFFFFFFFFFF</integer>"), PropertyList{INT64_MAX});
    EXPECT_EQ(only("<integer>18446744073709551615</integer>"), PropertyList{});
    EXPECT_EQ(PropertyList::parse(binaryList({"\x14" + bigEndian(0, 8) + bigEndian(UINT64_MAX, 8)})),
              PropertyList{});
    EXPECT_EQ(only("<date>4001-01-01T00:00:00Z</date>"), PropertyList{});
    for (const std::string wrong :
         {"<integer>twelve</integer>", "<integer>012</integer>", "<integer/>", "<date/>",
          "<integer>1<!-- -->2</integer>", "<integer>-18446744073709551615</integer>",
          "<date>2001-99-01T00:00:00Z</date>", "<date>yesterday</date>"})
        EXPECT_FALSE(PropertyList::parse(xmlList(wrong))) << wrong;
    const std::string notANumber = "\x33" + bigEndian(0x7FF8000000000000, 8);
    EXPECT_FALSE(PropertyList::parse(binaryList({notANumber})));
}

TEST(PropertyList, RefusesWhatIsBrokenOrCutOff) {
    for (const auto* name : {"info.xml", "info.binary"}) {
        const std::string whole = *readFile(kept(name));
        const std::size_t end = std::min(whole.size(), whole.find("</dict>\n</plist>"));
        for (std::size_t size = 0; size < end; ++size)
            EXPECT_FALSE(PropertyList::parse(whole.substr(0, size))) << size;
    }
    const std::vector<std::string> broken = {
        "{ \"a\": 1 }",
        "bplist01" + chain(1, 0).substr(8),
        binaryList({"\x51" + std::string(1, '\0')}),
        binaryList({"\x61" + bigEndian(0xD800, 2)}),
        binaryList({arrayOf({7})}),
        binaryList({"\x5F\x13" + bigEndian(UINT64_MAX, 8)}),
        "<!DOCTYPE plist [<!ENTITY a \"b\">]>" + xmlList("<true/>"),
        xmlList("<dict><key>a</key></array>"),
        xmlList("<string>a<array></string>"),
        xmlList("<string a=\">\"/>"),
    };
    for (const auto& bytes : broken) EXPECT_FALSE(PropertyList::parse(bytes)) << bytes;
}

TEST(PropertyList, IsBoundedInDepthCopiesAndWork) {
    const std::size_t deepest = PropertyList::kDepthLimit;
    EXPECT_TRUE(PropertyList::parse(chain(deepest, 1)) && PropertyList::parse(nested(deepest)));
    EXPECT_FALSE(PropertyList::parse(chain(deepest + 1, 1)) || PropertyList::parse(nested(deepest + 1)));
    EXPECT_FALSE(PropertyList::parse(nested(1'000'000)) || PropertyList::parse(chain(10'000, 1)));
    EXPECT_FALSE(PropertyList::parse(binaryList({arrayOf({1}), arrayOf({0})})));
    EXPECT_TRUE(PropertyList::parse(chain(10, 2)));
    EXPECT_FALSE(PropertyList::parse(chain(40, 2)));
    const auto fourteen = [](std::uint64_t reference) {
        return arrayOf(std::vector<std::uint64_t>(14, reference));
    };
    const std::string text = "\x5F\x12" + bigEndian(30'000, 4) + std::string(30'000, 'a');
    EXPECT_TRUE(PropertyList::parse(binaryList({fourteen(1), fourteen(2), text})));
    EXPECT_FALSE(PropertyList::parse(binaryList({fourteen(1), fourteen(2), fourteen(3), text})));
    EXPECT_TRUE(PropertyList::parse(keys(7'000)));
    EXPECT_FALSE(PropertyList::parse(keys(20'000)));
    EXPECT_FALSE(PropertyList::parse(xmlList("<string>" + repeated("&lt;", 1'000'000) + "</string>")));
    EXPECT_FALSE(PropertyList::parse(xmlList("<array>" + repeated("<true/>", 300'000) + "</array>")));
    EXPECT_FALSE(PropertyList::parse(std::string(PropertyList::kLimit + 1, ' ')));
}

}  // namespace
}  // namespace brindle::test
