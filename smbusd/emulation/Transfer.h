#pragma once

#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"
#include "smbusd/emulation/Fault.h"
#include "smbusd/emulation/Wire.h"

namespace smbusd {

/**
 * Carries out one operation on the wire, from START to STOP: register bytes, data, block count,
 * repeated start and packet error code (SMBus 3.0, section 6.5), spoiled by the faults in force.
 *
 * @param wire  its trace holds what this operation put there, and nothing older
 */
Result transfer( Wire &wire, const Operation &operation, const FaultEffects &effects );

} // namespace smbusd
