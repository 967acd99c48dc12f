#include "smbusd/emulation/chips/PmbusNumbers.h"

#include <algorithm>
#include <cmath>

namespace smbusd {

namespace {

constexpr int mantissaBits = 11;
constexpr long smallestMantissa = -( 1 << ( mantissaBits - 1 ) );
constexpr long largestMantissa = ( 1 << ( mantissaBits - 1 ) ) - 1;
constexpr int smallestExponent = -16;
constexpr int largestExponent = 15;
constexpr unsigned exponentMask = 0x1F;

/** The number in the low @p bits of @p raw, which are two's complement. */
int fromTwosComplement( unsigned raw, int bits ) {
    const int range = 1 << bits;
    const int number = static_cast<int>( raw ) & ( range - 1 );
    return number >= range / 2 ? number - range : number;
}

} // namespace

uint16_t toLinear11( double value ) {
    int exponent = smallestExponent;
    long mantissa = 0;
    for ( ;; exponent++ ) {
        const double steps = std::round( std::ldexp( value, -exponent ) );
        if ( exponent == largestExponent ||
             ( steps >= smallestMantissa && steps <= largestMantissa ) ) {
            mantissa = std::lround(
                std::clamp( steps, double{ smallestMantissa }, double{ largestMantissa } ) );
            break;
        }
    }
    if ( mantissa == 0 ) {
        exponent = 0;
    }
    return static_cast<uint16_t>(
        ( static_cast<unsigned>( exponent ) & exponentMask ) << mantissaBits |
        ( static_cast<unsigned>( mantissa ) & ( ( 1u << mantissaBits ) - 1 ) ) );
}

double fromLinear11( uint16_t word ) {
    constexpr int exponentBits = 5;
    return std::ldexp( fromTwosComplement( word, mantissaBits ),
                       fromTwosComplement( word >> mantissaBits, exponentBits ) );
}

uint16_t toLinear16( double volts, int exponent ) {
    return static_cast<uint16_t>(
        std::lround( std::clamp( std::ldexp( volts, -exponent ), 0.0, 65535.0 ) ) );
}

int voutExponent( uint8_t voutMode ) {
    constexpr int exponentBits = 5;
    return fromTwosComplement( voutMode, exponentBits );
}

} // namespace smbusd
