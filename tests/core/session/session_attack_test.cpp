// A cleanup whose paths are exchanged while it runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "core/session/session.h"
#include "tests/support/sample_item.h"
#include "tests/support/test_home.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;
using test::TestHome;

#ifdef __SANITIZE_THREAD__
constexpr int kSwaps = 10'000;  // looked at for races, a hundred times as slow
#else
constexpr int kSwaps = 100'000;
#endif
constexpr int kTaken = 4;  // so many have to go in each way, or the cleanup was hardly tested

// Relative path -> content and time, or the target of a link.
std::map<std::string, std::string> treeOf(const std::string& top) {
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(top)) {
        std::string& seen = tree[entry.path().lexically_relative(top)];
        if (entry.is_symlink()) {
            seen = fs::read_symlink(entry.path());
        } else if (entry.is_regular_file()) {
            std::ostringstream content;
            content << std::ifstream(entry.path()).rdbuf()
                    << fs::last_write_time(entry.path()).time_since_epoch().count();
            seen = content.str();
        }
    }
    return tree;
}

std::size_t filesCalled(const std::string& name, const std::string& top) {
    std::size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(top))
        count += entry.is_regular_file() && entry.path().filename().string().starts_with(name) ? 1 : 0;
    return count;
}

// Puts a link to the sentinel, then a folder of somebody else, in the place of `path`; and its own thing back.
class Swapper {
  public:
    Swapper(const TestHome& home, const std::string& path, const std::string& sentinel,
            const std::string& stranger)
        : path_(home.path(path)),
          aside_(home.path("aside/" + fs::path(path).filename().string())),
          sentinel_(home.path(sentinel)),
          stranger_(home.path(stranger)) {}

    int swap() {
        swaps_ = 0;
        // A cleanup that was about to take the stranger has brought it back to where it found it.
        if (!fs::exists(stranger_)) renamed(path_, stranger_);
        const std::string aside = aside_ + std::to_string(turn_);
        const bool isAside = renamed(path_, aside);
        std::error_code failed;
        fs::create_symlink(sentinel_, path_, failed);
        if (!failed) swaps_ += fs::is_symlink(path_, failed) && fs::remove(path_, failed) ? 2 : 1;
        if (renamed(stranger_, path_)) renamed(path_, stranger_);
        if (isAside && !renamed(aside, path_)) turn_ += 1;
        return swaps_;
    }

  private:
    bool renamed(const std::string& from, const std::string& to) {
        std::error_code failed;
        fs::rename(from, to, failed);
        swaps_ += failed ? 0 : 1;
        return !failed;
    }

    std::string path_, aside_, sentinel_, stranger_;
    int swaps_ = 0;
    int turn_ = 0;
};

void fill(const TestHome& home, const std::string& folder, const std::string& name, int files) {
    std::error_code failed;
    fs::create_directories(home.path(folder + "/deep"), failed);
    for (int index = 0; index < files; ++index) {
        const std::string file = "/" + name + std::to_string(index);
        std::ofstream(home.path(folder + (index % 2 == 0 ? "/deep" : "") + file)) << name << index;
    }
}

TEST(SessionAttack, RemovesNothingThatWasSwappedIn) {
    TestHome home;
    fill(home, "sentinel/leaf", "kept", 20);
    fill(home, "sentinel/reviewed", "kept", 20);
    for (const char* stranger : {"strangers/leaf", "strangers/reviewed", "strangers/parent"}) {
        fill(home, stranger, "stranger", 10);
        fill(home, std::string(stranger) + "/leaf", "stranger", 4);
    }
    for (const char* folder : {"aside", "made", ".cache/parent"}) home.folder(folder);
    const auto sentinel = treeOf(home.path("sentinel"));
    const std::size_t strangers = filesCalled("stranger", home.path());

    std::atomic<bool> isOver = false;
    std::atomic<int> swaps = 0;
    std::thread attacker([&] {
        std::vector<Swapper> swappers;
        swappers.emplace_back(home, ".cache/parent/leaf", "sentinel/leaf", "strangers/leaf");
        swappers.emplace_back(home, ".cache/parent/reviewed", "sentinel/reviewed", "strangers/reviewed");
        swappers.emplace_back(home, ".cache/parent", "sentinel", "strangers/parent");
        // Bursts and pauses, or the cleanup would never come as far as to the removal; at last pauses long enough
        // for the slowest disk.
        std::mt19937 chance(20261121);
        while (!isOver) {
            for (auto burst = chance() % 20; burst > 0; --burst) {
                for (Swapper& each : swappers) swaps += each.swap();
            }
            const auto longest = swaps < kSwaps ? 2'000U : 1'000'000U;
            std::this_thread::sleep_for(std::chrono::microseconds(chance() % longest));
        }
    });
    const Session session({.path = home.path(), .isCurrentUser = false, .environment = {}});
    const ScanReport report;
    std::map<RemovalMethod, int> methods;
    std::vector<std::string> trashed;
    std::vector<PathIdentity> approved;
    const auto isEnough = [&] {
        return swaps >= kSwaps && methods[RemovalMethod::deleted] >= kTaken &&
               methods[RemovalMethod::trashed] >= kTaken;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(240);
    while (!isEnough() && std::chrono::steady_clock::now() < end) {
        CleanOrder order{.items = {}, .report = report};
        for (const auto& [name, classification] :
             {std::pair{"leaf", Classification::safe}, std::pair{"reviewed", Classification::review}}) {
            const std::string made = std::string("made/") + name;
            const std::string path = home.path(std::string(".cache/parent/") + name);
            fill(home, made, "goes", 4);
            const auto fresh = PathIdentity::read(home.path(made));
            ASSERT_TRUE(fresh);
            approved.push_back(*fresh);
            std::error_code failed;
            fs::rename(home.path(made), path, failed);
            // One of before may lie there still, brought back by the attacker after its cleanup had given up.
            const auto there = failed ? PathIdentity::read(path) : fresh;
            const bool isOurs = there && std::ranges::find(approved, *there) != approved.end();
            CleanupItem item = test::itemOf(path, {DeletePaths{{path}}}, classification);
            item.pathIdentities = {{path, isOurs ? *there : *fresh}};
            order.items.push_back(std::move(item));
        }
        const auto outcome = session.clean(order);
        ASSERT_TRUE(outcome) << outcome.error().sentence;
        EXPECT_TRUE(outcome->isRecorded);
        for (const ReceiptEntry& entry : outcome->receipt.entries) {
            methods[entry.method] += 1;
            for (const std::string& place : entry.trashedPaths.value_or(std::vector<std::string>()))
                trashed.push_back(place);
        }
    }
    isOver = true;
    attacker.join();

    EXPECT_EQ(treeOf(home.path("sentinel")), sentinel);
    EXPECT_EQ(filesCalled("stranger", home.path()), strangers);
    EXPECT_TRUE(isEnough()) << swaps << " swaps, " << methods[RemovalMethod::deleted] << " deleted, "
                            << methods[RemovalMethod::trashed] << " trashed";
    for (const std::string& place : trashed) EXPECT_EQ(filesCalled("goes", place), 4U) << place;
    EXPECT_FALSE(session.history().load().empty());
    RecordProperty("swaps", swaps.load());
    for (const auto& [method, count] : methods) RecordProperty(std::string(rawText(method)), count);
}

}  // namespace
}  // namespace brindle
