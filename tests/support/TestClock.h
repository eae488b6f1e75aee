// A clock and a time zone that a test sets. Defines the time() of the whole program, so it is
// included by one source file of a test that links the library statically.
#pragma once

#include <cstdlib>
#include <ctime>

namespace lx2::test {

inline time_t gNow = 0;  // 0: 1 January 1970

// Sets the clock to a moment of UTC, and the zone to an offset such as "XYZ-5:30" (east of it).
inline void SetClock(int year, int month, int day, int hour, int minute, int second,
                     const char* zone = "UTC") {
    tm moment{};
    moment.tm_year = year - 1900;
    moment.tm_mon = month - 1;
    moment.tm_mday = day;
    moment.tm_hour = hour;
    moment.tm_min = minute;
    moment.tm_sec = second;
    gNow = timegm(&moment);
    setenv("TZ", zone, 1);
    tzset();
}

}  // namespace lx2::test

extern "C" time_t time(time_t* out) noexcept {
    if (out != nullptr)
        *out = lx2::test::gNow;
    return lx2::test::gNow;
}
