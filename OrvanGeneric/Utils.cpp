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

} // namespace Utils
