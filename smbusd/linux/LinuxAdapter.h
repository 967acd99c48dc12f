#pragma once

#include <memory>
#include <string>

#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"
#include "smbusd/linux/AdapterHold.h"
#include "smbusd/linux/KernelCalls.h"

namespace smbusd {

/** What a kernel adapter is asked for; a test stands in for it. */
class AdapterAccess {
  public:
    virtual ~AdapterAccess() = default;
    /** Carries out one operation, blocking. Called on the bus's own thread only. */
    virtual Result perform( const Operation &operation ) = 0;
    /** What has happened to the adapter that the log should tell, once; or empty. On the same thread. */
    virtual std::string takeNotice() { return {}; }
};

/**
 * Most bytes of one plain I2C message; the register's are among them, so that a write moves that
 * many fewer.
 */
inline constexpr uint32_t longestMessage = 8192;

/**
 * A kernel adapter through its device file: SMBus operations through libi2c, and plain I2C messages
 * where the kernel has no SMBus operation for it (long blocks, registers of several bytes).
 *
 * Before each operation it asks what the adapter can do, since the kernel drops a packet error code
 * without a word and does part of a block, and whether a driver of the kernel uses the device.
 */
std::unique_ptr<AdapterAccess> makeLinuxAdapter( std::unique_ptr<AdapterHold> hold,
                                                 std::shared_ptr<const KernelCalls> kernel );

} // namespace smbusd
