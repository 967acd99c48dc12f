#include "smbusd/emulation/chips/Pca9698.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x20 );
constexpr uint32_t autoIncrement = 0x80;

class Pca9698 : public testing::Test {
  protected:
    TestBoard test{ TestBoard::withChips(
        R"({ "name": "e", "type": "pca9698", "address": "0x20", "inputs": { "p00": 0, "p47": 0 } })" ) };
};

TEST_F( Pca9698, PowerOnValuesAreThoseOfTheDataSheet ) {
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x00 | autoIncrement, 5 ) ),
               bytes( 0xFE, 0xFF, 0xFF, 0xFF, 0x7F ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x08 | autoIncrement, 5 ) ),
               bytes( 0, 0, 0, 0, 0 ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x10 | autoIncrement, 5 ) ),
               bytes( 0, 0, 0, 0, 0 ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x18 | autoIncrement, 5 ) ),
               bytes( 0xFF, 0xFF, 0xFF, 0xFF, 0xFF ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x20 | autoIncrement, 5 ) ),
               bytes( 0xFF, 0xFF, 0xFF, 0xFF, 0xFF ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x28, 1 ) ), bytes( 0xFF ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x29, 1 ) ), bytes( 0x80 ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x2A, 1 ) ), bytes( 0x02 ) );
}

TEST_F( Pca9698, OutputLinesReadWhatTheyDrive ) {
    test.run( TransactionBuilder()
                  .write( place, 0x0B, bytes( 0x55 ) )
                  .write( place, 0x1B, bytes( 0xF0 ) ) ); // the low four lines are outputs
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x03, 1 ) ), bytes( 0xF5 ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x0B, 1 ) ), bytes( 0x55 ) );
}

TEST_F( Pca9698, PolarityInvertsWhatInputsRead ) {
    test.run( TransactionBuilder().write( place, 0x14, bytes( 0xF0 ) ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x04, 1 ) ), bytes( 0x8F ) );
}

TEST_F( Pca9698, WithoutAutoIncrementBytesStayAtTheirRegister ) {
    test.run( TransactionBuilder().write( place, 0x08, bytes( 1, 2, 3 ) ) );
    EXPECT_EQ( test.number( "e", 0x08 ), 3u );
    EXPECT_EQ( test.number( "e", 0x09 ), 0u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x08, 3 ) ), bytes( 3, 3, 3 ) );
}

TEST_F( Pca9698, AutoIncrementGoesFromTheLastBankToTheFirstOfTheKind ) {
    test.run( TransactionBuilder().write( place, 0x0B | autoIncrement, bytes( 3, 4, 0, 1 ) ) );
    EXPECT_EQ( test.number( "e", 0x0B ), 3u );
    EXPECT_EQ( test.number( "e", 0x0C ), 4u );
    EXPECT_EQ( test.number( "e", 0x08 ), 0u );
    EXPECT_EQ( test.number( "e", 0x09 ), 1u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x0C | autoIncrement, 3 ) ),
               bytes( 4, 0, 1 ) );
}

TEST_F( Pca9698, AutoIncrementDoesNotLeaveARegisterOfTheWholeChip ) {
    test.run( TransactionBuilder().write( place, 0x2A | autoIncrement, bytes( 0x12, 0x0A ) ) );
    EXPECT_EQ( test.number( "e", 0x2A ), 0x0Au );
    EXPECT_EQ( test.number( "e", 0x28 ), 0xFFu );
}

TEST_F( Pca9698, AReadWithoutACommandUsesTheLastOne ) {
    test.run( TransactionBuilder().sendByte( place, 0x04 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0x7F ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0x7F ) );
}

TEST_F( Pca9698, WritesToInputRegistersAreLoggedAndIgnored ) {
    EXPECT_FALSE( test.run( TransactionBuilder().write( place, 0x04, bytes( 0x55 ) ) ).failed() );
    EXPECT_TRUE( test.logged( "pca9698 \"e\": write of 0x55 to the read-only register 0x04" ) );
    EXPECT_EQ( test.number( "e", 0x04 ), 0x7Fu );
}

TEST_F( Pca9698, RegistersInTheGapsAreNotAcknowledged ) {
    for ( const uint32_t reg : { 0x05u, 0x0Du, 0x17u, 0x1Fu, 0x25u, 0x2Bu, 0x3Fu } ) {
        EXPECT_TRUE( test.run( TransactionBuilder().read( place, reg, 1 ) ).failed() ) << reg;
        EXPECT_THROW( test.chip( "e" ).peek( reg ), smbusd::ChipError ) << reg;
        EXPECT_THROW( test.chip( "e" ).poke( reg, 1u ), smbusd::ChipError ) << reg;
    }
    EXPECT_TRUE( test.logged( "pca9698 \"e\": register 0x05 does not exist" ) );
}

