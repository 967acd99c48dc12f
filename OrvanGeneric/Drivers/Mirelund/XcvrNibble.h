/**
 * @file
 * Where the low-speed lines of transceiver cages are, as data: each port has a nibble, four adjacent
 * bits of a chip's register or bank.
 */
#pragma once

#include <cstdint>

namespace Drivers {

/** One low-speed line of a cage: where it sits in the port's nibble, and how it is read. */
struct XcvrLine {
    uint8_t offset;     ///< bit within the nibble
    bool activeLow;     ///< the chip's bit is 0 while the signal is asserted
    const char *getter; ///< name of the reading operation in traces
    const char *setter; ///< likewise of the writing one; null for a line that is only read
};

/** The lines of an SFP cage (SFF-8431). */
struct SfpLines {
    XcvrLine presence;  ///< a module is in
    XcvrLine rxLos;     ///< the receiver has lost its signal
    XcvrLine txFault;   ///< the transmitter reports a fault
    XcvrLine txDisable; ///< the transmitter is switched off
};

/**
 * The lines of a QSFP cage (SFF-8436). Module select is wired on none of these boards: only its names
 * count.
 */
struct QsfpLines {
    XcvrLine presence;  ///< a module is in
    XcvrLine modSel;    ///< the module listens on its two-wire interface
    XcvrLine lpMode;    ///< low-power mode
    XcvrLine reset;     ///< the module is held in reset
    XcvrLine interrupt; ///< the module asks for attention
};

/** Where a port's nibble is. */
struct XcvrPort {
    uint8_t id;      ///< zero-based number, as traces print it
    uint8_t place;   ///< the register or bank that holds the nibble
    uint8_t baseBit; ///< the nibble's lowest bit
};

} // namespace Drivers
