#include "core/platform/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>

namespace brindle {

namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr int kPollMilliseconds = 200;

static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may touch nothing that locks");
std::atomic<int> interrupts = 0;

int descriptorOf(StandardStream stream) {
    switch (stream) {
        case StandardStream::input:
            return STDIN_FILENO;
        case StandardStream::output:
            return STDOUT_FILENO;
        case StandardStream::errors:
            return STDERR_FILENO;
    }
    return -1;
}

extern "C" void countInterrupt(int) {
    constexpr int kInterrupted = 130;
    if (interrupts.fetch_add(1) > 0) _exit(kInterrupted);
}

void handle(int signal) {
    struct sigaction previous = {};
    if (sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN) return;
    struct sigaction action = {};
    action.sa_handler = countInterrupt;
    // The rest of the program polls interruptRequested(); no call of its needs to fail half-way for that.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

// Someone else may have made the stream non-blocking: it is shared with whoever started this process.
void waitUntilWritable(int descriptor) {
    pollfd waiting = {descriptor, POLLOUT, 0};
    poll(&waiting, 1, kPollMilliseconds);
}

// One byte of the input; absent at its end.
std::expected<std::optional<char>, Error> readByte() {
    constexpr std::string_view kReading = "read the input";
    while (true) {
        if (interruptRequested()) return std::unexpected(errorFrom(EINTR, kReading, ""));
        // Waits in steps: the signal may have gone to another thread, or come just before this call.
        pollfd waiting = {STDIN_FILENO, POLLIN, 0};
        if (poll(&waiting, 1, kPollMilliseconds) <= 0) continue;
        char byte = 0;
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count == 1) return byte;
        if (count == 0) return std::nullopt;
        if (errno != EINTR && errno != EAGAIN) return std::unexpected(errorFrom(errno, kReading, ""));
    }
}

}  // namespace

bool isTerminal(StandardStream stream) {
    return isatty(descriptorOf(stream)) == 1;
}

std::optional<unsigned> terminalWidth() {
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        winsize size = {};
        if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    }
    return std::nullopt;
}

bool isInForeground() {
    return tcgetpgrp(STDERR_FILENO) == getpgrp();
}

std::expected<void, Error> writeAll(StandardStream stream, std::string_view bytes) {
    const int descriptor = descriptorOf(stream);
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            waitUntilWritable(descriptor);
        } else if (errno != EINTR) {
            return std::unexpected(errorFrom(errno, "write the output", ""));
        }
    }
    return {};
}

void ignoreClosedPipes() {
    signal(SIGPIPE, SIG_IGN);
}

std::expected<std::optional<std::string>, Error> readLine() {
    std::string line;
    while (line.size() <= kLongestLine) {
        const auto byte = readByte();
        if (!byte) return std::unexpected(byte.error());
        if (!*byte && line.empty()) return std::nullopt;
        if (!*byte || **byte == '\n') return line;
        line += **byte;
    }
    return std::unexpected(malformedError("read the input", "", "the line is too long"));
}

void installInterruptHandler() {
    handle(SIGINT);
    handle(SIGTERM);
    handle(SIGHUP);
}

int interruptCount() {
    return interrupts.load();
}

}  // namespace brindle
