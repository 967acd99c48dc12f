#include "smbusd/emulation/chips/PmbusSupply.h"

#include <cmath>

#include <gtest/gtest.h>

#include "smbusd/emulation/chips/PmbusCommands.h"
#include "tests/support/TestBoard.h"

namespace {

using namespace smbusd::pmbus;
using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x58 );

const std::string named = R"("model": "DPS550AB6A", "serial": "GTVD1615001656")";

/** A supply of 550 W that loses 8 %; its fans take their speed immediately. */
const std::string usual = named + R"(,
    "fans": [ { "maxRpm": 16000 }, { "maxRpm": 20000, "unit": "rpm" } ],
    "temperatures": [ { "rise": 30 }, { "rise": 55 } ])";

std::string supply( const std::string &options ) {
    return TestBoard::withChips( R"({ "name": "psu", "type": "pmbus", "address": "0x58", )" +
                                 options + " }" );
}

std::string messageOf( const std::string &options ) {
    try {
        TestBoard test( supply( options ) );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

class PmbusSupply : public testing::Test {
  protected:
    explicit PmbusSupply( const std::string &options = usual ) : test( supply( options ) ) {}

    unsigned byte( unsigned command ) {
        return static_cast<uint8_t>(
            test.data( TransactionBuilder().read( place, command, 1 ) )[ 0 ] );
    }
    unsigned word( unsigned command ) {
        const std::string data = test.data( TransactionBuilder().read( place, command, 2 ) );
        return static_cast<uint8_t>( data[ 0 ] ) | static_cast<uint8_t>( data[ 1 ] ) << 8;
    }
    bool write( unsigned command, const std::string &data ) {
        return !test.run( TransactionBuilder().write( place, command, data ) ).failed();
    }
    void set( const std::string &input, double value ) {
        test.chip( "psu" ).setInput( input, value );
    }
    void clearFaults() { test.run( TransactionBuilder().sendByte( place, CLEAR_FAULTS ) ); }

    TestBoard test;
};

TEST_F( PmbusSupply, MeasuresWhatTheLoadDraws ) {
    set( "iout", 20 );
    EXPECT_EQ( word( READ_VIN ), 0xF398u );  // 920 * 2^-2 = 230 V
    EXPECT_EQ( word( READ_VOUT ), 0x1800u ); // 6144 * 2^-9 = 12 V
    EXPECT_EQ( word( READ_IOUT ), 0xDA80u ); // 640 * 2^-5 = 20 A
    EXPECT_EQ( word( READ_POUT ), 0xF3C0u ); // 960 * 2^-2 = 240 W
    EXPECT_EQ( word( READ_PIN ), 0xFA0Au );  // 522 * 2^-1: 240 W / 0.92 = 260.87 W
    EXPECT_EQ( word( READ_IIN ), 0xBA45u );  // 581 * 2^-9: 260.87 W / 230 V = 1.134 A
    // 25 degrees and 240/550 of the rise: 609 * 2^-4 = 38.09, 784 * 2^-4 = 49.
    EXPECT_EQ( word( READ_TEMPERATURE_1 ), 0xE261u );
    EXPECT_EQ( word( READ_TEMPERATURE_2 ), 0xE310u );
}

TEST_F( PmbusSupply, WithoutALoadOnlyVoltagesAreThere ) {
    EXPECT_EQ( word( READ_VOUT ), 0x1800u );
    EXPECT_EQ( word( READ_IOUT ), 0u );
    EXPECT_EQ( word( READ_IIN ), 0u );
    EXPECT_EQ( word( READ_PIN ), 0u );
    EXPECT_EQ( word( READ_TEMPERATURE_1 ), 0xDB20u ); // 800 * 2^-5 = 25
}

TEST_F( PmbusSupply, FormatOfTheOutputVoltageIsThatOfVoutMode ) {
    EXPECT_EQ( byte( VOUT_MODE ), 0x17u );
    TestBoard emerson( supply( named + R"(, "voutMode": 26)" ) );
    EXPECT_EQ( emerson.number( "psu", VOUT_MODE ), 0x1Au );
    EXPECT_EQ( emerson.number( "psu", READ_VOUT ), 0x0300u ); // 768 * 2^-6
    TestBoard without( supply( named + R"(, "voutMode": 255)" ) );
    EXPECT_EQ( without.number( "psu", VOUT_MODE ), 0xFFu );
    EXPECT_EQ( without.number( "psu", READ_VOUT ), 0xD300u ); // LINEAR11: 768 * 2^-6
}

TEST_F( PmbusSupply, NamesAreBlocks ) {
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( place, MFR_MODEL ) ), "DPS550AB6A" );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( place, MFR_SERIAL ) ), "GTVD1615001656" );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( place, MFR_ID ) ), "ORVAN" );
    // Read as bytes, a block begins with its count.
    EXPECT_EQ( byte( MFR_MODEL ), 10u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, MFR_MODEL, 11 ) ), "\x0A"
                                                                               "DPS550AB6A" );
    EXPECT_FALSE( write( MFR_MODEL, "\x01x" ) );
}

