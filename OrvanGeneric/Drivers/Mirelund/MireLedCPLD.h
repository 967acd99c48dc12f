#pragma once

#include <vector>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Components/HardwareDevice.h"

namespace Drivers {

/** A CPLD that drives the front panel's port LEDs. */
class MireLedCPLD : public Component::HardwareDevice {
  public:
    /** Brings the LEDs' registers into the state that the board starts with. */
    virtual void setLedsRegister() = 0;
};

/** The kind whose QSFP port LEDs only need to be set up. */
class MireCLedCPLD : public MireLedCPLD {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    int init() override;
    /** Best effort: a register that cannot be written is traced, and the next one follows. */
    void setLedsRegister() override;

  private:
    std::vector<uint8_t> qsfpPortLedsDisableMap; ///< registers to clear, in this order
    std::vector<uint8_t> qsfpPortLedsEnableMap;  ///< registers to set, in this order
};

/** The kinds that offer their register bits as GPIO lines; the lines are active low. */
class MireGpioLedCPLD : public MireLedCPLD {
  public:
    /** Setting the line drives its register bit to 0. */
    class RegGpio : public Component::LogicalDevice::RegGpio {
      public:
        using Component::LogicalDevice::RegGpio::RegGpio;

        pl_status bitClear() override;
        pl_status bitSet() override;
    };

    int init() override { return 0; }
    void setLedsRegister() override {}
    Component::LogicalDevice::Gpio *newGpio( const DriverArgs &args ) override;
};

/** The LED CPLD of the Z boards. */
class MireZLedCPLD : public MireGpioLedCPLD {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
};

/** The LED CPLD of the T boards. */
class MireTLedCPLD : public MireGpioLedCPLD {
  public:
    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );
};

} // namespace Drivers
