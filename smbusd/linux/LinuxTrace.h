#pragma once

#include <string>

#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"

namespace smbusd {

/**
 * What must have been on the wire of a kernel adapter, in the notation of WireTrace, packet error
 * codes included; the adapter does not show it. Of what failed only the beginning is certain.
 */
std::string linuxTrace( const Operation &operation, const Result &result );

} // namespace smbusd