TEST_F( PmbusSupply, FansFollowTheirCommandInTheirUnit ) {
    EXPECT_EQ( byte( FAN_CONFIG_1_2 ), 0x8Cu );                 // both there, the second in rpm
    EXPECT_EQ( word( FAN_COMMAND_1 ), 0xE320u );                // 800 * 2^-4 = 50 %
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0x1BE8u );             // 1000 * 2^3 = 8000
    EXPECT_EQ( word( READ_FAN_SPEED_2 ), 0x2271u );             // 625 * 2^4 = 10000
    EXPECT_TRUE( write( FAN_COMMAND_1, bytes( 25, 0 ) ) );      // a plain number is LINEAR11, too
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0x13E8u );             // 1000 * 2^2 = 4000
    EXPECT_TRUE( write( FAN_COMMAND_2, bytes( 0xEE, 0x12 ) ) ); // 750 * 2^2 = 3000
    EXPECT_EQ( word( READ_FAN_SPEED_2 ), 0x12EEu );
    // No fan goes beyond its maximum, or backwards.
    EXPECT_TRUE( write( FAN_COMMAND_1, bytes( 200, 0 ) ) );
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0x23E8u ); // 1000 * 2^4 = 16000
    EXPECT_TRUE( write( FAN_COMMAND_1, bytes( 0xFF, 0x07 ) ) );
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0u );
    // In revolutions from now on.
    EXPECT_TRUE( write( FAN_CONFIG_1_2, bytes( 0xCC ) ) );
    EXPECT_TRUE( write( FAN_COMMAND_1, bytes( 200, 0 ) ) );
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0xF320u ); // 800 * 2^-2 = 200
}

TEST_F( PmbusSupply, FansTakeTheirTime ) {
    TestBoard slow( supply( named + R"(, "spinUpMs": 1000, "fans": [ { "maxRpm": 16000 } ])" ) );
    EXPECT_EQ( slow.number( "psu", READ_FAN_SPEED_1 ), 0x1BE8u ); // it has run for long
    slow.chip( "psu" ).reset();
    EXPECT_EQ( slow.number( "psu", READ_FAN_SPEED_1 ), 0u );
    slow.scheduler.advance( std::chrono::seconds( 1 ) );
    // 8000 * (1 - 1/e) = 5057, the nearest 632 * 2^3.
    EXPECT_EQ( slow.number( "psu", READ_FAN_SPEED_1 ), 0x1A78u );
}

TEST_F( PmbusSupply, BlockedFanIsAFaultUntilItIsCleared ) {
    set( "fan2.blocked", 1 );
    EXPECT_EQ( word( READ_FAN_SPEED_2 ), 0u );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x40u );
    EXPECT_EQ( word( STATUS_WORD ), 0x0401u );
    set( "fan2.blocked", 0 );
    EXPECT_EQ( word( READ_FAN_SPEED_2 ), 0x2271u );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x40u );
    clearFaults();
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0u );
    set( "fan1.blocked", 1 );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
    clearFaults();
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u ) << "its cause is still there";
}

