// An open file descriptor and its end. For bodies in core/platform and core/removal only.
#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace brindle {

// Repeats a call that a signal interrupted.
template <typename Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

// Owned by one thread at a time. Negative means none. Destruction keeps errno.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            number_ = std::exchange(other.number_, -1);
        }
        return *this;
    }

    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }

    // A second close after EINTR could hit a descriptor that another thread has just been given.
    void reset() {
        const int before = errno;
        if (number_ >= 0) ::close(std::exchange(number_, -1));
        errno = before;
    }

  private:
    int number_;
};

}  // namespace brindle
