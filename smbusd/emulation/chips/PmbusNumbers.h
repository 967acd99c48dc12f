#pragma once

#include <cstdint>

namespace smbusd {

/*
 * The number formats of PMBus (Power System Management Protocol, part II), on the side of a device:
 * what it measures has to become a word. Values beyond a format's range become its largest or
 * smallest number.
 */

/** The LINEAR11 word nearest to @p value, with as small a step as its eleven bits allow. */
uint16_t toLinear11( double value );
/** The number in a LINEAR11 word: an 11-bit mantissa and a 5-bit exponent of 2, both signed. */
double fromLinear11( uint16_t word );

/** @p volts in steps of 2^@p exponent, to the nearest. */
uint16_t toLinear16( double volts, int exponent );

/** The exponent in the low five bits of a VOUT_MODE of linear format. */
int voutExponent( uint8_t voutMode );

} // namespace smbusd