TEST_F( PmbusSupply, WithoutMainsItIsOff ) {
    set( "iout", 20 );
    set( "vin", 0 );
    EXPECT_EQ( word( READ_VIN ), 0u );
    EXPECT_EQ( word( READ_VOUT ), 0u );
    EXPECT_EQ( word( READ_IIN ), 0u );
    EXPECT_EQ( word( READ_PIN ), 0u );
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0u );
    EXPECT_EQ( byte( STATUS_INPUT ), 0x18u );
    // Input fault, off, power not good, low input, and a fault that the low byte has no name for.
    EXPECT_EQ( word( STATUS_WORD ), 0x2849u );
    EXPECT_EQ( byte( STATUS_BYTE ), 0x49u );
    set( "vin", 230 );
    EXPECT_EQ( word( STATUS_WORD ), 0x2009u ); // the fault stays, the state does not
    EXPECT_EQ( word( READ_VOUT ), 0x1800u );
    clearFaults();
    EXPECT_EQ( word( STATUS_WORD ), 0u );
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0x1BE8u );
}

TEST_F( PmbusSupply, OperationSwitchesItOff ) {
    EXPECT_EQ( byte( OPERATION ), 0x80u );
    EXPECT_TRUE( write( OPERATION, bytes( 0 ) ) );
    EXPECT_EQ( word( STATUS_WORD ), 0x0840u ); // off, which is no fault
    EXPECT_EQ( word( READ_VOUT ), 0u );
    EXPECT_TRUE( write( OPERATION, bytes( 0x80 ) ) );
    EXPECT_EQ( word( STATUS_WORD ), 0u );
    set( "on", 0 );
    EXPECT_EQ( word( STATUS_WORD ), 0x0840u );
}

TEST_F( PmbusSupply, SwitchingTheOutputOffAndOnClearsFaults ) {
    const auto stallFan = [ this ] {
        set( "fan1.blocked", 1 );
        set( "fan1.blocked", 0 );
        EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
    };
    stallFan();
    EXPECT_TRUE( write( OPERATION, bytes( 0x80 ) ) ); // it is on already
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
    EXPECT_TRUE( write( OPERATION, bytes( 0 ) ) );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
    EXPECT_TRUE( write( OPERATION, bytes( 0x80 ) ) );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0u );
    // By its line.
    stallFan();
    set( "on", 0 );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
    set( "on", 1 );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0u );
    // By both together: it comes on with the second.
    stallFan();
    set( "on", 0 );
    EXPECT_TRUE( write( OPERATION, bytes( 0 ) ) );
    set( "on", 1 );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
    EXPECT_TRUE( write( OPERATION, bytes( 0x80 ) ) );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0u );
    // Without its cause gone it comes back.
    set( "fan1.blocked", 1 );
    set( "on", 0 );
    set( "on", 1 );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
}

TEST_F( PmbusSupply, AStatusRegisterForgetsTheBitsThatAreWrittenAsOne ) {
    set( "vin", 0 );
    set( "vin", 230 );
    EXPECT_EQ( byte( STATUS_INPUT ), 0x18u );
    EXPECT_TRUE( write( STATUS_INPUT, bytes( 0xEF ) ) );
    EXPECT_EQ( byte( STATUS_INPUT ), 0x10u );
    EXPECT_EQ( word( STATUS_WORD ), 0x2008u );
    EXPECT_TRUE( write( STATUS_INPUT, bytes( 0 ) ) );
    EXPECT_EQ( byte( STATUS_INPUT ), 0x10u );
    EXPECT_TRUE( write( STATUS_INPUT, bytes( 0x10 ) ) );
    EXPECT_EQ( word( STATUS_WORD ), 0u );
    set( "fan2.blocked", 1 );
    EXPECT_TRUE( write( STATUS_FANS_1_2, bytes( 0x40 ) ) );
    EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x40u ) << "its cause is still there";
    set( "fan2.blocked", 0 );
    EXPECT_TRUE( write( STATUS_FANS_1_2, bytes( 0x40 ) ) );
    for ( const unsigned command :
          { STATUS_VOUT, STATUS_IOUT, STATUS_TEMPERATURE, STATUS_CML, STATUS_FANS_1_2 } ) {
        test.chip( "psu" ).poke( command, uint32_t{ 0x81 } );
        EXPECT_TRUE( write( command, bytes( 0x01 ) ) );
        EXPECT_EQ( byte( command ), 0x80u ) << command;
        EXPECT_TRUE( write( command, bytes( 0xFF ) ) );
        EXPECT_EQ( byte( command ), 0u ) << command;
    }
    EXPECT_EQ( word( STATUS_WORD ), 0u );
}

