#include "smbusd/emulation/chips/Pca9555.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x20 );

class Pca9555 : public testing::Test {
  protected:
    TestBoard test{ TestBoard::withChips(
        R"({ "name": "e", "type": "pca9555", "address": "0x20", "inputs": { "p03": 0, "p17": 0 } })" ) };
};

TEST_F( Pca9555, PowerOnValuesAreThoseOfTheDataSheet ) {
    // Inputs follow the lines: all high but those two.
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0, 2 ) ), bytes( 0xF7, 0x7F ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 2, 2 ) ), bytes( 0xFF, 0xFF ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 4, 2 ) ), bytes( 0x00, 0x00 ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 6, 2 ) ), bytes( 0xFF, 0xFF ) );
}

TEST_F( Pca9555, OutputLinesReadWhatTheyDrive ) {
    test.run( TransactionBuilder()
                  .write( place, 2, bytes( 0x05 ) )
                  .write( place, 6, bytes( 0xF0 ) ) ); // the low four lines are outputs
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0, 1 ) ), bytes( 0xF5 ) );
}

TEST_F( Pca9555, OutputRegisterReadsBackAlsoForInputLines ) {
    test.run( TransactionBuilder().write( place, 3, bytes( 0x5A ) ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 3, 1 ) ), bytes( 0x5A ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 1, 1 ) ), bytes( 0x7F ) );
}

TEST_F( Pca9555, PolarityInvertsWhatInputsRead ) {
    test.run( TransactionBuilder().write( place, 4, bytes( 0x0F ) ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0, 1 ) ), bytes( 0xF8 ) );
}

TEST_F( Pca9555, BytesAlternateWithinThePair ) {
    test.run( TransactionBuilder().write( place, 7, bytes( 1, 2, 3 ) ) );
    EXPECT_EQ( test.number( "e", 6 ), 2u );
    EXPECT_EQ( test.number( "e", 7 ), 3u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 7, 3 ) ), bytes( 3, 2, 3 ) );
}

TEST_F( Pca9555, AReadWithoutACommandUsesTheLastOne ) {
    test.run( TransactionBuilder().sendByte( place, 1 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0x7F ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0x7F ) );
}

TEST_F( Pca9555, WritesToInputRegistersAreLoggedAndIgnored ) {
    EXPECT_FALSE( test.run( TransactionBuilder().write( place, 0, bytes( 0x55 ) ) ).failed() );
    EXPECT_TRUE( test.logged( "pca9555 \"e\": write of 0x55 to the read-only register 0" ) );
    EXPECT_EQ( test.number( "e", 0 ), 0xF7u );
    EXPECT_EQ( test.chip( "e" ).counters.errors, 1u );
}

TEST_F( Pca9555, CommandsAboveSevenAreLoggedAndCut ) {
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x0A, 1 ) ), bytes( 0xFF ) );
    EXPECT_TRUE( test.logged( "pca9555 \"e\": command 0x0A is not one of 0 to 7" ) );
}

TEST_F( Pca9555, InputsAreSetFromOutside ) {
    smbusd::Chip &chip = test.chip( "e" );
    chip.setInput( "p03", 1 );
    chip.setInput( "p10", 0 );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0, 2 ) ), bytes( 0xFF, 0x7E ) );
    const auto inputs = chip.inputs();
    ASSERT_EQ( inputs.size(), 16u );
    EXPECT_EQ( inputs[ 8 ].name, "p10" );
    EXPECT_EQ( inputs[ 8 ].value, 0 );
    EXPECT_EQ( inputs[ 3 ].value, 1 );
    for ( const char *wrong : { "p08", "p20", "p0", "q00", "p000", "" } ) {
        EXPECT_THROW( chip.setInput( wrong, 1 ), smbusd::ChipError ) << wrong;
    }
    EXPECT_THROW( chip.setInput( "p00", 0.5 ), smbusd::ChipError );
}

TEST_F( Pca9555, InputsStayThroughAReset ) {
    test.run( TransactionBuilder().write( place, 6, bytes( 0, 0 ) ) );
    test.chip( "e" ).reset();
    EXPECT_EQ( test.number( "e", 0 ), 0xF7u );
}

TEST_F( Pca9555, PokingAnInputRegisterDrivesTheLines ) {
    smbusd::Chip &chip = test.chip( "e" );
    chip.poke( 0, uint32_t{ 0x12 } );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0, 1 ) ), bytes( 0x12 ) );
    chip.poke( 6, uint32_t{ 0x34 } );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 6, 1 ) ), bytes( 0x34 ) );
    EXPECT_THROW( chip.poke( 8, uint32_t{ 0 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( 2, uint32_t{ 0x100 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( 2, std::vector<uint8_t>{ 1 } ), smbusd::ChipError );
    EXPECT_THROW( chip.peek( 8 ), smbusd::ChipError );
}

TEST( Pca9555Config, ResetValuesCanBeGiven ) {
    TestBoard test( TestBoard::withChips( R"({ "name": "e", "type": "pca9555", "address": "0x20",
        "registers": { "2": "0x0F", "6": 0 } })" ) );
    EXPECT_EQ( test.number( "e", 0 ), 0x0Fu );
    test.run( TransactionBuilder().write( place, 2, bytes( 0 ) ) );
    test.chip( "e" ).reset();
    EXPECT_EQ( test.number( "e", 2 ), 0x0Fu );
}

} // namespace
