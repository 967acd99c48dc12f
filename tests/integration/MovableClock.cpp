#include "tests/integration/MovableClock.h"

#include <cmath>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

double monotonic = 100000;

} // namespace

void MovableClock::advance( double seconds ) {
    monotonic += seconds;
}

// Takes the C library's place for everything that is loaded into the program.
extern "C" int clock_gettime( clockid_t clock, timespec *time ) noexcept {
    if ( clock != CLOCK_MONOTONIC ) {
        return static_cast<int>( syscall( SYS_clock_gettime64, clock, time ) );
    }
    const double whole = std::floor( monotonic );
    time->tv_sec = static_cast<time_t>( whole );
    time->tv_nsec = static_cast<long>( ( monotonic - whole ) * 1e9 );
    return 0;
}
