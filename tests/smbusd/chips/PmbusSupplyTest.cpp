#include "smbusd/chips/PmbusSupply.h"

#include <map>

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x58 );

// Command codes of PMBus 1.2.
constexpr unsigned operation = 0x01, clearFaults = 0x03, writeProtect = 0x10, capability = 0x19;
constexpr unsigned voutMode = 0x20, fanConfig = 0x3A, fanCommand1 = 0x3B, fanCommand2 = 0x3C;
constexpr unsigned statusByte = 0x78, statusWord = 0x79, statusVout = 0x7A, statusIout = 0x7B;
constexpr unsigned statusInput = 0x7C, statusTemperature = 0x7D, statusCml = 0x7E;
constexpr unsigned statusFans = 0x81, readVin = 0x88, readIin = 0x89, readVout = 0x8B;
constexpr unsigned readIout = 0x8C, readTemperature1 = 0x8D, readTemperature2 = 0x8E;
constexpr unsigned readTemperature3 = 0x8F, readFan1 = 0x90, readFan2 = 0x91, readPout = 0x96;
constexpr unsigned readPin = 0x97, revision = 0x98, mfrId = 0x99, mfrModel = 0x9A;
constexpr unsigned mfrSerial = 0x9E;

std::string supplyWith( const std::string &options ) {
    return R"({ "name": "psu", "type": "pmbus", "address": "0x58", "model": "DPS550AB6A",
                "serial": "GTVD1615001656", )" +
           options + " }";
}

/** Half of what goes in comes out, so that the powers are round numbers. */
const std::string usual = R"("ratedPower": 600, "efficiency": 0.5,
    "fans": [ { "maxRpm": 16000 }, { "maxRpm": 8000, "unit": "rpm" } ],
    "temperatures": [ { "rise": 40 }, { "rise": 20 } ],
    "inputs": { "iout": 20 })";

class PmbusSupply : public testing::Test {
  protected:
    explicit PmbusSupply( const std::string &options = usual )
        : test( TestBoard::withChips( supplyWith( options ) ) ) {}

    unsigned word( unsigned command ) {
        const std::string data = test.data( TransactionBuilder().read( place, command, 2 ) );
        return static_cast<uint8_t>( data[ 0 ] ) | static_cast<uint8_t>( data[ 1 ] ) << 8;
    }
    unsigned byte( unsigned command ) {
        return static_cast<uint8_t>(
            test.data( TransactionBuilder().read( place, command, 1 ) )[ 0 ] );
    }
    std::string block( unsigned command ) {
        return test.data( TransactionBuilder().blockRead( place, command ) );
    }
    bool fails( const TransactionBuilder &builder ) { return test.run( builder ).failed(); }
    void writeWord( unsigned command, unsigned value ) {
        ASSERT_FALSE( fails(
            TransactionBuilder().write( place, command, bytes( value & 0xFF, value >> 8 ) ) ) );
    }
    void writeByte( unsigned command, unsigned value ) {
        ASSERT_FALSE( fails( TransactionBuilder().write( place, command, bytes( value ) ) ) );
    }
    void clear() { ASSERT_FALSE( fails( TransactionBuilder().sendByte( place, clearFaults ) ) ); }
    void set( const std::string &input, double value ) {
        test.chip( "psu" ).setInput( input, value );
    }

    TestBoard test;
};

TEST_F( PmbusSupply, ReadingsFollowTheLoad ) {
    EXPECT_EQ( word( readVin ), 0xF398u );  // 920 * 2^-2: 230 V
    EXPECT_EQ( word( readVout ), 0x1800u ); // 6144 * 2^-9: 12 V
    EXPECT_EQ( word( readIout ), 0xDA80u ); // 640 * 2^-5: 20 A
    EXPECT_EQ( word( readPout ), 0xF3C0u ); // 960 * 2^-2: 240 W
    EXPECT_EQ( word( readPin ), 0xFBC0u );  // 960 * 2^-1: 480 W
    EXPECT_EQ( word( readIin ), 0xC216u );  // 534 * 2^-8: 480 / 230 = 2.087 A
    set( "iout", 5 );
    EXPECT_EQ( word( readIout ), 0xCA80u ); // 640 * 2^-7
    EXPECT_EQ( word( readPout ), 0xE3C0u ); // 960 * 2^-4: 60 W
    EXPECT_EQ( word( readPin ), 0xEBC0u );  // 960 * 2^-3: 120 W
}

