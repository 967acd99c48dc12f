#pragma once

#include <string>

#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"

namespace smbusd {

/** @return an error number's name and text: "ENXIO (No such device or address)". */
std::string errorText( int error );

/**
 * What an error number of the kernel's I2C layer means for an operation, by the kernel's fault code
 * conventions. Some adapters (i801, piix4) tell a missing acknowledge of any byte in one and the
 * same way, so a write may have had an effect and counts as if; a read had none.
 */
Result adapterFailure( const Operation &operation, int error );

} // namespace smbusd
