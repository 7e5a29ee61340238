#include "core/platform/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <utility>

#include "core/platform/posix/descriptor.h"
#include "core/platform/posix/failure.h"
#include "core/platform/posix/spawn_isolation.h"

namespace brindle {

namespace {

bool holdsNul(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

bool isExpressible(const ChildProcessOptions& options) {
    return !holdsNul(options.executable) && !holdsNul(options.workingFolder) &&
           std::ranges::none_of(options.arguments, holdsNul) &&
           std::ranges::none_of(options.environment, holdsNul);
}

// Above 2 even where this process runs with its own standard descriptors closed: the child's are put in place
// by copying, and a copy onto 1 must not destroy what is to be copied onto 2.
std::expected<Descriptor, Error> outputFile(const std::string& path) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOFOLLOW;
    Descriptor file(retried([&] { return ::open(path.c_str(), kFlags, 0600); }));
    if (!file) return failure("create", path);
    if (file.get() > STDERR_FILENO) return file;
    Descriptor higher(retried([&] { return ::fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1); }));
    if (!higher) return failure("open", path);
    return higher;
}

class SpawnActions {
  public:
    SpawnActions() { ::posix_spawn_file_actions_init(&actions_); }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    int prepare(const Descriptor& out, const Descriptor& err, const std::string& folder, short& flags) {
        int code = ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (code == 0) code = ::posix_spawn_file_actions_adddup2(&actions_, out.get(), STDOUT_FILENO);
        if (code == 0) code = ::posix_spawn_file_actions_adddup2(&actions_, err.get(), STDERR_FILENO);
        if (code == 0) code = startInFolder(actions_, folder.c_str());
        if (code == 0) code = closeOtherDescriptors(actions_, flags);
        return code;
    }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

class SpawnAttributes {
  public:
    SpawnAttributes() { ::posix_spawnattr_init(&attributes_); }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    int prepare(short flags) {
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        // Some systems take it for a fault to name these two, which never have another action.
        for (const int fixed : {SIGKILL, SIGSTOP}) ::sigdelset(&all, fixed);
        int code = ::posix_spawnattr_setsigmask(&attributes_, &none);
        if (code == 0) code = ::posix_spawnattr_setsigdefault(&attributes_, &all);
        if (code == 0) code = ::posix_spawnattr_setflags(&attributes_, flags);
        return code;
    }
    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

// The called function wants writable texts and promises not to write.
std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 2);
    for (const auto& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

void makeEndsKnown() {
    struct sigaction action{};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0) return;
    if (action.sa_handler != SIG_IGN && (action.sa_flags & SA_NOCLDWAIT) == 0) return;
    action.sa_handler = SIG_DFL;
    action.sa_flags = 0;
    ::sigaction(SIGCHLD, &action, nullptr);
}

constexpr std::int32_t kUnknownStatus = 255;

}  // namespace

std::expected<ChildProcess, Error> ChildProcess::start(const ChildProcessOptions& options) {
    if (!isExpressible(options)) return failure("start", options.executable, EINVAL);
    const auto out = outputFile(options.stdoutPath);
    if (!out) return std::unexpected(out.error());
    const auto err = outputFile(options.stderrPath);
    if (!err) return std::unexpected(err.error());

    auto flags = static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    SpawnActions actions;
    SpawnAttributes attributes;
    int code = actions.prepare(*out, *err, options.workingFolder, flags);
    if (code == 0) code = attributes.prepare(flags);
    if (code != 0) return failure("prepare the start of", options.executable, code);

    auto arguments = pointersTo(options.arguments);
    arguments.insert(arguments.begin(), const_cast<char*>(options.executable.c_str()));
    const auto environment = pointersTo(options.environment);
    makeEndsKnown();
    pid_t processId = -1;
    code = ::posix_spawn(&processId, options.executable.c_str(), actions.get(), attributes.get(),
                         arguments.data(), environment.data());
    if (code != 0) return failure("start", options.executable, code);
    return ChildProcess(processId);
}

// The end is looked at without reaping: a dead child that is not reaped keeps its number, and with it its
// group's.
void ChildProcess::await(int options) {
    if (status_ || processId_ < 0) return;
    siginfo_t info{};
    const int got = retried(
        [&] { return ::waitid(P_PID, static_cast<id_t>(processId_), &info, WEXITED | WNOWAIT | options); });
    if (got != 0) {
        status_ = kUnknownStatus;
        processId_ = -1;
    } else if (info.si_pid == processId_) {
        status_ = info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
    }
}

std::optional<std::int32_t> ChildProcess::poll() {
    await(WNOHANG);
    return status_;
}

std::int32_t ChildProcess::wait() {
    await(0);
    return status_.value_or(kUnknownStatus);
}

void ChildProcess::signalGroup(int signal) const {
    if (processId_ > 0) ::kill(-processId_, signal);
}

void ChildProcess::terminate() {
    signalGroup(SIGTERM);
}

void ChildProcess::kill() {
    signalGroup(SIGKILL);
}

void ChildProcess::dispose() noexcept {
    if (!poll()) {
        kill();
        wait();
    }
    if (processId_ > 0) retried([&] { return ::waitpid(processId_, nullptr, 0); });
    processId_ = -1;
}

ChildProcess::~ChildProcess() {
    dispose();
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : processId_(std::exchange(other.processId_, -1)), status_(other.status_) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        dispose();
        processId_ = std::exchange(other.processId_, -1);
        status_ = other.status_;
    }
    return *this;
}

std::chrono::duration<double> systemUptime() {
#ifdef CLOCK_UPTIME_RAW
    constexpr clockid_t kClock = CLOCK_UPTIME_RAW;
#else
    constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
    timespec now{};
    ::clock_gettime(kClock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace brindle
