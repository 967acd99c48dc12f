#include "smbusd/emulation/chips/PmbusNumbers.h"

#include <cmath>

#include <gtest/gtest.h>

using smbusd::fromLinear11;
using smbusd::toLinear11;
using smbusd::toLinear16;
using smbusd::voutExponent;

TEST( PmbusNumbers, Linear11WordsHaveTheSmallestStepThatFits ) {
    const struct {
        double value;
        uint16_t word;
    } cases[] = {
        { 0, 0x0000 },      { 230, 0xF398 }, // 920 * 2^-2
        { 12, 0xD300 },                      // 768 * 2^-6
        { 20, 0xDA80 },                      // 640 * 2^-5
        { 240, 0xF3C0 },                     // 960 * 2^-2
        { 1023, 0x03FF },                    // 1023 * 2^0
        { 1024, 0x0A00 },                    // 512 * 2^1
        { 8000, 0x1BE8 },                    // 1000 * 2^3
        { 25000, 0x2B0D },                   // 781 * 2^5, the nearest
        { -5, 0xCD80 },                      // -640 * 2^-7
        { -1024, 0x0400 },                   // -1024 * 2^0
        { 1.13422, 0xBA45 }                  // 581 * 2^-9
    };
    for ( const auto &[ value, word ] : cases ) {
        EXPECT_EQ( toLinear11( value ), word ) << value;
    }
}

TEST( PmbusNumbers, Linear11EndsAtItsLargestAndSmallestNumbers ) {
    EXPECT_EQ( toLinear11( 1023.0 * 32768 ), 0x7BFF );
    EXPECT_EQ( toLinear11( 1e12 ), 0x7BFF );
    EXPECT_EQ( toLinear11( -1024.0 * 32768 ), 0x7C00 );
    EXPECT_EQ( toLinear11( -1e12 ), 0x7C00 );
    EXPECT_EQ( toLinear11( std::ldexp( 1, -16 ) ), 0x8001 );
    EXPECT_EQ( toLinear11( std::ldexp( 1, -18 ) ), 0x0000 );
    EXPECT_EQ( toLinear11( -std::ldexp( 1, -16 ) ), 0x87FF );
}

TEST( PmbusNumbers, Linear11WordsAreRead ) {
    EXPECT_EQ( fromLinear11( 0x0064 ), 100 );
    EXPECT_EQ( fromLinear11( 0xF398 ), 230 );
    EXPECT_EQ( fromLinear11( 0x12EE ), 3000 ); // 750 * 2^2
    EXPECT_EQ( fromLinear11( 0x07FF ), -1 );
    EXPECT_EQ( fromLinear11( 0xFFFF ), -0.5 );
    EXPECT_EQ( fromLinear11( 0x7C00 ), -1024.0 * 32768 );
    EXPECT_EQ( fromLinear11( 0x8001 ), 1.0 / 65536 );
}

TEST( PmbusNumbers, Linear16CountsInStepsOfItsExponent ) {
    EXPECT_EQ( toLinear16( 12, -9 ), 0x1800 );
    EXPECT_EQ( toLinear16( 12, -6 ), 0x0300 );
    EXPECT_EQ( toLinear16( 3.3, -12 ), 13517 ); // 13516.8
    EXPECT_EQ( toLinear16( 48, 2 ), 12 );
    EXPECT_EQ( toLinear16( 200, -9 ), 0xFFFF );
    EXPECT_EQ( toLinear16( -1, -9 ), 0 );
}

TEST( PmbusNumbers, VoutModeHoldsTheExponentInFiveBits ) {
    EXPECT_EQ( voutExponent( 0x00 ), 0 );
    EXPECT_EQ( voutExponent( 0x0F ), 15 );
    EXPECT_EQ( voutExponent( 0x10 ), -16 );
    EXPECT_EQ( voutExponent( 0x17 ), -9 );
    EXPECT_EQ( voutExponent( 0x1A ), -6 );
    EXPECT_EQ( voutExponent( 0x1F ), -1 );
}
