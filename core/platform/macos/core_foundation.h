// Core Foundation's objects with an owner, and the few conversions that the macOS bodies share.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace brindle {

// Releases what a function with Create or Copy in its name returned; null is allowed.
template <typename Ref>
class CfOwned {
  public:
    explicit CfOwned(Ref reference) : reference_(reference) {}
    ~CfOwned() {
        if (reference_ != nullptr) CFRelease(reference_);
    }
    CfOwned(CfOwned&& other) noexcept : reference_(std::exchange(other.reference_, nullptr)) {}
    CfOwned& operator=(CfOwned&&) = delete;

    Ref get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }

  private:
    Ref reference_;
};

// Null when the bytes are not UTF-8.
inline CfOwned<CFStringRef> cfText(std::string_view text) {
    return CfOwned<CFStringRef>(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

// Absent for another type, and for text that UTF-8 cannot hold (a lone surrogate).
inline std::optional<std::string> textFrom(CFTypeRef object) {
    if (object == nullptr || CFGetTypeID(object) != CFStringGetTypeID()) return std::nullopt;
    const auto text = static_cast<CFStringRef>(object);
    const CFRange all = CFRangeMake(0, CFStringGetLength(text));
    CFIndex bytes = 0;
    if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, nullptr, 0, &bytes) != all.length) {
        return std::nullopt;
    }
    std::string result(static_cast<std::size_t>(bytes), '\0');
    CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, false, reinterpret_cast<UInt8*>(result.data()),
                     bytes, nullptr);
    return result;
}

}  // namespace brindle
