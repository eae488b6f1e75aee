// A clock and a time zone that a test sets. Defines the time() of the whole program, so it is
// included by one source file of a test that links the library statically.
#pragma once

#include <cstdlib>
#include <ctime>

namespace lx2::test {

inline time_t gNow = 0;

// Seconds since 1970, and an offset such as "XYZ-5:30" (five and a half hours ahead of UTC).
inline void SetClock(time_t now, const char* zone) {
    gNow = now;
    setenv("TZ", zone, 1);
    tzset();
}

}  // namespace lx2::test

extern "C" time_t time(time_t*) noexcept {
    return lx2::test::gNow;
}
