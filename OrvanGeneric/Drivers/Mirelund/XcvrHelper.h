#pragma once

#include <cstdint>

#include <pl/types.h>

#include "OrvanGeneric/Drivers/Mirelund/XcvrNibble.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

/**
 * Mix-in of a cage's logical device: traces, reads and writes the lines of the port's nibble.
 *
 * Chip and cage are bound at compile time: a virtual operation more would change the order of the
 * drivers' own ones, which is fixed.
 *
 * @tparam Chip  the driver. It has `pl_status readLine( uint8_t place, uint8_t bit, int *value )`,
 *               `pl_status writeLine( uint8_t place, uint8_t bit, bool value )` and the static
 *               `pl_status activeLow( pl_status status, int *value )`, which negates the value of a
 *               successful read
 */
template <class Chip>
class XcvrHelper {
  protected:
    /** @param chip  not owned; outlives the port */
    XcvrHelper( Chip *chip, const XcvrPort &port ) : chip_( chip ), port_( port ) {}

    /** Traces and reads the presence line. @return 1 or 0; a failing status as it is */
    int presence( const XcvrLine &line ) const {
        int value = 0;
        const pl_status status = get( line, &value );
        return status != PL_STATUS_OK ? static_cast<int>( status ) : value;
    }
    /**
     * Traces and reads a line.
     * @param value  1 while the signal is asserted, else 0; set on success only
     * @return the chip's status
     */
    pl_status get( const XcvrLine &line, int *value ) const {
        trace( line.getter );
        const pl_status status = chip_->readLine( port_.place, bit( line ), value );
        return line.activeLow ? Chip::activeLow( status, value ) : status;
    }
    /**
     * Traces and writes a line.
     * @param line   one with a setter
     * @param value  0 withdraws the signal, all else asserts it
     * @return the chip's status
     */
    pl_status set( const XcvrLine &line, int value ) const {
        trace( line.setter );
        return chip_->writeLine( port_.place, bit( line ), ( value != 0 ) != line.activeLow );
    }
    /** Traces an operation with the port's number, at level 5. */
    void trace( const char *operation ) const { TRACE( 5, "%s(): id=%hhu", operation, port_.id ); }

  private:
    /** The line's bit in the register or bank. */
    uint8_t bit( const XcvrLine &line ) const {
        return static_cast<uint8_t>( port_.baseBit + line.offset );
    }

    Chip *chip_;
    XcvrPort port_;
};

} // namespace Drivers
