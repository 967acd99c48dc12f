#pragma once

#include <cstdint>

namespace smbusd {

/**
 * The SMBus packet error code: CRC-8 with the polynomial x^8 + x^2 + x + 1 (0x07), starting at 0,
 * over every byte of a message from the first address byte on, the bytes after a repeated start
 * (its address byte too) included (SMBus 3.0, section 6.4).
 */
class Pec {
  public:
    /** Starts anew, as at the START of a message. */
    void reset() { value_ = 0; }
    /** Adds a byte of the message, whichever way it goes. */
    void add( uint8_t byte );
    /** Adds the byte that addresses a device: the 7-bit address with the direction below it. */
    void addAddress( uint8_t address, bool read ) {
        add( static_cast<uint8_t>( address << 1 | ( read ? 1 : 0 ) ) );
    }
    /** The code of all bytes so far. */
    uint8_t value() const { return value_; }

  private:
    uint8_t value_ = 0;
};

} // namespace smbusd