TEST_F( PmbusSupply, TheSummariesTakeAWriteAndFollowTheirRegistersAllTheSame ) {
    test.chip( "psu" ).poke( STATUS_VOUT, uint32_t{ 0x10 } );
    EXPECT_TRUE( write( STATUS_BYTE, bytes( 0xFF ) ) );
    EXPECT_TRUE( write( STATUS_WORD, bytes( 0xFF, 0xFF ) ) );
    EXPECT_EQ( word( STATUS_WORD ), 0x8001u );
    EXPECT_EQ( word( FAN_COMMAND_1 ), 0xE320u );
    // Linux clears the bit of an alarm by a byte: acknowledged, but too short for the word.
    EXPECT_TRUE( write( STATUS_WORD, bytes( 0x01 ) ) );
    EXPECT_EQ( byte( STATUS_CML ), 0x40u );
    EXPECT_EQ( word( STATUS_WORD ), 0x8003u );
}

TEST_F( PmbusSupply, WriteProtectionKeepsStatusRegistersAsTheyAre ) {
    test.chip( "psu" ).poke( STATUS_VOUT, uint32_t{ 0x10 } );
    EXPECT_TRUE( write( WRITE_PROTECT, bytes( 0x80 ) ) );
    EXPECT_TRUE( write( STATUS_VOUT, bytes( 0x10 ) ) );
    EXPECT_EQ( byte( STATUS_VOUT ), 0x10u );
    EXPECT_EQ( byte( STATUS_CML ), 0x40u );
}

TEST_F( PmbusSupply, WriteProtectionIsOneOfFour ) {
    for ( const unsigned wrong : { 0x01u, 0x10u, 0x60u, 0xC0u, 0xFFu } ) {
        EXPECT_TRUE( write( WRITE_PROTECT, bytes( 0x40 ) ) );
        write( WRITE_PROTECT, bytes( wrong ) );
        EXPECT_EQ( byte( WRITE_PROTECT ), 0x40u ) << wrong;
        EXPECT_EQ( byte( STATUS_CML ), 0x40u ) << wrong;
        EXPECT_TRUE( write( WRITE_PROTECT, bytes( 0 ) ) );
        clearFaults();
        EXPECT_EQ( byte( STATUS_CML ), 0u );
    }
    EXPECT_TRUE( test.logged( "pmbus \"psu\": 0xC0 for WRITE_PROTECT, where 0x80, 0x40, 0x20 or 0 "
                              "was expected" ) );
    EXPECT_THROW( test.chip( "psu" ).poke( WRITE_PROTECT, uint32_t{ 1 } ), smbusd::ChipError );
    EXPECT_EQ( byte( WRITE_PROTECT ), 0u );
}

TEST_F( PmbusSupply, AReceiveByteBeforeAnyCommandBringsAnIdleLine ) {
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0xFF ) );
    EXPECT_EQ( byte( STATUS_CML ), 0u );
    // STATUS_CML was named now; after another reset nothing is.
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0 ) );
    test.chip( "psu" ).reset();
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0xFF ) );
}

TEST_F( PmbusSupply, ClearFaultsCannotBeReadAndIsNotCarriedOutByTheAttempt ) {
    test.chip( "psu" ).poke( STATUS_VOUT, uint32_t{ 0x10 } );
    EXPECT_TRUE( test.run( TransactionBuilder().read( place, CLEAR_FAULTS, 1 ) ).failed() );
    EXPECT_EQ( byte( STATUS_VOUT ), 0x10u );
    EXPECT_EQ( byte( STATUS_CML ), 0x80u );
}

TEST_F( PmbusSupply, CollapsedOutputIsBadPowerThoughItIsOn ) {
    set( "output.fault", 1 );
    EXPECT_EQ( word( READ_VOUT ), 0u );
    EXPECT_EQ( byte( STATUS_VOUT ), 0x10u );
    EXPECT_EQ( word( STATUS_WORD ), 0x8801u );
}

TEST_F( PmbusSupply, TooMuchLoadAndTooMuchHeatAreFaults ) {
    set( "iout", 50 ); // 600 W
    EXPECT_EQ( byte( STATUS_IOUT ), 0x80u );
    EXPECT_EQ( word( STATUS_WORD ), 0x4010u );
    set( "iout", 0 );
    set( "ambient", 101 );
    clearFaults();
    EXPECT_EQ( byte( STATUS_TEMPERATURE ), 0x80u );
    EXPECT_EQ( word( STATUS_WORD ), 0x0004u );
}

