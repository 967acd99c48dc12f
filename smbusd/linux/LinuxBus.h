#pragma once

#include <memory>
#include <string>

#include "smbusd/base/Log.h"
#include "smbusd/base/Scheduler.h"
#include "smbusd/board/HardwareConfig.h"
#include "smbusd/bus/Bus.h"

namespace smbusd {

/** What a kernel adapter is asked for; a test stands in for the device file. */
class AdapterAccess {
  public:
    virtual ~AdapterAccess() = default;
    /** Carries out one operation, blocking. Called on the bus's own thread only. */
    virtual Result perform( const Operation &operation ) = 0;
};

/** What an error number of the kernel's I2C layer means for an operation. */
Result adapterFailure( const Operation &operation, int error );

/** The device file of a kernel adapter, through libi2c and I2C_RDWR; opened at first use. */
std::unique_ptr<AdapterAccess> openAdapter( std::string device );

/**
 * A bus behind a kernel adapter. Each has a thread of its own for the calls that block, so that a
 * slow adapter holds up no other bus.
 */
std::unique_ptr<Bus> makeLinuxBus( std::string name, const BusKey &key, std::string device,
                                   std::unique_ptr<AdapterAccess> access, Scheduler &scheduler );

/** Makes buses on real device files. */
LinuxBusFactory linuxBusFactory( Scheduler &scheduler, Log &log );

} // namespace smbusd
