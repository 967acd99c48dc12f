#include <cmath>

#include "OrvanGeneric/Utils.h"
#include "tests/support/FakeHost.h"

double FakeTime::now = 1000;
std::vector<unsigned> FakeTime::sleeps;
std::vector<unsigned> FakeTime::microsleeps;

FakeTime::FakeTime() {
    Utils::os.clockGettime = []( clockid_t, timespec *time ) {
        const double whole = std::floor( now );
        time->tv_sec = static_cast<time_t>( whole );
        time->tv_nsec = static_cast<long>( ( now - whole ) * 1e9 );
        return 0;
    };
    Utils::os.sleep = []( unsigned seconds ) {
        sleeps.push_back( seconds );
        return 0u;
    };
    Utils::os.usleep = []( useconds_t microseconds ) {
        microsleeps.push_back( microseconds );
        return 0;
    };
}

FakeTime::~FakeTime() {
    Utils::os = { ::clock_gettime, ::sleep, ::usleep };
}