TEST_F( PmbusSupply, WhatTheMasterDoesWrongIsAFaultOfCommunication ) {
    EXPECT_FALSE( write( 0x55, bytes( 1 ) ) );
    EXPECT_EQ( byte( STATUS_CML ), 0x80u );
    EXPECT_EQ( word( STATUS_WORD ), 0x0002u );
    EXPECT_FALSE( write( READ_VIN, bytes( 1, 2 ) ) );
    EXPECT_EQ( byte( STATUS_CML ), 0xC0u );
    // 0x7F would be the packet error code after 0xB0 0x3B 0x19 0x00.
    EXPECT_FALSE( write( FAN_COMMAND_1, bytes( 0x19, 0, 0x7E ) ) );
    EXPECT_EQ( byte( STATUS_CML ), 0xE0u );
    EXPECT_EQ( word( FAN_COMMAND_1 ), 0xE320u );
    clearFaults();
    EXPECT_EQ( byte( STATUS_CML ), 0u );
}

TEST_F( PmbusSupply, PacketErrorCodes ) {
    EXPECT_EQ( byte( CAPABILITY ), 0xA0u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, READ_VIN, 2, true ) ),
               bytes( 0x98, 0xF3 ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, READ_VIN, 3 ) ),
               bytes( 0x98, 0xF3, 0x5F ) );
    EXPECT_TRUE( write( FAN_COMMAND_1, bytes( 0x19, 0, 0x7F ) ) );
    EXPECT_EQ( word( FAN_COMMAND_1 ), 0x0019u );
    TestBoard plain( supply( named + R"(, "pec": false)" ) );
    EXPECT_EQ( plain.number( "psu", CAPABILITY ), 0x20u );
    EXPECT_EQ( plain.data( TransactionBuilder().read( place, READ_VIN, 3 ) ),
               bytes( 0x98, 0xF3, 0xFF ) );
}

TEST_F( PmbusSupply, WriteProtectionKeepsWritesOut ) {
    TestBoard locked( supply( usual + R"(, "writeProtect": 128)" ) );
    const auto failed = [ &locked ]( const TransactionBuilder &builder ) {
        return locked.run( builder ).failed();
    };
    locked.chip( "psu" ).setInput( "fan1.blocked", 1 );
    locked.chip( "psu" ).setInput( "fan1.blocked", 0 );
    failed( TransactionBuilder().sendByte( place, CLEAR_FAULTS ) );
    EXPECT_EQ( locked.number( "psu", STATUS_FANS_1_2 ), 0x80u ) << "not cleared";
    failed( TransactionBuilder().write( place, FAN_COMMAND_1, bytes( 25, 0 ) ) );
    failed( TransactionBuilder().write( place, OPERATION, bytes( 0 ) ) );
    EXPECT_EQ( locked.number( "psu", FAN_COMMAND_1 ), 0xE320u );
    EXPECT_EQ( locked.number( "psu", OPERATION ), 0x80u );
    EXPECT_EQ( locked.number( "psu", STATUS_CML ), 0x40u );
    EXPECT_TRUE( locked.logged( "write of command 0x3B while WRITE_PROTECT is 0x80" ) );
    failed( TransactionBuilder().write( place, WRITE_PROTECT, bytes( 0x40 ) ) );
    failed( TransactionBuilder().write( place, OPERATION, bytes( 0 ) ) );
    failed( TransactionBuilder().write( place, FAN_COMMAND_1, bytes( 25, 0 ) ) );
    EXPECT_EQ( locked.number( "psu", OPERATION ), 0u );
    EXPECT_EQ( locked.number( "psu", FAN_COMMAND_1 ), 0xE320u );
    EXPECT_FALSE( failed( TransactionBuilder()
                              .write( place, WRITE_PROTECT, bytes( 0 ) )
                              .sendByte( place, CLEAR_FAULTS )
                              .write( place, FAN_COMMAND_1, bytes( 25, 0 ) ) ) );
    EXPECT_EQ( locked.number( "psu", STATUS_FANS_1_2 ), 0u );
    EXPECT_EQ( locked.number( "psu", FAN_COMMAND_1 ), 25u );
    locked.chip( "psu" ).reset();
    EXPECT_EQ( locked.number( "psu", WRITE_PROTECT ), 0x80u );
}

