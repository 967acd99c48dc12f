#pragma once

#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"
#include "smbusd/emulation/Fault.h"
#include "smbusd/emulation/Wire.h"

namespace smbusd {

/**
 * Carries out one operation on the wire, from START to STOP: register bytes, data, block count,
 * repeated start and packet error code, spoiled by the faults in force.
 */
Result transfer( Wire &wire, const Operation &operation, const FaultEffects &effects );

} // namespace smbusd
