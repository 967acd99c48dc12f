#pragma once

#include "OrvanGeneric/Components/HardwareDevice.h"

namespace Drivers {

/**
 * A device of which only single register bits are used: it offers no peripherals but the GPIOs that
 * every hardware device has.
 */
class Dummy : public Component::HardwareDevice {
  public:
    /** Makes an instance; neither argument is looked at. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
};

} // namespace Drivers
