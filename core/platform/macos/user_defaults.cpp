#include "core/platform/user_defaults.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <limits>

#include "core/platform/files.h"
#include "core/platform/macos/core_foundation.h"

namespace brindle {

namespace {

using Object = CfOwned<CFTypeRef>;

CFStringRef applicationID() {
    return CFSTR("dev.brindle.Brindle");
}

DefaultsValue numberFrom(CFNumberRef number) {
    std::int64_t whole = 0;
    if (!CFNumberIsFloatType(number) && CFNumberGetValue(number, kCFNumberSInt64Type, &whole) && whole >= 0) {
        return static_cast<std::uint64_t>(whole);
    }
    double value = 0;
    CFNumberGetValue(number, kCFNumberDoubleType, &value);
    return value;
}

DefaultsValue listFrom(CFArrayRef array) {
    std::vector<std::string> list;
    for (CFIndex index = 0; index < CFArrayGetCount(array); ++index) {
        const auto text = textFrom(CFArrayGetValueAtIndex(array, index));
        if (!text) return std::monostate();
        list.push_back(*text);
    }
    return list;
}

TimePoint momentFrom(CFDateRef date) {
    const double seconds = CFDateGetAbsoluteTime(date) + kCFAbsoluteTimeIntervalSince1970;
    return TimePoint(std::chrono::seconds(static_cast<std::int64_t>(std::floor(seconds))));
}

DefaultsData dataFrom(CFDataRef data) {
    return {std::string(reinterpret_cast<const char*>(CFDataGetBytePtr(data)),
                        static_cast<std::size_t>(CFDataGetLength(data)))};
}

DefaultsValue valueFrom(CFTypeRef object) {
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFBooleanGetTypeID()) return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
    if (type == CFNumberGetTypeID()) return numberFrom(static_cast<CFNumberRef>(object));
    if (type == CFArrayGetTypeID()) return listFrom(static_cast<CFArrayRef>(object));
    if (type == CFDateGetTypeID()) return momentFrom(static_cast<CFDateRef>(object));
    if (type == CFDataGetTypeID()) return dataFrom(static_cast<CFDataRef>(object));
    if (auto text = textFrom(object)) return *std::move(text);
    return std::monostate();
}

// Null for what the database cannot hold.
struct ObjectWriter {
    Object operator()(bool value) const { return Object(CFRetain(value ? kCFBooleanTrue : kCFBooleanFalse)); }
    Object operator()(std::uint64_t value) const {
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return Object(nullptr);
        const auto whole = static_cast<std::int64_t>(value);
        return Object(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &whole));
    }
    Object operator()(double value) const {
        return Object(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
    }
    Object operator()(const std::string& value) const {
        const auto text = cfText(value);
        return Object(text ? CFRetain(text.get()) : nullptr);
    }
    Object operator()(const std::vector<std::string>& list) const {
        const CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
        Object owned(array);
        for (const auto& entry : list) {
            const auto text = cfText(entry);
            if (!text) return Object(nullptr);
            CFArrayAppendValue(array, text.get());
        }
        return owned;
    }
    Object operator()(TimePoint value) const {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(value).time_since_epoch().count();
        return Object(CFDateCreate(kCFAllocatorDefault,
                                   static_cast<double>(seconds) - kCFAbsoluteTimeIntervalSince1970));
    }
    Object operator()(const DefaultsData& value) const {
        return Object(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(value.bytes.data()),
                                   static_cast<CFIndex>(value.bytes.size())));
    }
    Object operator()(std::monostate) const { return Object(nullptr); }
};

class NativeDefaults final : public UserDefaults {
  public:
    explicit NativeDefaults(std::string lockPath) : lockPath_(std::move(lockPath)) {}

    std::expected<std::optional<DefaultsValue>, Error> value(std::string_view key) const override {
        // Takes up what other processes stored since this one last looked.
        if (!CFPreferencesAppSynchronize(applicationID()))
            return std::unexpected(failure("read the preferences"));
        const auto name = cfText(key);
        if (!name) return std::nullopt;
        const Object object(CFPreferencesCopyAppValue(name.get(), applicationID()));
        if (!object) return std::nullopt;
        return valueFrom(object.get());
    }

    // The database is safe for single writes; the lock is for reading, changing and writing as one step.
    std::expected<void, Error> update(std::string_view key, const Change& change) override {
        const auto lock = FileLock::acquire(lockPath_);
        if (!lock) return std::unexpected(lock.error());
        const auto stored = value(key);
        if (!stored) return std::unexpected(stored.error());
        const auto changed = change(*stored);
        if (!changed) return std::unexpected(changed.error());
        if (*changed == *stored) return {};
        return put(key, *changed);
    }

    std::string location() const override { return "dev.brindle.Brindle"; }

  private:
    Error failure(std::string_view operation) const { return errorFrom(EIO, operation, location()); }

    std::expected<void, Error> put(std::string_view key, const std::optional<DefaultsValue>& value) const {
        const auto name = cfText(key);
        const Object object = value ? std::visit(ObjectWriter(), *value) : Object(nullptr);
        if (!name || (value && !object)) {
            return std::unexpected(
                malformedError("write the preferences", location(), "not text or not a number"));
        }
        CFPreferencesSetAppValue(name.get(), object.get(), applicationID());
        if (!CFPreferencesAppSynchronize(applicationID()))
            return std::unexpected(failure("write the preferences"));
        return {};
    }

    std::string lockPath_;
};

}  // namespace

std::shared_ptr<UserDefaults> standardDefaults(const std::string& configFolder) {
    return std::make_shared<NativeDefaults>(configFolder + "/brindle/preferences.lock");
}

}  // namespace brindle
