#include "smbusd/emulation/chips/Pca9548.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

const char *const mux = R"({ "name": "mux", "type": "pca9548", "address": "0x70" })";
constexpr test::Place place = testBus.at( 0x70 );

TEST( Pca9548, StartsWithAllChannelsClosed ) {
    TestBoard test( TestBoard::withChips( mux ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0 ) );
    for ( unsigned channel = 0; channel < 8; channel++ ) {
        EXPECT_FALSE( test.chip( "mux" ).mux()->channelOpen( channel ) );
    }
}

TEST( Pca9548, OpensAnyMaskOfChannels ) {
    TestBoard test( TestBoard::withChips( mux ) );
    for ( unsigned mask = 0; mask < 256; mask++ ) {
        test.run( TransactionBuilder().sendByte( place, mask ) );
        EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( mask ) );
        for ( unsigned channel = 0; channel < 8; channel++ ) {
            EXPECT_EQ( test.chip( "mux" ).mux()->channelOpen( channel ),
                       ( mask & 1u << channel ) != 0 );
        }
    }
}

TEST( Pca9548, SwitchesAtTheStop ) {
    TestBoard test( TestBoard::withChips( mux ) );
    smbusd::Chip &chip = test.chip( "mux" );
    chip.start( false );
    chip.write( 0x02 );
    EXPECT_FALSE( chip.mux()->channelOpen( 1 ) );
    chip.stop();
    EXPECT_TRUE( chip.mux()->channelOpen( 1 ) );
}

TEST( Pca9548, TheLastOfSeveralBytesCounts ) {
    TestBoard test( TestBoard::withChips( mux ) );
    test.run( TransactionBuilder().write( place, 0x01, bytes( 0x80 ) ) );
    EXPECT_EQ( test.number( "mux", 0 ), 0x80u );
}

TEST( Pca9548, ResetClosesThem ) {
    TestBoard test( TestBoard::withChips( mux ) );
    test.run( TransactionBuilder().sendByte( place, 0xFF ) );
    test.chip( "mux" ).reset();
    EXPECT_FALSE( test.chip( "mux" ).mux()->channelOpen( 0 ) );
    EXPECT_EQ( test.number( "mux", 0 ), 0u );
}

TEST( Pca9548, HasOneRegister ) {
    TestBoard test( TestBoard::withChips( mux ) );
    EXPECT_THROW( test.chip( "mux" ).peek( 1 ), smbusd::ChipError );
    EXPECT_THROW( test.chip( "mux" ).poke( 1, uint32_t{ 0 } ), smbusd::ChipError );
    EXPECT_THROW( test.chip( "mux" ).poke( 0, uint32_t{ 256 } ), smbusd::ChipError );
    EXPECT_EQ( test.chip( "mux" ).registers().size(), 1u );
}

} // namespace