TEST_F( Pca9698, ResetBringsBackTheRegistersAndLeavesTheLines ) {
    test.run( TransactionBuilder()
                  .write( place, 0x18, bytes( 0x00 ) )
                  .write( place, 0x08, bytes( 0x3C ) ) );
    EXPECT_EQ( test.number( "e", 0x00 ), 0x3Cu );
    test.chip( "e" ).reset();
    EXPECT_EQ( test.number( "e", 0x18 ), 0xFFu );
    EXPECT_EQ( test.number( "e", 0x00 ), 0xFEu );
}

TEST_F( Pca9698, PokedInputRegisterDrivesTheLines ) {
    smbusd::Chip &chip = test.chip( "e" );
    chip.poke( 0x12, 0x01u ); // inverted line 0 of bank 2
    chip.poke( 0x02, 0xA5u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x02, 1 ) ), bytes( 0xA5 ) );
    EXPECT_EQ( chip.inputs()[ 16 ].name, "p20" );
    EXPECT_EQ( chip.inputs()[ 16 ].value, 0 );
    EXPECT_EQ( chip.inputs()[ 18 ].value, 1 );
}

TEST_F( Pca9698, EachLineIsSetFromOutside ) {
    smbusd::Chip &chip = test.chip( "e" );
    for ( unsigned bank = 0; bank < 5; bank++ ) {
        chip.poke( bank, 0u );
    }
    for ( unsigned bank = 0; bank < 5; bank++ ) {
        for ( unsigned bit = 0; bit < 8; bit++ ) {
            const std::string line = "p" + std::to_string( bank ) + std::to_string( bit );
            chip.setInput( line, 1 );
            EXPECT_EQ( test.number( "e", bank ), 1u << bit ) << line;
            chip.setInput( line, 0 );
            EXPECT_EQ( test.number( "e", bank ), 0u ) << line;
        }
    }
    EXPECT_EQ( chip.inputs().size(), 40u );
}

TEST_F( Pca9698, UnknownInputsAreRefused ) {
    smbusd::Chip &chip = test.chip( "e" );
    for ( const char *name : { "p50", "p08", "p0", "p000", "q00", "" } ) {
        EXPECT_THROW( chip.setInput( name, 1 ), smbusd::ChipError ) << name;
    }
    EXPECT_THROW( chip.setInput( "p00", 2 ), smbusd::ChipError );
}

TEST_F( Pca9698, RegistersAreNamed ) {
    const std::vector<smbusd::RegisterInfo> registers = test.chip( "e" ).registers();
    ASSERT_EQ( registers.size(), 28u );
    EXPECT_EQ( registers[ 0 ].name, "input0" );
    EXPECT_TRUE( registers[ 0 ].readOnly );
    EXPECT_EQ( registers[ 9 ].name, "output4" );
    EXPECT_EQ( registers[ 9 ].number, 0x0Cu );
    EXPECT_FALSE( registers[ 9 ].readOnly );
    EXPECT_EQ( registers[ 27 ].name, "mode" );
    EXPECT_EQ( registers[ 27 ].number, 0x2Au );
}

TEST( Pca9698Config, RegistersGiveResetValues ) {
    TestBoard test( TestBoard::withChips(
        R"({ "name": "e", "type": "pca9698", "address": 32,
             "registers": { "0x08": 165, "28": 15, "0x2A": 0 } })" ) );
    EXPECT_EQ( test.number( "e", 0x08 ), 0xA5u );
    EXPECT_EQ( test.number( "e", 0x1C ), 0x0Fu );
    EXPECT_EQ( test.number( "e", 0x2A ), 0x00u );
    EXPECT_EQ( test.number( "e", 0x04 ), 0x0Fu ) << "four lines of bank 4 are driven low";
    test.run( TransactionBuilder().write( place, 0x08, bytes( 0 ) ) );
    test.chip( "e" ).reset();
    EXPECT_EQ( test.number( "e", 0x08 ), 0xA5u );
}

TEST( Pca9698Config, OtherRegistersAreRefused ) {
    for ( const char *registers :
          { R"("0": 1)", R"("4": 1)", R"("0x0D": 1)", R"("0x2B": 1)", R"("8": 256)" } ) {
        EXPECT_THROW( TestBoard board( TestBoard::withChips(
                          std::string( R"({ "name": "e", "type": "pca9698", "address": 32,
                             "registers": { )" ) +
                          registers + " } }" ) ),
                      smbusd::ConfigError )
            << registers;
    }
}

} // namespace
