#include "OrvanGeneric/Drivers/PmbusFormats.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/support/ScriptedHam.h"

namespace {

using namespace Drivers::PmbusFormats;

TEST( Linear11, KnownWords ) {
    const struct {
        uint16_t word;
        float value;
    } cases[] = {
        { 0x0000, 0 },
        { 0x0001, 1 },
        { 0x03FF, 1023 },                // the largest mantissa
        { 0x0400, -1024 },               // the smallest
        { 0x07FF, -1 },                  //
        { 0x0FFF, -2 },                  // -1 * 2^1
        { 0xF84C, 38 },                  // 76 * 2^-1
        { 0xC800, 0 },                   // 0 * 2^-7
        { 0xC880, 1 },                   // 128 * 2^-7
        { 0x1B69, 6984 },                // 873 * 2^3
        { 0xF398, 230 },                 // 920 * 2^-2
        { 0xE140, 20 },                  // 320 * 2^-4
        { 0xFA08, 260 },                 // 520 * 2^-1
        { 0xFFFF, -0.5f },               // -1 * 2^-1
        { 0x7BFF, 33521664 },            // 1023 * 2^15
        { 0x7C00, -33554432 },           // -1024 * 2^15
        { 0x8001, 0.0000152587890625f }, // 2^-16
        { 0x8400, -0.015625f },          // -1024 * 2^-16
    };
    for ( const auto &[ word, value ] : cases ) {
        EXPECT_EQ( linear11ToReal( word ), value ) << std::hex << word;
    }
}

TEST( Linear11, EveryExponent ) {
    float power = 1;
    for ( unsigned exponent = 0; exponent <= 15; ++exponent, power *= 2 ) {
        const unsigned word = exponent << 11;
        EXPECT_EQ( linear11ToReal( static_cast<uint16_t>( word | 3 ) ), 3 * power ) << exponent;
        EXPECT_EQ( linear11ToReal( static_cast<uint16_t>( word | 0x7FD ) ), -3 * power );
    }
    power = 1;
    for ( unsigned below = 1; below <= 16; ++below ) {
        power /= 2;
        const unsigned word = ( 32 - below ) << 11;
        EXPECT_EQ( linear11ToReal( static_cast<uint16_t>( word | 3 ) ), 3 * power ) << below;
        EXPECT_EQ( linear11ToReal( static_cast<uint16_t>( word | 0x7FD ) ), -3 * power );
    }
}

TEST( Linear16, KnownWords ) {
    const struct {
        uint16_t word;
        uint8_t mode;
        float value;
    } cases[] = {
        { 0x1800, 0x17, 12 },                  // exponent -9
        { 0x1800, 0x18, 24 },                  // -8
        { 0x0300, 0x1A, 12 },                  // -6
        { 0x0001, 0x00, 1 },                   //
        { 0x0001, 0x0F, 32768 },               // 15
        { 0x0001, 0x10, 0.0000152587890625f }, // -16
        { 0x7FFF, 0x00, 32767 },               //
        { 0x8000, 0x00, -32768 },              //
        { 0xFFFF, 0x1F, -0.5f },               //
        { 0x1800, 0xF7, 12 },                  // only five bits of the mode count
    };
    for ( const auto &[ word, mode, value ] : cases ) {
        EXPECT_EQ( linear16ToReal( word, mode ), value ) << std::hex << word << " " << int{ mode };
    }
}

TEST( LinearToReal, SignsComeFromTheWidths ) {
    const struct {
        uint16_t mantissa;
        uint8_t exponent;
        uint8_t mantissaBits;
        uint8_t exponentBits;
        float value;
    } cases[] = {
        { 0x7F, 0, 8, 8, 127 },         { 0x80, 0, 8, 8, -128 },   { 0x80, 0, 9, 8, 128 },
        { 0xFF80, 0, 9, 8, -128 },      { 0x1234, 0, 8, 8, 0x34 }, // what is above the width does not count
        { 1, 0xFF, 8, 8, 0.5f },        { 1, 0xFF, 8, 3, 0.5f },   { 1, 0x07, 8, 4, 128 },
        { 1, 0x08, 8, 4, 0.00390625f }, { 1, 1, 1, 1, -0.5f },
    };
    for ( const auto &c : cases ) {
        EXPECT_EQ( linearToReal( c.mantissa, c.exponent, c.mantissaBits, c.exponentBits ), c.value )
            << std::hex << c.mantissa << " " << int{ c.exponent };
    }
}

TEST( RealToLinear11, KnownWords ) {
    const struct {
        uint16_t value;
        uint16_t word;
    } cases[] = {
        { 0, 0x0000 },     { 1, 0x0001 },     { 1000, 0x03E8 },  { 1023, 0x03FF },
        { 1024, 0x0A00 },  { 1025, 0x0A00 },  { 2047, 0x0BFF },  { 2048, 0x1200 },
        { 3000, 0x12EE },  { 8000, 0x1BE8 },  { 16383, 0x23FF }, { 16384, 0x2A00 },
        { 32768, 0x3200 }, { 65535, 0x33FF },
    };
    for ( const auto &[ value, word ] : cases ) {
        EXPECT_EQ( realToLinear11( value ), word ) << value;
    }
}

TEST( RealToLinear11, LosesLessThanItsLastStep ) {
    for ( unsigned value = 0; value <= 0xFFFF; ++value ) {
        const uint16_t word = realToLinear11( static_cast<uint16_t>( value ) );
        const unsigned exponent = word >> 11;
        EXPECT_LE( exponent, 6u );
        const float kept = linear11ToReal( word );
        ASSERT_LE( kept, static_cast<float>( value ) );
        ASSERT_GT( kept + static_cast<float>( 1u << exponent ), static_cast<float>( value ) );
    }
}

TEST( ReadLinear11, ReadsAWordAndSetsTheValueOnSuccessOnly ) {
    ScriptedHam ham;
    ham.words[ READ_VIN ] = 0xF398;
    float value = -5;
    EXPECT_EQ( readLinear11( &ham, READ_VIN, &value ), 0 );
    EXPECT_EQ( value, 230 );
    EXPECT_EQ( ham.takeLog(), ( std::vector<std::string>{ "prepare", "read16 0x88", "execute" } ) );
    ham.statuses = { 6 };
    EXPECT_EQ( readLinear11( &ham, READ_VIN, &value ), 6 );
    EXPECT_EQ( value, 230 );
}

} // namespace
