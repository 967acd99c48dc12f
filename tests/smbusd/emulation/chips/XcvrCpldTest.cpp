#include "smbusd/emulation/chips/XcvrCpld.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place sfpPlace = testBus.at( 0x60 );
constexpr test::Place qsfpPlace = testBus.at( 0x61 );

/** Register and lowest bit of each port's nibble. */
struct Position {
    uint32_t reg;
    unsigned bit;
};
constexpr Position positions[ 16 ] = {
    { 1, 12 }, { 1, 8 }, { 1, 4 }, { 1, 0 }, { 2, 12 }, { 2, 8 }, { 2, 4 }, { 2, 0 },
    { 3, 12 }, { 3, 8 }, { 3, 4 }, { 3, 0 }, { 4, 12 }, { 4, 8 }, { 4, 4 }, { 4, 0 },
};

class XcvrCpld : public testing::Test {
  protected:
    /** The nibble of a port, 1 to 16. */
    unsigned nibble( const std::string &chip, unsigned port ) {
        const Position position = positions[ port - 1 ];
        return test.number( chip, position.reg ) >> position.bit & 0xF;
    }

    TestBoard test{ TestBoard::withChips(
        R"({ "name": "s", "type": "xcvr-cpld", "address": "0x60", "cages": "sfp" },
           { "name": "q", "type": "xcvr-cpld", "address": "0x61", "cages": "qsfp" })" ) };
};

TEST_F( XcvrCpld, EmptySfpCagesHaveNoLightAndTransmitUnhindered ) {
    for ( uint32_t reg = 1; reg <= 4; reg++ ) {
        EXPECT_EQ( test.data( TransactionBuilder().read( sfpPlace, reg, 2 ) ),
                   bytes( 0x11, 0x11 ) );
    }
}

TEST_F( XcvrCpld, EmptyQsfpCagesHaveNoInterruptAndAreOutOfReset ) {
    for ( uint32_t reg = 1; reg <= 4; reg++ ) {
        EXPECT_EQ( test.data( TransactionBuilder().read( qsfpPlace, reg, 2 ) ),
                   bytes( 0xCC, 0xCC ) );
    }
}

TEST_F( XcvrCpld, WordsTravelHighByteFirst ) {
    test.chip( "s" ).setInput( "present1", 1 );
    EXPECT_EQ( test.data( TransactionBuilder().read( sfpPlace, 1, 2 ) ), bytes( 0x31, 0x11 ) );
    test.run( TransactionBuilder().write( sfpPlace, 2, bytes( 0x40, 0x04 ) ) );
    EXPECT_EQ( test.number( "s", 2 ), 0x5115u );
}

TEST_F( XcvrCpld, EachSfpLineHasItsBit ) {
    smbusd::Chip &chip = test.chip( "s" );
    for ( unsigned port = 1; port <= 16; port++ ) {
        const std::string number = std::to_string( port );
        chip.setInput( "los" + number, 0 );
        EXPECT_EQ( nibble( "s", port ), 0x0u ) << port;
        chip.setInput( "present" + number, 1 );
        EXPECT_EQ( nibble( "s", port ), 0x2u ) << port;
        chip.setInput( "txfault" + number, 1 );
        EXPECT_EQ( nibble( "s", port ), 0xAu ) << port;
        chip.setInput( "los" + number, 1 );
        chip.setInput( "txfault" + number, 0 );
        chip.setInput( "present" + number, 0 );
        EXPECT_EQ( nibble( "s", port ), 0x1u ) << port;
    }
    for ( uint32_t reg = 1; reg <= 4; reg++ ) {
        EXPECT_EQ( test.number( "s", reg ), 0x1111u ) << "no line touched another port's bits";
    }
}

TEST_F( XcvrCpld, EachQsfpLineHasItsBit ) {
    smbusd::Chip &chip = test.chip( "q" );
    for ( unsigned port = 1; port <= 16; port++ ) {
        const std::string number = std::to_string( port );
        chip.setInput( "present" + number, 1 );
        EXPECT_EQ( nibble( "q", port ), 0xEu ) << port;
        chip.setInput( "interrupt" + number, 1 );
        EXPECT_EQ( nibble( "q", port ), 0xAu ) << port;
        chip.setInput( "present" + number, 0 );
        chip.setInput( "interrupt" + number, 0 );
    }
    for ( uint32_t reg = 1; reg <= 4; reg++ ) {
        EXPECT_EQ( test.number( "q", reg ), 0xCCCCu ) << "no line touched another port's bits";
    }
}

TEST_F( XcvrCpld, OnlyOutputsAreWritten ) {
    test.run( TransactionBuilder().write( sfpPlace, 3, bytes( 0xFF, 0xFF ) ) );
    EXPECT_EQ( test.number( "s", 3 ), 0x5555u ) << "transmit disable, and loss of signal as it was";
    test.run( TransactionBuilder().write( sfpPlace, 3, bytes( 0x00, 0x00 ) ) );
    EXPECT_EQ( test.number( "s", 3 ), 0x1111u );
    test.run( TransactionBuilder().write( qsfpPlace, 4, bytes( 0xFF, 0xFF ) ) );
    EXPECT_EQ( test.number( "q", 4 ), 0xDDDDu ) << "low power and out of reset, no interrupt";
    test.run( TransactionBuilder().write( qsfpPlace, 4, bytes( 0x00, 0x00 ) ) );
    EXPECT_EQ( test.number( "q", 4 ), 0x4444u ) << "full power and in reset, no interrupt";
}

TEST_F( XcvrCpld, OutputsStartAnewWithPowerWhileModulesStay ) {
    smbusd::Chip &chip = test.chip( "q" );
    chip.setInput( "present16", 1 );
    test.run( TransactionBuilder().write( qsfpPlace, 4, bytes( 0x11, 0x11 ) ) );
    EXPECT_EQ( test.number( "q", 4 ), 0x5557u );
    chip.reset();
    EXPECT_EQ( test.number( "q", 4 ), 0xCCCEu );
}

TEST_F( XcvrCpld, RegistersOutsideOneToFourAreNotAcknowledged ) {
    for ( const uint32_t reg : { 0u, 5u, 255u } ) {
        EXPECT_TRUE( test.run( TransactionBuilder().read( sfpPlace, reg, 2 ) ).failed() ) << reg;
        EXPECT_TRUE(
            test.run( TransactionBuilder().write( sfpPlace, reg, bytes( 1, 2 ) ) ).failed() )
            << reg;
        EXPECT_THROW( test.chip( "s" ).peek( reg ), smbusd::ChipError );
        EXPECT_THROW( test.chip( "s" ).poke( reg, 1u ), smbusd::ChipError );
    }
    EXPECT_TRUE( test.logged( "xcvr-cpld \"s\": register 0x00 does not exist" ) );
    EXPECT_EQ( test.number( "s", 1 ), 0x1111u );
}

TEST_F( XcvrCpld, ZeroIsAGoodDataByte ) {
    test.run( TransactionBuilder().write( sfpPlace, 1, bytes( 0xFF, 0xFF ) ) );
    EXPECT_FALSE(
        test.run( TransactionBuilder().write( sfpPlace, 1, bytes( 0x00, 0x00 ) ) ).failed() );
    EXPECT_EQ( test.number( "s", 1 ), 0x1111u );
}

TEST_F( XcvrCpld, PokedRegisterDrivesTheModulesLinesToo ) {
    smbusd::Chip &chip = test.chip( "s" );
    chip.poke( 1, 0xE000u );
    EXPECT_EQ( test.number( "s", 1 ), 0xE000u );
    const std::vector<smbusd::InputInfo> inputs = chip.inputs();
    ASSERT_EQ( inputs.size(), 48u );
    EXPECT_EQ( inputs[ 0 ].name, "present1" );
    EXPECT_EQ( inputs[ 0 ].value, 1 );
    EXPECT_EQ( inputs[ 16 ].name, "los1" );
    EXPECT_EQ( inputs[ 16 ].value, 0 );
    EXPECT_EQ( inputs[ 32 ].name, "txfault1" );
    EXPECT_EQ( inputs[ 32 ].value, 1 );
    EXPECT_EQ( inputs[ 47 ].name, "txfault16" );
    chip.reset();
    EXPECT_EQ( test.number( "s", 1 ), 0xA000u ) << "transmit disable is the CPLD's own";
}

TEST_F( XcvrCpld, InputsOfQsfpCagesAreOneWhenAsserted ) {
    smbusd::Chip &chip = test.chip( "q" );
    chip.setInput( "interrupt2", 1 );
    const std::vector<smbusd::InputInfo> inputs = chip.inputs();
    ASSERT_EQ( inputs.size(), 32u );
    EXPECT_EQ( inputs[ 16 ].name, "interrupt1" );
    EXPECT_EQ( inputs[ 16 ].value, 0 );
    EXPECT_EQ( inputs[ 17 ].value, 1 );
}

TEST_F( XcvrCpld, UnknownInputsAreRefused ) {
    smbusd::Chip &sfp = test.chip( "s" );
    for ( const char *name : { "present0", "present17", "present01", "present", "present1x",
                               "interrupt1", "txdisable1", "" } ) {
        EXPECT_THROW( sfp.setInput( name, 1 ), smbusd::ChipError ) << name;
    }
    EXPECT_THROW( test.chip( "q" ).setInput( "los1", 1 ), smbusd::ChipError );
    EXPECT_THROW( sfp.setInput( "present1", 0.5 ), smbusd::ChipError );
    EXPECT_EQ( test.number( "s", 1 ), 0x1111u );
}

TEST_F( XcvrCpld, RegistersAreNamedAfterTheirPorts ) {
    const std::vector<smbusd::RegisterInfo> registers = test.chip( "s" ).registers();
    ASSERT_EQ( registers.size(), 4u );
    EXPECT_EQ( registers[ 0 ].number, 1u );
    EXPECT_EQ( registers[ 0 ].width, 2u );
    EXPECT_EQ( registers[ 0 ].name, "ports1to4" );
    EXPECT_EQ( registers[ 3 ].name, "ports13to16" );
}

TEST( XcvrCpldConfig, CagesAreSfpOrQsfp ) {
    for ( const char *cages : { "", R"(, "cages": "SFP")", R"(, "cages": 16)" } ) {
        EXPECT_THROW( TestBoard board( TestBoard::withChips(
                          std::string( R"({ "name": "c", "type": "xcvr-cpld", "address": 96)" ) +
                          cages + " }" ) ),
                      smbusd::ConfigError )
            << cages;
    }
}

} // namespace
