#pragma once

#include <pl/gpio.h>

namespace Drivers {
struct DriverArgs;
}

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

/**
 * A single GPIO line. A line that the board wires active-low is inverted by its driver, so "set"
 * always means asserted. The order of the virtual operations is fixed.
 */
class Gpio {
  public:
    /** Fills the record: number 0, this class's callbacks, the way back to this object. */
    Gpio() : record_{ 0, &ops_, this } {}
    virtual ~Gpio() = default;
    Gpio( const Gpio & ) = delete;
    Gpio &operator=( const Gpio & ) = delete;

    /** Clears the line. @return PL_STATUS_OK, otherwise the failed access's status */
    virtual pl_status bitClear() = 0;
    /** Sets the line. @return PL_STATUS_OK, otherwise the failed access's status */
    virtual pl_status bitSet() = 0;
    /**
     * Reads the line.
     * @param value  receives 0 or 1 on success
     * @return PL_STATUS_OK, otherwise the failed access's status
     */
    virtual pl_status bitRead( unsigned int *value ) = 0;

    /** What the host gets; part of this object. */
    pl_gpio *record() { return &record_; }

    /** The host's bit_set: traces, then bitSet(). */
    static pl_status bitSetCallback( pl_gpio *gpio );
    /** The host's bit_clear: traces, then bitClear(). */
    static pl_status bitClearCallback( pl_gpio *gpio );
    /** The host's bit_read: traces, then bitRead(). */
    static pl_status bitReadCallback( pl_gpio *gpio, unsigned int *value );
    /** The callbacks of every line, for the host's records. */
    static const pl_gpio_ops ops_;

  private:
    pl_gpio record_;

  public:
    /**
     * The line's register must not be read: a write carries this line's bit alone. Comes directly
     * after the record, where its users expect it.
     */
    bool writeOnly = false;
};

/** One bit of one 8-bit register of a device, reached through the device's Ham. */
class RegGpio : public Gpio {
  public:
    /**
     * @param args    must have "register" and "bitpos" (0 to 7, 0 the least significant), both
     *                decimal; aborts when one is missing or the bit is out of range
     * @param device  the register's device, with a Ham; not owned
     */
    RegGpio( const Drivers::DriverArgs &args, HardwareDevice *device );

    /** Reads the register, clears the bit, writes it back; write-only: writes 0. */
    pl_status bitClear() override;
    /** Reads the register, sets the bit, writes it back; write-only: writes the other bits 0. */
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
