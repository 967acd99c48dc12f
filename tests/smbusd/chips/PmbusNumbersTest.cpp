#include "smbusd/chips/PmbusNumbers.h"

#include <gtest/gtest.h>

namespace {

using smbusd::fromLinear11;
using smbusd::toLinear11;
using smbusd::toLinear16;
using smbusd::voutExponent;

TEST( PmbusNumbers, Linear11WordsHaveTheSmallestStepThatReaches ) {
    EXPECT_EQ( toLinear11( 0 ), 0x0000 );
    EXPECT_EQ( toLinear11( 12 ), 0xD300 );   // 768 * 2^-6
    EXPECT_EQ( toLinear11( 230 ), 0xF398 );  // 920 * 2^-2
    EXPECT_EQ( toLinear11( 1 ), 0xBA00 );    // 512 * 2^-9
    EXPECT_EQ( toLinear11( 1023 ), 0x03FF ); // 1023 * 2^0
    EXPECT_EQ( toLinear11( 1024 ), 0x0A00 ); // 512 * 2^1
    EXPECT_EQ( toLinear11( 8000 ), 0x1BE8 ); // 1000 * 2^3
    EXPECT_EQ( toLinear11( 3000 ), 0x12EE ); // 750 * 2^2
}

TEST( PmbusNumbers, Linear11WordsOfNegativeNumbers ) {
    EXPECT_EQ( toLinear11( -40 ), 0xE580 );   // -640 * 2^-4, which is 0x580 in eleven bits
    EXPECT_EQ( toLinear11( -1 ), 0xB400 );    // -1024 * 2^-10
    EXPECT_EQ( toLinear11( -1024 ), 0x0400 ); // -1024 * 2^0
    EXPECT_EQ( toLinear11( -1025 ), 0x0DFF ); // -513 * 2^1: the even neighbour further from zero
}

TEST( PmbusNumbers, Linear11EndsAtItsLimits ) {
    EXPECT_EQ( toLinear11( 1023.0 * 32768 ), 0x7BFF );
    EXPECT_EQ( toLinear11( 1e12 ), 0x7BFF );
    EXPECT_EQ( toLinear11( -1e12 ), 0x7C00 );
    EXPECT_EQ( toLinear11( 1.0 / 65536 ), 0x8001 ); // 1 * 2^-16
    EXPECT_EQ( toLinear11( 1e-9 ), 0x0000 );
}

TEST( PmbusNumbers, Linear11RoundsUpIntoTheNextStep ) {
    EXPECT_EQ( toLinear11( 1023.4 ), 0x03FF );
    EXPECT_EQ( toLinear11( 1023.6 ), 0x0A00 ); // 1024, for which ten bits are too few
}

TEST( PmbusNumbers, Linear11WordsAreRead ) {
    EXPECT_EQ( fromLinear11( 0x0032 ), 50 );
    EXPECT_EQ( fromLinear11( 0x12EE ), 3000 );
    EXPECT_EQ( fromLinear11( 0xF84C ), 38 ); // 76 * 2^-1
    EXPECT_EQ( fromLinear11( 0xE580 ), -40 );
    EXPECT_EQ( fromLinear11( 0x7FFF ), -32768 ); // -1 * 2^15
    EXPECT_EQ( fromLinear11( 0x8001 ), 1.0 / 65536 );
}

TEST( PmbusNumbers, Linear16CountsInStepsOfItsExponent ) {
    EXPECT_EQ( toLinear16( 12, -9 ), 0x1800 );
    EXPECT_EQ( toLinear16( 12, -6 ), 0x0300 );
    EXPECT_EQ( toLinear16( 12.1, -9 ), 0x1833 ); // 6195.2
    EXPECT_EQ( toLinear16( 12, 0 ), 12 );
    EXPECT_EQ( toLinear16( 12, 3 ), 2 ); // 1.5
    EXPECT_EQ( toLinear16( 0, -9 ), 0 );
    EXPECT_EQ( toLinear16( -1, -9 ), 0 );
    EXPECT_EQ( toLinear16( 100, -16 ), 0xFFFF );
}

TEST( PmbusNumbers, VoutModesExponentIsTwosComplement ) {
    EXPECT_EQ( voutExponent( 0x17 ), -9 );
    EXPECT_EQ( voutExponent( 0x1A ), -6 );
    EXPECT_EQ( voutExponent( 0x10 ), -16 );
    EXPECT_EQ( voutExponent( 0x0F ), 15 );
    EXPECT_EQ( voutExponent( 0x00 ), 0 );
}

} // namespace
