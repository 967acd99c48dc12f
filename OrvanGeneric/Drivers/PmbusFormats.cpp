#include "OrvanGeneric/Drivers/PmbusFormats.h"

#include <cmath>

#include "OrvanGeneric/Ham/Ham.h"

namespace Drivers::PmbusFormats {

namespace {

/** The two's complement number in the low @p bits of @p raw. */
int signExtend( unsigned raw, unsigned bits ) {
    const unsigned sign = 1u << ( bits - 1 );
    const unsigned value = raw & ( ( sign << 1 ) - 1 );
    return static_cast<int>( value ^ sign ) - static_cast<int>( sign );
}

} // namespace

float linearToReal( uint16_t mantissa, uint8_t exponent, uint8_t mantissaBits,
                    uint8_t exponentBits ) {
    return static_cast<float>( signExtend( mantissa, mantissaBits ) ) *
           powf( 2, static_cast<float>( signExtend( exponent, exponentBits ) ) );
}

float linear11ToReal( uint16_t word ) {
    return linearToReal( word, static_cast<uint8_t>( word >> linear11MantissaBits ),
                         linear11MantissaBits, linear11ExponentBits );
}

float linear16ToReal( uint16_t word, uint8_t mode ) {
    constexpr uint8_t mantissaBits = 16;
    constexpr uint8_t exponentBits = 5;
    return linearToReal( word, mode, mantissaBits, exponentBits );
}

uint16_t realToLinear11( uint16_t value ) {
    // The mantissa's sign bit stays clear.
    constexpr uint16_t mantissaEnd = 1u << ( linear11MantissaBits - 1 );
    unsigned exponent = 0;
    while ( value >= mantissaEnd ) {
        value = static_cast<uint16_t>( value >> 1 );
        ++exponent;
    }
    return static_cast<uint16_t>( exponent << linear11MantissaBits | value );
}

int readLinear11( Ham::Ham *ham, uint8_t command, float *value ) {
    uint16_t word;
    const int status = ham->read16( command, &word );
    if ( status == 0 ) {
        *value = linear11ToReal( word );
    }
    return status;
}

} // namespace Drivers::PmbusFormats
