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

    /** Queues on @p ham the request that opens the channel. @return whether one was queued */
    virtual bool selectRequest( Ham::Ham *ham ) = 0;
    /** Queues on @p ham the request that closes all channels. @return whether one was queued */
    virtual bool resetRequest( Ham::Ham *ham ) = 0;
    /** Opens the channel at once, through the driver's own Ham. */
    virtual pl_status executeMuxRequest() = 0;
    /** The driver of the mux chip. */
    virtual HardwareDevice *device() const = 0;
};

} // namespace LogicalDevice
} // namespace Component
