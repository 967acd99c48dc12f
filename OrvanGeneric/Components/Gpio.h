#pragma once

#include <pl/gpio.h>

namespace Drivers {
struct DriverArgs;
}

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

/** A single GPIO line. */
class Gpio {
  public:
    Gpio() : record_{ 0, &ops_, this } {}
    virtual ~Gpio() = default;
    Gpio( const Gpio & ) = delete;
    Gpio &operator=( const Gpio & ) = delete;

    virtual pl_status bitClear() = 0;
    virtual pl_status bitSet() = 0;
    /** Reads the line: 0 or 1. */
    virtual pl_status bitRead( unsigned int *value ) = 0;

    /** What the host gets. */
    pl_gpio *record() { return &record_; }

    static pl_status bitSetCallback( pl_gpio *gpio );
    static pl_status bitClearCallback( pl_gpio *gpio );
    static pl_status bitReadCallback( pl_gpio *gpio, unsigned int *value );
    static const pl_gpio_ops ops_;

  private:
    pl_gpio record_;

  public:
    /**
     * The line's register must not be read: a write carries this line's bit alone. Stands right
     * behind the record, where its users expect it.
     */
    bool writeOnly = false;
};

/** One bit of one 8-bit register of a device, reached through the device's Ham. */
class RegGpio : public Gpio {
  public:
    /** Takes "register" and "bitpos" from @p args; both are required, decimal. */
    RegGpio( const Drivers::DriverArgs &args, HardwareDevice *device );

    /** Reads the register, changes the bit, writes it back; write-only: writes the other bits 0. */
    pl_status bitClear() override;
    pl_status bitSet() override;
    pl_status bitRead( unsigned int *value ) override;

  private:
    pl_status write( bool value );

    HardwareDevice *device_;
    int register_;
    int bitpos_;
};

} // namespace LogicalDevice
} // namespace Component
