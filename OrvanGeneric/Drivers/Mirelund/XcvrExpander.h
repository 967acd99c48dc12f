#pragma once

#include <cstdint>

#include "OrvanGeneric/Drivers/GPIOExpander.h"
#include "OrvanGeneric/Drivers/Mirelund/NibbleXcvr.h"

namespace Drivers {

/** What tells the families of transceiver expanders apart. */
struct XcvrExpanderFamily {
    unsigned banks;          ///< that carry ports, two each
    const char *writeFailed; ///< trace formats: bank and bit, both decimal
    const char *readFailed;  ///< likewise
    uint8_t tracedBits;      ///< which bits of the bit's number these show
};

/**
 * Mix-in of the expander drivers whose pins are the low-speed lines of cages: each port has a nibble
 * of a bank. Nothing is polled: a query reads the pin through the expander's input cache, a change
 * is written immediately.
 */
class XcvrExpander {
  public:
    /** An SFP cage of this chip. */
    using SfpXcvr = NibbleSfpXcvr<XcvrExpander>;
    /** A QSFP cage of this chip. */
    using QsfpXcvr = NibbleQsfpXcvr<XcvrExpander>;

    /** The layout of an SFP port's nibble. */
    static constexpr SfpLines sfpLines = {
        .presence = { 0, false, "getPresence", nullptr },
        .rxLos = { 1, false, "getRxLos", nullptr },
        .txFault = { 3, false, "getTxFault", nullptr },
        .txDisable = { 2, false, "getTxDisable", "setTxDisable" },
    };
    /** The layout of a QSFP port's nibble. */
    static constexpr QsfpLines qsfpLines = {
        .presence = { 2, false, "getPresence", nullptr },
        .modSel = { 0, false, "getModSel", "setModSel" },
        .lpMode = { 3, false, "getLpMode", "setLpMode" },
        .reset = { 0, true, "getReset", "setReset" },
        .interrupt = { 1, true, "getInterrupt", nullptr },
    };

    /** @param expander  the driver itself */
    XcvrExpander( GPIOExpander *expander, const XcvrExpanderFamily &family )
        : expander_( expander ), family_( family ) {}

    /** Writes one pin. @return the expander's status; a failure is traced */
    pl_status writeRegisterBit( uint8_t bank, uint8_t bit, bool value );
    /** Reads one pin. @return the expander's status; @p out is set on success only */
    pl_status getRegisterBit( uint8_t bank, uint8_t bit, int *out );
    /** Negates @p value, if @p status is success. @return @p status */
    static pl_status activeLow( pl_status status, int *value );

    /** The ports' access to their pins. */
    pl_status readLine( uint8_t bank, uint8_t bit, int *out ) {
        return getRegisterBit( bank, bit, out );
    }
    /** Writes through, for the ports. */
    pl_status writeLine( uint8_t bank, uint8_t bit, bool value ) {
        return writeRegisterBit( bank, bit, value );
    }

  protected:
    /** The nibble of a port; the ports of further expanders of the board map alike. */
    XcvrPort portOf( unsigned int id ) const;

    /** A new cage on the nibble of that port; the caller owns it. */
    SfpXcvr *makeSfpXcvr( unsigned int id ) { return new SfpXcvr( id, this, portOf( id ) ); }
    /** A new cage on the nibble of that port; the caller owns it. */
    QsfpXcvr *makeQsfpXcvr( unsigned int id ) { return new QsfpXcvr( id, this, portOf( id ) ); }

  private:
    GPIOExpander *expander_;
    const XcvrExpanderFamily &family_;
};

} // namespace Drivers
