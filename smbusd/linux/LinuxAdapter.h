#pragma once

#include <memory>
#include <string>

#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"

namespace smbusd {

/** What a kernel adapter is asked for; a test stands in for the device file. */
class AdapterAccess {
  public:
    virtual ~AdapterAccess() = default;
    /** Carries out one operation, blocking. Called on the bus's own thread only. */
    virtual Result perform( const Operation &operation ) = 0;
};

/**
 * What an error number of the kernel's I2C layer means for an operation
 * (Documentation/i2c/fault-codes in the kernel's sources).
 */
Result adapterFailure( const Operation &operation, int error );

/** The device file of a kernel adapter, through libi2c and I2C_RDWR; opened at first use. */
std::unique_ptr<AdapterAccess> openAdapter( std::string device );

} // namespace smbusd