TEST_F( PmbusSupply, TemperaturesRiseWithTheLoad ) {
    EXPECT_EQ( word( readTemperature1 ), 0xE290u ); // 656 * 2^-4: 25 + 40 * 240 / 600 = 41
    EXPECT_EQ( word( readTemperature2 ), 0xE210u ); // 528 * 2^-4: 25 + 20 * 240 / 600 = 33
    EXPECT_TRUE( fails( TransactionBuilder().read( place, readTemperature3, 2 ) ) );
    set( "iout", 0 );
    set( "ambient", -10 );
    EXPECT_EQ( word( readTemperature1 ), 0xD580u ); // -640 * 2^-6
}

TEST_F( PmbusSupply, FansFollowTheirCommands ) {
    EXPECT_EQ( byte( fanConfig ), 0x8Cu );     // both there, the second in revolutions
    EXPECT_EQ( word( fanCommand1 ), 0xE320u ); // 800 * 2^-4: 50 %
    EXPECT_EQ( word( fanCommand2 ), 0x13E8u ); // 1000 * 2^2: half of 8000
    EXPECT_EQ( word( readFan1 ), 0x1BE8u );    // 1000 * 2^3
    EXPECT_EQ( word( readFan2 ), 0x13E8u );
    writeWord( fanCommand1, 40 );
    writeWord( fanCommand2, 0x12EE );
    EXPECT_EQ( word( fanCommand1 ), 40u );
    EXPECT_EQ( word( readFan1 ), 0x1B20u ); // 800 * 2^3: 40 % of 16000
    EXPECT_EQ( word( readFan2 ), 0x12EEu ); // 3000
    writeWord( fanCommand1, 150 );
    writeWord( fanCommand2, 0x1BE8 + 1 );
    EXPECT_EQ( word( readFan1 ), 0x23E8u ); // 1000 * 2^4, its maximum
    EXPECT_EQ( word( readFan2 ), 0x1BE8u ); // 8000, the same
    writeByte( fanConfig, 0xCC );           // the first in revolutions, too
    writeWord( fanCommand1, 0x12EE );
    EXPECT_EQ( word( readFan1 ), 0x12EEu );
}

TEST_F( PmbusSupply, NegativeCommandsStopFans ) {
    writeWord( fanCommand1, 0x07FF ); // -1
    EXPECT_EQ( word( readFan1 ), 0u );
    EXPECT_EQ( byte( statusFans ), 0u );
}

TEST_F( PmbusSupply, BlockedFanFaultsUntilClearedAfterwards ) {
    EXPECT_EQ( byte( statusFans ), 0x00u );
    set( "fan2.blocked", 1 );
    EXPECT_EQ( word( readFan2 ), 0u );
    EXPECT_EQ( word( readFan1 ), 0x1BE8u );
    EXPECT_EQ( byte( statusFans ), 0x40u );
    EXPECT_EQ( word( statusWord ), 0x0400u );
    set( "fan1.blocked", 1 );
    EXPECT_EQ( byte( statusFans ), 0xC0u );
    clear();
    EXPECT_EQ( byte( statusFans ), 0xC0u ); // the cause is still there
    set( "fan1.blocked", 0 );
    EXPECT_EQ( byte( statusFans ), 0xC0u );
    clear();
    EXPECT_EQ( byte( statusFans ), 0x40u );
    EXPECT_EQ( word( readFan1 ), 0x1BE8u );
}

