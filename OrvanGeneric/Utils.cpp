#include "OrvanGeneric/Utils.h"

#include <cstdlib>

namespace Utils {

int isInSimulation = -1;

bool inSimulation() {
    if ( isInSimulation < 0 ) {
        isInSimulation = std::getenv( "SIMULATION_VMID" ) ? 1 : 0;
    }
    return isInSimulation;
}

OperatingSystem os = { ::clock_gettime, ::sleep, ::usleep };

int64_t monotonicMilliseconds() {
    timespec now;
    os.clockGettime( CLOCK_MONOTONIC, &now );
    return static_cast<int64_t>( now.tv_sec ) * 1000 + now.tv_nsec / 1000000;
}

} // namespace Utils
