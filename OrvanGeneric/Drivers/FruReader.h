#pragma once

#include <cstdint>
#include <string>

#include <pl/types.h>

namespace Ham {
class Ham;
}

namespace Drivers {

/**
 * Reads the identity of a unit from an IPMI FRU image (Platform Management FRU Information Storage
 * Definition) in an EEPROM whose bytes one register byte addresses.
 *
 * Lengths and offsets come from the EEPROM; none leads out of its 256 bytes. A field that is not
 * 8-bit ASCII aborts.
 */
class FruReader {
  public:
    /**
     * @param psuIndex              of the slot, for traces
     * @param allowInvalidChecksum  whether a header that does not add up to zero is only traced
     */
    FruReader( Ham::Ham *ham, uint8_t psuIndex, bool allowInvalidChecksum )
        : ham_( ham ), psuIndex_( psuIndex ), allowInvalidChecksum_( allowInvalidChecksum ) {}

    /**
     * Reads the product area's serial number and product name.
     * @return the Ham's status; PL_STATUS_NOT_PRESENT when the image does not hold both
     */
    pl_status read( std::string &serial, std::string &productName );

  private:
    struct Field {
        unsigned offset; ///< of the first byte of its content
        unsigned length;
    };

    pl_status readProductOffset( unsigned &offset );
    pl_status readTypeLength( unsigned offset, Field &field );
    pl_status readText( const Field &field, std::string &text );

    Ham::Ham *ham_;
    uint8_t psuIndex_;
    bool allowInvalidChecksum_;
};

} // namespace Drivers
