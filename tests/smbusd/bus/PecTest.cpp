#include "smbusd/bus/Pec.h"

#include <gtest/gtest.h>

namespace {

using smbusd::Pec;

uint8_t pecOf( std::initializer_list<uint8_t> bytes ) {
    Pec pec;
    for ( const uint8_t byte : bytes ) {
        pec.add( byte );
    }
    return pec.value();
}

TEST( Pec, MatchesThePublishedCheckValueOfTheCrc ) {
    EXPECT_EQ( pecOf( { '1', '2', '3', '4', '5', '6', '7', '8', '9' } ), 0xF4 );
}

TEST( Pec, MatchesTheWorkedExampleOfAThermometersDataSheet ) {
    // MLX90614: read word at 0x07 from 0x5A.
    Pec pec;
    pec.addAddress( 0x5A, false );
    pec.add( 0x07 );
    pec.addAddress( 0x5A, true );
    pec.add( 0xD2 );
    pec.add( 0x3A );
    EXPECT_EQ( pec.value(), 0x30 );
}

TEST( Pec, StartsAgainAtZero ) {
    Pec pec;
    EXPECT_EQ( pec.value(), 0 );
    pec.add( 0x55 );
    pec.reset();
    EXPECT_EQ( pec.value(), 0 );
}

} // namespace
