#pragma once

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Mux.h"

namespace Drivers {

/**
 * A multiplexer with a single control register that a plain send-byte writes, such as the PCA9548
 * eight-channel switch, on which each set bit opens one downstream channel.
 */
class GenericSmbusMux : public Component::HardwareDevice {
  public:
    /** One downstream channel. */
    class Mux : public Component::LogicalDevice::Mux {
      public:
        /** @param select  the mask that opens the channel */
        Mux( GenericSmbusMux *driver, uint8_t select ) : driver_( driver ), select_( select ) {}

        bool selectRequest( Ham::Ham *ham ) override;
        bool resetRequest( Ham::Ham *ham ) override;
        pl_status executeMuxRequest() override;
        Component::HardwareDevice *device() const override { return driver_; }

      private:
        GenericSmbusMux *driver_;
        uint8_t select_;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** @param select  its low byte is what opens the channel */
    Component::LogicalDevice::Mux *newMux( const DriverArgs &args, unsigned int select ) override;
};

} // namespace Drivers
