// The time zone in which a test's user lives.
#pragma once

#include <unicode/timezone.h>

#include <cstdlib>

namespace brindle::test {

inline void liveIn(const char* zone) {
    setenv("TZ", zone, 1);
    icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
}

// Until it goes out of scope; then UTC.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) { liveIn(zone); }
    ~TimeZone() { liveIn("UTC"); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
};

}  // namespace brindle::test
