#pragma once

#include <pl/types.h>

namespace Ham {
class Ham;
}

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

/**
 * One downstream channel of a multiplexer. The host never sees it: it has no record. An SMBus Ham
 * keeps the chain of muxes that leads to its device.
 */
class Mux {
  public:
    Mux() = default;
    virtual ~Mux() = default;
    Mux( const Mux & ) = delete;
    Mux &operator=( const Mux & ) = delete;

    /** Adds to the batch of @p ham the request that opens the channel. @return whether one was added */
    virtual bool selectRequest( Ham::Ham *ham ) = 0;
    /** Adds to the batch of @p ham the request that closes all channels. @return whether one was added */
    virtual bool resetRequest( Ham::Ham *ham ) = 0;
    /** Opens the channel immediately, through the driver's own Ham. @return the batch's status */
    virtual pl_status executeMuxRequest() = 0;
    /** The driver of the mux chip; never null, not owned by the caller. */
    virtual HardwareDevice *device() const = 0;
};

} // namespace LogicalDevice
} // namespace Component
