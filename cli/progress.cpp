#include "cli/progress.h"

#include <string>

#include "cli/display_width.h"
#include "core/model/byte_sum.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);
// So soon after a cancellation the line goes: a second Ctrl-C ends the program wherever it is.
constexpr auto kNotice = std::chrono::milliseconds(10);
constexpr std::string_view kEraseLine = "\r\x1b[K";

}  // namespace

Progress::Progress(Streams& streams, Plan plan) : streams_(streams), plan_(std::move(plan)) {
    if (!plan_.isWanted || !streams_.messageTerminal() || plan_.isCancelled()) return;
    draw();
    thread_ = std::jthread([this] { run(); });
}

Progress::~Progress() {
    finish();
}

void Progress::moduleFinished(const ModuleResult& result) {
    const std::lock_guard guard(lock_);
    ++finished_;
    bytes_ = addBytes(bytes_, result.totalBytes());
}

void Progress::changeTask(std::string task) {
    const std::lock_guard guard(lock_);
    plan_.task = std::move(task);
}

void Progress::finish() {
    {
        const std::lock_guard guard(lock_);
        isOver_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) thread_.join();
    erase();
}

void Progress::run() {
    std::unique_lock guard(lock_);
    auto drawn = std::chrono::steady_clock::now();
    while (!wake_.wait_for(guard, kNotice, [this] { return isOver_; }) && !plan_.isCancelled()) {
        if (std::chrono::steady_clock::now() - drawn < kInterval) continue;
        draw();
        drawn = std::chrono::steady_clock::now();
    }
    erase();
}

void Progress::draw() {
    const unsigned width = streams_.messageTerminal().value_or(0);
    if (width < 2) return;
    // The last column stays free: some terminals go to the next line when it is written.
    streams_.writeMessage("\r" + shortenEnd(line(), width - 1, plan_.glyphs.ellipsis()) + "\x1b[K");
    isDrawn_ = true;
}

void Progress::erase() {
    // In the background the line has become the shell's.
    if (isDrawn_ && streams_.messageTerminal()) streams_.writeMessage(kEraseLine);
    isDrawn_ = false;
}

std::string Progress::line() const {
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    const std::string dot(plan_.glyphs.dot());
    if (!plan_.task.empty()) return plan_.task + dot + ByteFormat::seconds(seconds);
    return localized("%@ of %@ modules", ByteFormat::count(static_cast<std::int64_t>(finished_)),
                     ByteFormat::count(static_cast<std::int64_t>(plan_.moduleCount))) +
           dot + localized("%@ found", ByteFormat::shortText(bytes_)) + dot + ByteFormat::seconds(seconds);
}

}  // namespace brindle