TEST_F( PmbusSupply, WithoutMainsItIsOffAndItsFansStand ) {
    EXPECT_EQ( word( statusWord ), 0x0000u );
    set( "vin", 0 );
    EXPECT_EQ( word( statusWord ), 0x2848u ); // INPUT, POWER_GOOD#, OFF, VIN_UV
    EXPECT_EQ( byte( statusByte ), 0x48u );
    EXPECT_EQ( byte( statusInput ), 0x18u );
    for ( const unsigned command :
          { readVin, readIin, readPin, readVout, readIout, readPout, readFan1, readFan2 } ) {
        EXPECT_EQ( word( command ), 0u ) << command;
    }
    set( "vin", 230 );
    EXPECT_EQ( word( statusWord ), 0x2008u ); // only what was
    EXPECT_EQ( word( readFan1 ), 0x1BE8u );
    clear();
    EXPECT_EQ( word( statusWord ), 0x0000u );
}

TEST_F( PmbusSupply, LeastMainsAreEightyFiveVolts ) {
    set( "vin", 84.9 );
    EXPECT_EQ( word( statusWord ) & 0x0840u, 0x0840u );
    set( "vin", 85 );
    EXPECT_EQ( word( statusWord ) & 0x0840u, 0x0000u );
}

TEST_F( PmbusSupply, SwitchedOffIsNoFault ) {
    set( "on", 0 );
    EXPECT_EQ( word( statusWord ), 0x0840u );
    EXPECT_EQ( word( readVout ), 0u );
    EXPECT_EQ( word( readVin ), 0xF398u );
    set( "on", 1 );
    EXPECT_EQ( word( statusWord ), 0x0000u );
    EXPECT_EQ( byte( operation ), 0x80u );
    writeByte( operation, 0x00 );
    EXPECT_EQ( word( statusWord ), 0x0840u );
    writeByte( operation, 0x80 );
    EXPECT_EQ( word( statusWord ), 0x0000u );
}

TEST_F( PmbusSupply, CollapsedOutputIsBadThoughOn ) {
    set( "output.fault", 1 );
    EXPECT_EQ( word( statusWord ), 0x8800u ); // VOUT, POWER_GOOD#
    EXPECT_EQ( byte( statusVout ), 0x10u );
    EXPECT_EQ( word( readVout ), 0u );
    set( "output.fault", 0 );
    EXPECT_EQ( word( statusWord ), 0x8000u );
    clear();
    EXPECT_EQ( word( statusWord ), 0x0000u );
}

TEST_F( PmbusSupply, OverloadAndHeatAreFaults ) {
    set( "iout", 50 ); // 600 W
    EXPECT_EQ( byte( statusIout ), 0x00u );
    set( "iout", 51 );
    EXPECT_EQ( byte( statusIout ), 0x80u );
    EXPECT_EQ( word( statusWord ), 0x4010u );
    set( "iout", 0 );
    clear();
    set( "ambient", 100 );
    EXPECT_EQ( byte( statusTemperature ), 0x00u );
    set( "ambient", 100.5 );
    EXPECT_EQ( byte( statusTemperature ), 0x80u );
    EXPECT_EQ( word( statusWord ), 0x0004u );
}

TEST_F( PmbusSupply, NamesAreBlocks ) {
    EXPECT_EQ( block( mfrModel ), "DPS550AB6A" );
    EXPECT_EQ( block( mfrSerial ), "GTVD1615001656" );
    EXPECT_EQ( block( mfrId ), "ORVAN" );
}

TEST_F( PmbusSupply, ByteReadOfANameIsItsLength ) {
    EXPECT_EQ( byte( mfrModel ), 10u );
    EXPECT_EQ( byte( mfrSerial ), 14u );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, mfrModel, 11 ) ), "\x0A"
                                                                              "DPS550AB6A" );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, mfrSerial, 15 ) ), "\x0E"
                                                                               "GTVD1615001656" );
}

TEST_F( PmbusSupply, TellsWhatItSpeaks ) {
    EXPECT_EQ( byte( capability ), 0xA0u ); // packet error codes, 400 kHz
    EXPECT_EQ( byte( revision ), 0x22u );   // both parts 1.2
    EXPECT_EQ( byte( voutMode ), 0x17u );
}

