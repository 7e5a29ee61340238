#include "core/modules/android_module.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "core/modules/android_devices.h"
#include "core/modules/android_ini.h"
#include "core/platform/files.h"
#include "tests/support/disk_usage.h"
#include "tests/support/item_checks.h"

namespace brindle {
namespace {

using test::factOf;

const std::string kAvd = ".android/avd/";
const std::string kImages = "Library/Android/sdk/system-images/";

std::string configFor(const std::string& image) {
    return "avd.ini.displayname=My Phone\nimage.sysdir.1=system-images/" + image + "/\n";
}

void makeDevice(test::TestHome& home, const std::string& name,
                const std::string& image = "android-34/google_apis/x86") {
    home.text(kAvd + name + ".ini", "avd.ini.encoding=UTF-8\npath=" + home.path(kAvd + name + ".avd") + "\n");
    home.text(kAvd + name + ".avd/config.ini", configFor(image));
    home.file(kAvd + name + ".avd/userdata-qemu.img", 40'000);
}

void makeImage(test::TestHome& home, const std::string& image) {
    home.file(kImages + image + "/system.img", 60'000);
}

// Those with a name in them are checked by their pattern.
void expectTextsAreKnown(const CleanupItem& item) {
    Explanation told = item.explanation;
    if (told.storedWhatItIs.starts_with("Needed") || told.storedWhatItIs.starts_with("It could not"))
        told.storedWhatItIs = told.storedWhatHappensNext;
    test::expectExplainedInEnglish(told);
}

std::map<std::string, CleanupItem> itemsOf(const test::TestHome& home) {
    std::map<std::string, CleanupItem> items;
    for (const CleanupItem& item : AndroidModule().scan(test::contextOf(home)).items) {
        EXPECT_TRUE(items.emplace(item.id.substr(std::string("android.").size()), item).second) << item.id;
        expectTextsAreKnown(item);
    }
    return items;
}

std::vector<std::string> pathsOf(const CleanupItem& item) {
    return item.removal.affectedPaths();
}

TEST(AndroidIni, ReadsEveryFormThatTheToolsWriteAndRefusesTheRest) {
    const std::pair<std::string, std::string> cases[] = {
        {"path=/a b/c\n", "/a b/c"},
        {"\xEF\xBB\xBFpath = /a\r\n# note\r\n; note\r\n\r\ntarget=x", "/a"},
        {"path=/old\rpath=/a\r", "/a"},
        {"Path=/a", ""},
        {"", ""},
        {"path=/\xC3\xA9", "/é"},
        {"avd.ini.encoding=ISO-8859-1\npath=/\xE9\x80", "/é\xC2\x80"},
        {"path=/\xE9\x80\navd.ini.encoding = Windows-1252", "/é€"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(AndroidIni::parse(text).value().value("path").value_or(""), expected) << text;
    for (const std::string& text :
         {std::string("avd.ini.encoding=windows-1252\npath=/\x81"),
          std::string("avd.ini.encoding=Shift_JIS\npath=/\x83\x65"), std::string("path=/\xE9"),
          std::string("path=/a\nnonsense\n"), std::string("pa th=/a"), std::string("\xFF\xFEp\0=\0/\0", 8),
          std::string("p\0a\0", 4), std::string(AndroidIni::kLimit + 1, '\n')}) {
        EXPECT_FALSE(AndroidIni::parse(text).has_value()) << text.substr(0, 80);
    }
}

TEST(AndroidDevices, UnderstandsWhereAnImageFolderPoints) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
        {"system-images/android-34/google_apis/arm64-v8a/", "android-34/google_apis/arm64-v8a"},
        {R"(C:\Sdk\System-Images\android-VanillaIceCream\\google_apis_ps16k\x86_64)",
         "android-vanillaicecream/google_apis_ps16k/x86_64"},
        {"/a b/sdk/./system-images/android-14//armeabi-v7a", "android-14/armeabi-v7a"},
        {"add-ons/addon-google_apis-google-8/images/", ""},
        {"system-images/../other", std::nullopt},
        {"system-images/android-34\x01/a/b", std::nullopt},
    };
    for (const auto& [directory, expected] : cases)
        EXPECT_EQ(usedSystemImage(directory), expected) << directory;
}

TEST(AndroidModule, OffersADeviceWithItsRecordAndTellsWhatIsInIt) {
    test::TestHome home;
    makeDevice(home, "Phone");
    home.sparse(kAvd + "Phone.avd/sdcard.img", 512'000'000);
    home.file(kAvd + "Phone.avd/snapshots/default_boot/ram.bin", 400'000);
    home.text(kAvd + "Phone.avd/hardware-qemu.ini", "x=1\n");
    home.text(kAvd + "Phone.avd/multiinstance.lock", "");  // stays behind when the emulator ends
    makeDevice(home, "Moved");
    home.text(kAvd + "Moved.ini", "path = /home/old/.android/avd/Moved.avd\r\npath.rel = avd\\Moved.avd\r\n");
    for (const char* key : {".android/adbkey", ".android/debug.keystore"}) home.file(key);
    const auto items = itemsOf(home);
    ASSERT_EQ(items.size(), 2U);
    const CleanupItem& phone = items.at("virtualDevice.Phone");
    const std::vector paths = {home.path(kAvd + "Phone.ini"), home.path(kAvd + "Phone.avd")};
    EXPECT_EQ(phone.storedTitle, "Virtual device My Phone");
    EXPECT_EQ(pathsOf(phone), paths);
    EXPECT_EQ(phone.bytes(), test::diskUsage(paths));
    EXPECT_EQ(phone.explanation.regeneratedBy->storedText,
              "avdmanager create avd -n Phone -k \"system-images;android-34;google_apis;x86\"");
    EXPECT_TRUE(factOf(phone, "Snapshots").starts_with("40")) << factOf(phone, "Snapshots");
    EXPECT_TRUE(factOf(phone, "Apparent size").starts_with("512.4 MB")) << factOf(phone, "Apparent size");
    EXPECT_EQ(items.at("virtualDevice.Moved").classification, Classification::review);
}

TEST(AndroidModule, ProtectsADeviceInUseOrInDoubt) {
    test::TestHome home;
    for (const char* name : {"Running", "Locked", "Keys", "Half", "Other"}) makeDevice(home, name);
    const auto held = FileLock::tryAcquire(home.path(kAvd + "Running.avd/multiinstance.lock"));
    ASSERT_TRUE(held);
    home.text(kAvd + "Locked.avd/hardware-qemu.ini.lock", "4242");
    home.file(kAvd + "Keys.avd/Release.JKS");
    home.text(kAvd + "Half.avd/config.ini", "image.sysdir.1=system-images/a/b/c\nhw.lc");
    home.file("Elsewhere.avd/userdata-qemu.img", 90'000);
    home.text("Elsewhere.avd/config.ini", configFor("android-34/google_apis/x86"));
    home.text(kAvd + "Outside.ini", "path=" + home.path("Elsewhere.avd"));
    for (const std::string name : {"$(id)", "-f"}) {
        home.text("far/" + name + ".avd/config.ini", configFor("android-34/google_apis/x86"));
        home.text(kAvd + name + ".ini", "path=" + home.path("far/" + name + ".avd"));
    }
    home.text(kAvd + "Whole.ini", "path=/");  // must not be walked
    home.text(kAvd + "Unplugged.ini", "path=/Volumes/Disk/Unplugged.avd");
    home.text(kAvd + "Second.ini", "path=" + home.path(kAvd + "../avd/Other.avd/"));
    home.folder(kAvd + "Odd.ini");
    const auto items = itemsOf(home);
    std::string ids;
    for (const auto& [id, item] : items) {
        ids += id.substr(id.find('.') + 1) + " ";
        EXPECT_EQ(item.classification, Classification::protected_) << id;
        EXPECT_EQ(item.explanation.storedWhatHappensNext, "Nothing is removed by Brindle.") << id;
        EXPECT_EQ(item.bytes(), test::diskUsage(pathsOf(item))) << id;
    }
    EXPECT_EQ(ids, "$(id) -f Half Keys Locked Other Outside Running Unplugged Whole ");
    EXPECT_EQ(items.at("virtualDevice.Other").storedTitle, "Virtual device Other, Second");
    EXPECT_EQ(pathsOf(items.at("virtualDevice.Other")).size(), 3U);
    EXPECT_EQ(factOf(items.at("virtualDevice.$(id)"), "Remove it yourself with"),
              "avdmanager delete avd -n '$(id)'");
    EXPECT_EQ(factOf(items.at("virtualDevice.-f"), "Remove it yourself with"), "");
    EXPECT_EQ(pathsOf(items.at("virtualDevice.Whole")).size(), 1U);
}

TEST(AndroidModule, OffersBrokenPairsUnlessARecordIsUnreadable) {
    test::TestHome home;
    home.text(kAvd + "Gone.ini", "path=" + home.path(kAvd + "Gone.avd") + "\npath.rel=avd/Gone.avd");
    home.text(kAvd + "Gone.INI", "path=" + home.path(kAvd + "Never.avd"));
    home.file(kAvd + "Orphan.avd/userdata-qemu.img");
    home.file(kAvd + "backup/data");
    home.text(kAvd + "Renamed.ini", "path=" + home.path(kAvd + "New.avd"));
    home.file(kAvd + "Renamed.avd/userdata-qemu.img");
    makeImage(home, "android-30/default/x86");
    auto items = itemsOf(home);
    ASSERT_EQ(items.size(), 5U);
    for (const char* broken :
         {"virtualDevice.Gone", "virtualDevice.Gone.INI", "virtualDeviceFolder.Orphan.avd"})
        EXPECT_EQ(items.at(broken).classification, Classification::review) << broken;
    EXPECT_EQ(pathsOf(items.at("virtualDevice.Gone")), std::vector{home.path(kAvd + "Gone.ini")});
    EXPECT_EQ(items.at("virtualDevice.Renamed").classification, Classification::protected_);

    home.text(kAvd + "Strange.ini", "target=android-34");  // names no folder
    items = itemsOf(home);
    EXPECT_EQ(items.at("virtualDevice.Strange").classification, Classification::protected_);
    EXPECT_EQ(items.at("virtualDeviceFolder.Orphan.avd").classification, Classification::protected_);
    EXPECT_EQ(items.at("virtualDevice.Gone").classification, Classification::review);
}

TEST(AndroidModule, LeavesOutWhatLiesBehindLinksAndStillKnowsWhatItUses) {
    test::TestHome home;
    makeDevice(home, "Big", "android-30/default/x86");
    home.folder("disk");
    std::filesystem::rename(home.path(kAvd + "Big.avd"), home.path("disk/Big.avd"));
    home.link(kAvd + "Big.avd", home.path("disk/Big.avd"));
    makeImage(home, "android-30/default/x86");
    makeImage(home, "android-31/default/x86");
    home.link(kImages + "android-32", "android-31");
    auto items = itemsOf(home);
    EXPECT_EQ(items.size(), 2U);
    EXPECT_EQ(items.at("systemImage.android-30/default/x86").classification, Classification::protected_);
    EXPECT_EQ(items.at("systemImage.android-31/default/x86").classification, Classification::review);

    // The folder itself lies on a disk that is not connected: nobody knows which images are used.
    std::filesystem::rename(home.path(".android"), home.path("away"));
    home.link(".android", home.path("disk/android"));
    items = itemsOf(home);
    EXPECT_EQ(items.at("systemImage.android-31/default/x86").classification, Classification::protected_);
    std::filesystem::rename(home.path("away"), home.path("disk/android"));
    items = itemsOf(home);
    EXPECT_EQ(items.size(), 2U);
    EXPECT_EQ(items.at("systemImage.android-31/default/x86").classification, Classification::review);
}

TEST(AndroidModule, OffersASystemImageOnlyWhenNoDeviceCanUseIt) {
    test::TestHome home;
    makeDevice(home, "Phone", "Android-34\\google_apis\\x86");
    home.text(kAvd + "Orphan.avd/config.ini", configFor("android-31/default/x86"));
    for (const char* image :
         {"android-34/google_apis/x86", "android-34/google_apis_ps16k/x86", "android-31/default/x86"})
        makeImage(home, image);
    home.file("Android/Sdk/system-images/android-33/default/x86/system.img");
    home.file(kImages + "android-14/armeabi-v7a/data/userdata");  // the oldest layout
    const auto items = itemsOf(home);
    EXPECT_EQ(items.size(), 6U);
    const std::string kUnused = "systemImage.android-34/google_apis_ps16k/x86";
    const CleanupItem& unused = items.at(kUnused);
    EXPECT_EQ(unused.classification, Classification::review);
    EXPECT_EQ(unused.explanation.regeneratedBy->storedText,
              "sdkmanager 'system-images;android-34;google_apis_ps16k;x86'");
    EXPECT_EQ(items.at("systemImage.android-34/google_apis/x86").explanation.storedWhatItIs,
              "Needed to start: Phone. Remove the virtual device first.");
    EXPECT_EQ(items.at("systemImage.android-31/default/x86").classification, Classification::protected_);
    EXPECT_EQ(factOf(items.at("sdkSystemImage.android-33/default/x86"), "Remove it yourself with"),
              "sdkmanager --uninstall 'system-images;android-33;default;x86'");

    for (const char* config : {"", "hw.ramSize=2048", "image.sysdir.1=../x", "\xFF\xFEi"}) {
        home.text(kAvd + "Phone.avd/config.ini", config);
        EXPECT_EQ(itemsOf(home).at(kUnused).classification, Classification::protected_) << config;
    }
}

TEST(AndroidModuleUnprivileged, TakesWhatItMayNotReadForUnknown) {
    if (!test::permissionsApply()) GTEST_SKIP() << test::kNeedsUnprivilegedUser;
    test::TestHome home;
    for (const char* name : {"Folder", "Record"}) makeDevice(home, name);
    home.file(kAvd + "Orphan.avd/userdata-qemu.img");
    makeImage(home, "android-30/default/x86");
    home.mode(kAvd + "Record.ini", 0);
    home.mode(kAvd + "Folder.avd", 0);
    auto items = itemsOf(home);
    EXPECT_EQ(items.size(), 4U);
    for (const auto& [id, item] : items) EXPECT_EQ(item.classification, Classification::protected_) << id;
    home.mode(".android/avd", 0);
    items = itemsOf(home);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items.begin()->second.classification, Classification::protected_);
}

}  // namespace
}  // namespace brindle
