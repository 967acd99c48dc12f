#include "smbusd/emulation/chips/LedCpld.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x23 );

class LedCpld : public testing::Test {
  protected:
    TestBoard test{
        TestBoard::withChips( R"({ "name": "leds", "type": "led-cpld", "address": "0x23" })" ) };
};

TEST_F( LedCpld, PowerOnIsTheLampTestWithNothingLetThrough ) {
    for ( uint32_t reg = 0; reg < 12; reg++ ) {
        EXPECT_EQ( test.number( "leds", reg ), reg == 6 || reg == 7 ? 0u : 0xFFu ) << reg;
    }
}

TEST_F( LedCpld, EveryRegisterIsWrittenAndReadBack ) {
    for ( uint32_t reg = 0; reg < 12; reg++ ) {
        EXPECT_FALSE(
            test.run( TransactionBuilder().write( place, reg, bytes( 0xA0 + reg ) ) ).failed() );
        EXPECT_EQ( test.data( TransactionBuilder().read( place, reg, 1 ) ), bytes( 0xA0 + reg ) );
    }
    test.hardware.powerOn();
    EXPECT_EQ( test.number( "leds", 0 ), 0xFFu );
    EXPECT_EQ( test.number( "leds", 6 ), 0u );
}

TEST_F( LedCpld, OtherRegistersAreNotAcknowledged ) {
    EXPECT_TRUE( test.run( TransactionBuilder().write( place, 12, bytes( 1 ) ) ).failed() );
    EXPECT_TRUE( test.run( TransactionBuilder().read( place, 255, 1 ) ).failed() );
}

TEST_F( LedCpld, RegistersAreNamed ) {
    const auto list = test.chip( "leds" ).registers();
    ASSERT_EQ( list.size(), 12u );
    EXPECT_EQ( list[ 5 ].name, "leds5" );
    EXPECT_EQ( list[ 6 ].name, "enable0" );
    EXPECT_EQ( list[ 7 ].name, "enable1" );
    EXPECT_EQ( list[ 11 ].name, "leds11" );
}

} // namespace