TEST_F( PmbusSupply, PacketErrorCodesAreMadeAndChecked ) {
    EXPECT_EQ( test.data( TransactionBuilder().read( place, readVin, 2, true ) ),
               bytes( 0x98, 0xF3 ) );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( place, mfrModel, true ) ), "DPS550AB6A" );
    EXPECT_FALSE( fails( TransactionBuilder().write( place, fanCommand1, bytes( 40, 0 ), true ) ) );
    test.inject( smbusd::Fault::Kind::BadPec, "psu", 1 );
    EXPECT_TRUE( fails( TransactionBuilder().write( place, fanCommand1, bytes( 60, 0 ), true ) ) );
    EXPECT_EQ( word( fanCommand1 ), 40u );
    EXPECT_EQ( byte( statusCml ), 0x20u );
    EXPECT_EQ( word( statusWord ), 0x0002u );
}

TEST_F( PmbusSupply, RefusedMessagesAreCommunicationFaults ) {
    EXPECT_TRUE( fails( TransactionBuilder().read( place, 0x55, 1 ) ) );
    EXPECT_EQ( byte( statusCml ), 0x80u );
    clear();
    EXPECT_TRUE( fails( TransactionBuilder().write( place, readVin, bytes( 1, 2 ) ) ) );
    EXPECT_EQ( byte( statusCml ), 0x40u );
    EXPECT_TRUE( test.logged( "write to the read-only command 0x88" ) );
}

TEST_F( PmbusSupply, WriteProtectKeepsAllElseOut ) {
    writeByte( writeProtect, 0x80 );
    writeWord( fanCommand1, 10 );
    EXPECT_EQ( word( fanCommand1 ), 0xE320u );
    EXPECT_TRUE( test.logged( "write of command 0x3B while WRITE_PROTECT is 0x80" ) );
    EXPECT_EQ( byte( statusCml ), 0x40u );
    writeByte( operation, 0 );
    EXPECT_EQ( byte( operation ), 0x80u );
    clear();
    EXPECT_EQ( byte( statusCml ), 0x40u );
    writeByte( writeProtect, 0 );
    clear();
    EXPECT_EQ( byte( statusCml ), 0x00u );
    writeWord( fanCommand1, 10 );
    EXPECT_EQ( word( fanCommand1 ), 10u );
}

TEST_F( PmbusSupply, MilderWriteProtectLetsOperationThrough ) {
    for ( const unsigned protection : { 0x40u, 0x20u } ) {
        writeByte( writeProtect, protection );
        writeByte( operation, 0 );
        EXPECT_EQ( byte( operation ), 0u );
        writeByte( operation, 0x80 );
        EXPECT_EQ( byte( operation ), 0x80u );
        writeWord( fanCommand1, 10 );
        EXPECT_EQ( word( fanCommand1 ), 0xE320u );
    }
}

TEST_F( PmbusSupply, ResetForgetsWhatWasWrittenAndSeen ) {
    writeByte( operation, 0 );
    writeByte( writeProtect, 0x40 );
    set( "fan1.blocked", 1 );
    set( "fan1.blocked", 0 );
    test.chip( "psu" ).poke( readVin, 0x1234u );
    test.chip( "psu" ).reset();
    EXPECT_EQ( byte( operation ), 0x80u );
    EXPECT_EQ( byte( writeProtect ), 0u );
    EXPECT_EQ( byte( statusFans ), 0u );
    EXPECT_EQ( word( readVin ), 0xF398u );
    EXPECT_EQ( word( fanCommand1 ), 0xE320u );
}