TEST_F( PmbusSupply, MilderProtectionsLetOperationThrough ) {
    for ( const unsigned protection : { 0x40u, 0x20u } ) {
        EXPECT_TRUE( write( WRITE_PROTECT, bytes( protection ) ) );
        EXPECT_TRUE( write( OPERATION, bytes( 0 ) ) );
        EXPECT_EQ( byte( OPERATION ), 0u );
        EXPECT_TRUE( write( OPERATION, bytes( 0x80 ) ) );
        EXPECT_EQ( byte( OPERATION ), 0x80u );
        write( FAN_COMMAND_1, bytes( 10, 0 ) );
        EXPECT_EQ( word( FAN_COMMAND_1 ), 0xE320u );
        set( "fan1.blocked", 1 );
        set( "fan1.blocked", 0 );
        clearFaults();
        EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0x80u );
        EXPECT_TRUE( write( WRITE_PROTECT, bytes( 0 ) ) );
        clearFaults();
        EXPECT_EQ( byte( STATUS_FANS_1_2 ), 0u );
    }
}

TEST_F( PmbusSupply, MainsAreThereFromEightyFiveVoltsOn ) {
    set( "vin", 84.9 );
    EXPECT_EQ( word( STATUS_WORD ) & 0x0840u, 0x0840u );
    set( "vin", 85 );
    EXPECT_EQ( word( STATUS_WORD ) & 0x0840u, 0u );
}

TEST_F( PmbusSupply, InputsHaveRanges ) {
    const struct {
        const char *input;
        double least;
        double most;
    } ranges[] = { { "vin", 0, 400 }, { "iout", 0, 1000 }, { "ambient", -40, 200 } };
    for ( const auto &[ input, least, most ] : ranges ) {
        EXPECT_NO_THROW( set( input, least ) );
        EXPECT_NO_THROW( set( input, most ) );
        EXPECT_THROW( set( input, least - 0.1 ), smbusd::ChipError );
        EXPECT_THROW( set( input, most + 0.1 ), smbusd::ChipError );
        EXPECT_THROW( set( input, std::nan( "" ) ), smbusd::ChipError );
    }
    try {
        set( "vin", 500 );
        ADD_FAILURE() << "taken";
    } catch ( const smbusd::ChipError &error ) {
        EXPECT_STREQ( error.what(), "input \"vin\" of pmbus \"psu\" is from 0 to 400, not 500" );
    }
    EXPECT_THROW( set( "humidity", 1 ), smbusd::ChipError );
}

TEST_F( PmbusSupply, CommandsOfWhatItDoesNotHaveAreUnknown ) {
    TestBoard bare( supply( named ) );
    for ( const unsigned command : { FAN_CONFIG_1_2, FAN_COMMAND_1, READ_FAN_SPEED_1,
                                     READ_TEMPERATURE_1, READ_TEMPERATURE_3 } ) {
        EXPECT_TRUE( bare.run( TransactionBuilder().read( place, command, 1 ) ).failed() )
            << command;
        EXPECT_THROW( bare.chip( "psu" ).peek( command ), smbusd::ChipError );
    }
    EXPECT_TRUE( test.run( TransactionBuilder().read( place, READ_TEMPERATURE_3, 2 ) ).failed() );
}

