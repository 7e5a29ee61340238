// Starts one step of a cleanup on a given home, and ends: what tools/torture.py kills and tools/faults.py disturbs. It
// is the program without its scan and its dialogue, so that the time of a run is the time of the cleanup.
//
// Usage: cleanup_driver clean HOME ITEMS   one cleanup; ITEMS: [{"id", "classification", "paths" or "command"}]
//        cleanup_driver start HOME         what every start does: records what an interrupted cleanup has left; and then
//                                          a sample of the disk, as each scan does
//        cleanup_driver back HOME TRASHED ORIGINAL
//
// Prints one JSON object. Exit 0: done; 3: refused or failed, which "refused" explains; 2: wrongly called. With
// CLEANUP_DRIVER_ALONE set only one thread works, so that the same run makes the same calls in the same order.
#include <tbb/global_control.h>

#include <fmt/format.h>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>

#include "core/measure/directory_sizer.h"
#include "core/model/disk_info.h"
#include "core/model/receipt_json.h"
#include "core/session/session.h"
#include "tests/support/sample_item.h"

namespace brindle::test {
namespace {

enum Exit { done = 0, wronglyCalled = 2, refused = 3 };

Exit tell(Exit exit, const SortedJson& json) {
    std::cout << json.dump() << '\n';
    return exit;
}

Exit tellRefusal(const std::string& sentence) {
    return tell(refused, {{"refused", sentence}});
}

CleanupItem itemFrom(const SortedJson& json) {
    const auto id = json.at("id").get<std::string>();
    const auto classification =
        fromRawText<Classification>(json.at("classification").get<std::string>()).value();
    if (json.contains("command")) {
        const std::vector<std::string> words = json.at("command");
        return itemOf(id, {RunCommand{words.front(), {words.begin() + 1, words.end()}}}, classification, 0);
    }
    const std::vector<std::string> paths = json.at("paths");
    HardlinkTracker hardlinks;
    std::uint64_t bytes = 0;
    for (const std::string& path : paths)
        bytes += DirectorySizer().measureConcurrently(path, {.hardlinks = &hardlinks}).allocatedBytes;
    return itemOf(id, {DeletePaths{paths}}, classification, bytes);
}

Exit clean(const Session& session, const std::string& itemsText) {
    const ScanReport report;
    CleanOrder order{.items = {}, .report = report};
    for (const SortedJson& each : SortedJson::parse(itemsText)) order.items.push_back(itemFrom(each));
    const auto outcome = session.clean(order);
    if (!outcome) return tellRefusal(outcome.error().sentence);
    return tell(done, {{"receipt", toSortedJson(outcome->receipt)},
                       {"isRecorded", outcome->isRecorded},
                       {"isInterrupted", outcome->isInterrupted}});
}

Exit start(const Session& session) {
    const auto recorded = session.recordInterrupted();
    if (!recorded) return tellRefusal(recorded.error().sentence);
    const auto receipts = session.history().loadChecked();
    if (!receipts) return tellRefusal(receipts.error().cause.describe());
    if (const auto disk = DiskInfo::current(session.home()))
        (void)session.trend().record(*disk, std::chrono::system_clock::now());
    return tell(done, {{"receipts", receipts->size()}, {"hasRecorded", recorded->has_value()}});
}

Exit putBack(const Session& session, const std::string& trashed, const std::string& original) {
    const auto identity = PathIdentity::read(trashed);
    if (!identity) return tellRefusal("nothing lies there");
    const auto back = session.trash().putBack(
        trashed, original, {.device = identity->device, .inode = identity->inode, .mode = identity->mode});
    if (!back) return tell(refused, {{"refused", back.error().describe()}, {"liesAt", back.error().liesAt}});
    return tell(done, {{"path", original}});
}

Exit run(std::span<char*> words) {
    const std::vector<std::string> arguments(words.begin(), words.end());
    if (arguments.size() < 3) return wronglyCalled;
    const char* temporary = std::getenv("TMPDIR");
    std::vector<std::string> environment;
    if (temporary != nullptr) environment.push_back(std::string("TMPDIR=") + temporary);
    const Session session({.path = arguments[2], .isCurrentUser = false, .environment = environment});
    if (arguments[1] == "start") return start(session);
    if (arguments[1] == "clean" && arguments.size() == 4) return clean(session, arguments[3]);
    if (arguments[1] == "back" && arguments.size() == 5) return putBack(session, arguments[3], arguments[4]);
    return wronglyCalled;
}

}  // namespace
}  // namespace brindle::test

int main(int count, char** words) {
    std::optional<tbb::global_control> alone;
    if (std::getenv("CLEANUP_DRIVER_ALONE") != nullptr)
        alone.emplace(tbb::global_control::max_allowed_parallelism, 1U);
    return brindle::test::run({words, static_cast<std::size_t>(count)});
}