TEST_F( PmbusSupply, WorkBenchForcesReadingsFaultsAndNames ) {
    smbusd::Chip &psu = test.chip( "psu" );
    psu.poke( statusWord, 0x0800u );
    EXPECT_EQ( word( statusWord ), 0x0800u );
    psu.poke( readVout, 0x2000u );
    EXPECT_EQ( word( readVout ), 0x2000u );
    psu.poke( statusFans, 0x80u );
    EXPECT_EQ( byte( statusFans ), 0x80u );
    clear();
    EXPECT_EQ( byte( statusFans ), 0x00u );
    psu.poke( fanCommand1, 20u );
    EXPECT_EQ( word( readFan1 ), 0x1320u ); // 800 * 2^2: 20 % of 16000
    psu.poke( mfrModel, std::vector<uint8_t>{ 'X', 'Y' } );
    EXPECT_EQ( block( mfrModel ), "XY" );
    EXPECT_EQ( std::get<std::vector<uint8_t>>( psu.peek( mfrModel ) ),
               ( std::vector<uint8_t>{ 'X', 'Y' } ) );
    EXPECT_EQ( test.number( "psu", readFan1 ), 0x1320u );
    EXPECT_THROW( psu.poke( mfrModel, 5u ), smbusd::ChipError );
    EXPECT_THROW( psu.poke( mfrModel, std::vector<uint8_t>{} ), smbusd::ChipError );
    EXPECT_THROW( psu.poke( mfrModel, std::vector<uint8_t>( 33 ) ), smbusd::ChipError );
    EXPECT_THROW( psu.poke( 0x55, 5u ), smbusd::ChipError );
    EXPECT_THROW( psu.peek( readTemperature3 ), smbusd::ChipError );
}

TEST_F( PmbusSupply, WorkBenchListsWhatIsThere ) {
    // All thirty commands with data but the third temperature.
    const auto registers = test.chip( "psu" ).registers();
    EXPECT_EQ( registers.size(), 29u );
    EXPECT_EQ( registers.front().name, "OPERATION" );
    EXPECT_FALSE( registers.front().readOnly );
    EXPECT_EQ( registers.back().name, "MFR_SERIAL" );
    EXPECT_EQ( registers.back().width, 0u );
    EXPECT_TRUE( registers.back().readOnly );
}

TEST_F( PmbusSupply, InputsAreListedAndChecked ) {
    std::map<std::string, double> inputs;
    for ( const smbusd::InputInfo &input : test.chip( "psu" ).inputs() ) {
        inputs[ input.name ] = input.value;
    }
    EXPECT_EQ( inputs, ( std::map<std::string, double>{ { "vin", 230 },
                                                        { "iout", 20 },
                                                        { "ambient", 25 },
                                                        { "on", 1 },
                                                        { "output.fault", 0 },
                                                        { "fan1.blocked", 0 },
                                                        { "fan2.blocked", 0 } } ) );
    EXPECT_THROW( set( "vin", -1 ), smbusd::ChipError );
    EXPECT_THROW( set( "vin", 401 ), smbusd::ChipError );
    EXPECT_THROW( set( "iout", -1 ), smbusd::ChipError );
    EXPECT_THROW( set( "ambient", 201 ), smbusd::ChipError );
    EXPECT_THROW( set( "on", 2 ), smbusd::ChipError );
    EXPECT_THROW( set( "fan3.blocked", 1 ), smbusd::ChipError );
    EXPECT_THROW( set( "humidity", 1 ), smbusd::ChipError );
}

class PlainSupply : public PmbusSupply {
  protected:
    PlainSupply()
        : PmbusSupply( R"("pec": false, "manufacturer": "ACME", "vout": 54, "voutMode": 255,
                          "writeProtect": 128)" ) {}
};

TEST_F( PlainSupply, HasNoFansTemperaturesOrPacketErrorCodes ) {
    for ( const unsigned command : { fanCommand1, fanCommand2, fanConfig, readFan1, readFan2,
                                     readTemperature1, readTemperature2 } ) {
        EXPECT_TRUE( fails( TransactionBuilder().read( place, command, 2 ) ) ) << command;
    }
    EXPECT_EQ( byte( capability ), 0x20u );
    EXPECT_TRUE( fails( TransactionBuilder().read( place, readVin, 2, true ) ) );
    EXPECT_EQ( block( mfrId ), "ACME" );
}