TEST_F( PmbusSupply, CanBeChangedBehindTheBus ) {
    smbusd::Chip &chip = test.chip( "psu" );
    chip.poke( READ_VIN, uint32_t{ 0xC800 } );
    EXPECT_EQ( word( READ_VIN ), 0xC800u );
    chip.poke( STATUS_VOUT, uint32_t{ 0x80 } );
    EXPECT_EQ( word( STATUS_WORD ), 0x8020u );
    chip.poke( FAN_COMMAND_1, uint32_t{ 100 } );
    EXPECT_EQ( word( READ_FAN_SPEED_1 ), 0x23E8u );
    chip.poke( MFR_SERIAL, std::vector<uint8_t>{ 'S', '2' } );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( place, MFR_SERIAL ) ), "S2" );
    EXPECT_THROW( chip.poke( MFR_SERIAL, uint32_t{ 1 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( MFR_SERIAL, std::vector<uint8_t>{} ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( OPERATION, uint32_t{ 256 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( 0x55, uint32_t{ 0 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( MFR_SERIAL, std::vector<uint8_t>( 33 ) ), smbusd::ChipError );
    chip.poke( STATUS_WORD, uint32_t{ 0x0800 } );
    EXPECT_EQ( word( STATUS_WORD ), 0x0800u );
    EXPECT_THROW( set( "fan3.blocked", 1 ), smbusd::ChipError );
    EXPECT_THROW( set( "on", 2 ), smbusd::ChipError );
    chip.reset();
    EXPECT_EQ( word( READ_VIN ), 0xF398u );
    EXPECT_EQ( word( STATUS_WORD ), 0u );
}

TEST_F( PmbusSupply, LinesTellOfPowerAndMains ) {
    const smbusd::Chip &chip = test.chip( "psu" );
    const auto lines = [ &chip ] {
        return std::vector<double>{ chip.output( "powergood" ), chip.output( "powerbad" ),
                                    chip.output( "acgood" ) };
    };
    EXPECT_EQ( lines(), ( std::vector<double>{ 1, 0, 1 } ) );
    set( "output.fault", 1 );
    EXPECT_EQ( lines(), ( std::vector<double>{ 0, 1, 1 } ) );
    set( "vin", 0 );
    EXPECT_EQ( lines(), ( std::vector<double>{ 0, 1, 0 } ) );
    EXPECT_THROW( chip.output( "smoke" ), smbusd::ChipError );
}

TEST_F( PmbusSupply, ListsWhatItHas ) {
    std::vector<std::string> inputs;
    for ( const auto &input : test.chip( "psu" ).inputs() ) {
        inputs.push_back( input.name );
    }
    EXPECT_EQ( inputs, ( std::vector<std::string>{ "vin", "iout", "ambient", "on", "output.fault",
                                                   "fan1.blocked", "fan2.blocked" } ) );
    const auto registers = test.chip( "psu" ).registers();
    ASSERT_EQ( registers.size(), 29u ); // all but the third temperature
    EXPECT_EQ( registers[ 0 ].name, "OPERATION" );
    EXPECT_FALSE( registers[ 0 ].readOnly );
    EXPECT_EQ( registers.back().name, "MFR_SERIAL" );
    EXPECT_EQ( registers.back().width, 0u );
}

TEST( PmbusSupplyConfig, MistakesAreNamed ) {
    EXPECT_NE( messageOf( R"("serial": "S")" ).find( "model" ), std::string::npos );
    EXPECT_NE( messageOf( R"("model": "", "serial": "S")" ).find( "/model" ), std::string::npos );
    EXPECT_NE( messageOf( named + R"(, "voutMode": 64)" ).find( "0 to 31" ), std::string::npos );
    EXPECT_NE( messageOf( named + R"(, "writeProtect": 1)" ).find( "128, 64, 32 or 0" ),
               std::string::npos );
    EXPECT_NE( messageOf( named + R"(, "vout": 0)" ).find( "above 0, at most 100" ),
               std::string::npos );
    EXPECT_NE( messageOf( named + R"(, "efficiency": 1.1)" ).find( "above 0, at most 1" ),
               std::string::npos );
    EXPECT_NE( messageOf( named + R"(, "fans": [ { "maxRpm": 1, "unit": "Hz" } ])" )
                   .find( R"("percent" or "rpm")" ),
               std::string::npos );
    EXPECT_NE(
        messageOf( named + R"(, "fans": [ { "maxRpm": 1 }, { "maxRpm": 1 }, { "maxRpm": 1 } ])" )
            .find( "at most 2 fans" ),
        std::string::npos );
    EXPECT_NE(
        messageOf( named +
                   R"(, "temperatures": [ {"rise":1}, {"rise":1}, {"rise":1}, {"rise":1} ])" )
            .find( "at most 3 temperatures" ),
        std::string::npos );
    EXPECT_NE( messageOf( named + R"(, "wattage": 3)" ).find( "wattage" ), std::string::npos );
}

} // namespace