TEST_F( PlainSupply, OutputVoltageWithoutAModeIsLinear11 ) {
    EXPECT_EQ( byte( voutMode ), 0xFFu );
    EXPECT_EQ( word( readVout ), 0xE360u ); // 864 * 2^-4
}

TEST_F( PlainSupply, MayStartProtected ) {
    EXPECT_EQ( byte( writeProtect ), 0x80u );
    writeByte( writeProtect, 0 );
    EXPECT_EQ( byte( writeProtect ), 0x00u );
    test.chip( "psu" ).reset();
    EXPECT_EQ( byte( writeProtect ), 0x80u );
}

class SlowSupply : public PmbusSupply {
  protected:
    SlowSupply()
        : PmbusSupply( R"("fans": [ { "maxRpm": 16000, "command": 25 } ], "spinUpMs": 1000)" ) {}
};

TEST_F( SlowSupply, FansTakeTheirTime ) {
    EXPECT_EQ( word( readFan1 ), 0x13E8u ); // 4000, as if the board had been running for long
    writeWord( fanCommand1, 100 );
    EXPECT_EQ( word( readFan1 ), 0x13E8u );
    test.scheduler.advance( std::chrono::seconds( 1 ) );
    EXPECT_EQ( word( readFan1 ), 0x22D4u ); // 16000 - 12000 / e = 11585.4: 724 * 2^4 = 11584
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    EXPECT_EQ( word( readFan1 ), 0x23E8u );
}

TEST_F( SlowSupply, PluggedInItsFansStartFromStandstill ) {
    test.chip( "psu" ).plug( false );
    test.chip( "psu" ).plug( true );
    EXPECT_EQ( word( readFan1 ), 0u );
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    EXPECT_EQ( word( readFan1 ), 0x13E8u );
}

std::string messageOf( const std::string &options ) {
    try {
        TestBoard test( TestBoard::withChips( supplyWith( options ) ) );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

TEST( PmbusSupplyConfig, SaysWhatIsWrong ) {
    const std::pair<const char *, const char *> mistakes[] = {
        { R"("manufacturer": "")", "a text of 1 to 32 characters" },
        { R"("manufacturer": "123456789012345678901234567890123")",
          "a text of 1 to 32 characters" },
        { R"("vout": 0)", "a number above 0, at most 100" },
        { R"("vout": 101)", "a number above 0, at most 100" },
        { R"("ratedPower": -5)", "a number above 0, at most 10000" },
        { R"("efficiency": 1.1)", "a number above 0, at most 1" },
        { R"("voutMode": 32)", "0 to 31 (linear, with that exponent) or 255 (no mode)" },
        { R"("fans": [ { "maxRpm": 1 }, { "maxRpm": 1 }, { "maxRpm": 1 } ])", "at most 2 fans" },
        { R"("fans": [ { "maxRpm": 1, "unit": "hertz" } ])", R"("percent" or "rpm")" },
        { R"("fans": [ {} ])", "maxRpm" },
        { R"("temperatures": [ { "rise": 1 }, { "rise": 1 }, { "rise": 1 }, { "rise": 1 } ])",
          "at most 3 temperatures" },
    };
    for ( const auto &[ options, expected ] : mistakes ) {
        const std::string message = messageOf( options );
        EXPECT_NE( message.find( expected ), std::string::npos ) << options << ": " << message;
    }
}

TEST( PmbusSupplyConfig, NeedsAModelAndASerial ) {
    for ( const char *key : { "model", "serial" } ) {
        const std::string other = key == std::string( "model" ) ? "serial" : "model";
        try {
            TestBoard test(
                TestBoard::withChips( R"({ "name": "psu", "type": "pmbus", "address": "0x58", ")" +
                                      other + R"(": "X" })" ) );
            ADD_FAILURE() << key;
        } catch ( const smbusd::ConfigError &error ) {
            EXPECT_NE( std::string( error.what() ).find( key ), std::string::npos ) << error.what();
        }
    }
}

} // namespace
