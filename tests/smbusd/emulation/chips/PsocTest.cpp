#include "smbusd/emulation/chips/Psoc.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x0A );

// Registers, as the driver and the data sheet number them.
constexpr unsigned powerCycle = 8, powerOff = 10, stallAlert = 50, duty = 60, firstSpeed = 64;
constexpr unsigned inlet = 32, asic = 36;

std::string withOptions( const std::string &options ) {
    return TestBoard::withChips( R"({ "name": "psoc", "type": "psoc", "address": "0x0A", )" +
                                 options + " }" );
}

/** Two fans and two temperatures; the fans take their speed immediately. */
const std::string quick = R"("fans": [ { "maxRpm": 20000 }, { "maxRpm": 10000 } ],
    "temperatures": { "32": { "name": "inlet" }, "36": { "name": "asic", "rise": 40 } })";
/** The same fans, a second from the way to their speed. */
const std::string slow =
    R"("fans": [ { "maxRpm": 20000 }, { "maxRpm": 10000 } ], "spinUpMs": 1000)";

class Psoc : public testing::Test {
  protected:
    explicit Psoc( const std::string &options = quick ) : test( withOptions( options ) ) {}

    /** A word register over the bus, high byte first. */
    unsigned word( unsigned reg ) {
        const std::string data = test.data( TransactionBuilder().read( place, reg, 2 ) );
        return static_cast<uint8_t>( data[ 0 ] ) << 8 | static_cast<uint8_t>( data[ 1 ] );
    }
    unsigned byte( unsigned reg ) {
        return static_cast<uint8_t>( test.data( TransactionBuilder().read( place, reg, 1 ) )[ 0 ] );
    }
    void writeWord( unsigned reg, unsigned value ) {
        ASSERT_FALSE(
            test.run( TransactionBuilder().write( place, reg, bytes( value >> 8, value & 0xFF ) ) )
                .failed() );
    }
    void set( const std::string &input, double value ) {
        test.chip( "psoc" ).setInput( input, value );
    }

    TestBoard test;
};

class SlowPsoc : public Psoc {
  protected:
    SlowPsoc() : Psoc( slow ) {}
};

TEST_F( Psoc, DutyDrivesAllFans ) {
    EXPECT_EQ( word( duty ), 5000u );
    EXPECT_EQ( word( firstSpeed ), 10000u );
    EXPECT_EQ( word( firstSpeed + 2 ), 5000u );
    writeWord( duty, 2500 );
    EXPECT_EQ( word( firstSpeed ), 5000u );
    EXPECT_EQ( word( firstSpeed + 2 ), 2500u );
    writeWord( duty, 0 );
    EXPECT_EQ( word( firstSpeed ), 0u );
}

TEST_F( Psoc, DutyAboveOneHundredPercentDoesNotOverdrive ) {
    writeWord( duty, 0xFFFF );
    EXPECT_EQ( word( duty ), 0xFFFFu );
    EXPECT_EQ( word( firstSpeed ), 20000u );
}

TEST_F( Psoc, FansThatAreNotThereHaveNoSpeedAndNoAlert ) {
    EXPECT_EQ( word( firstSpeed + 4 ), 0u );
    EXPECT_EQ( word( firstSpeed + 14 ), 0u );
    EXPECT_EQ( byte( stallAlert ), 0u );
}

TEST_F( Psoc, ConfigurationIsKept ) {
    test.run( TransactionBuilder()
                  .write( place, 51, bytes( 1 ) )
                  .write( place, 48, bytes( 1 ) )
                  .write( place, 49, bytes( 255 ) ) );
    EXPECT_EQ( byte( 48 ), 1u );
    EXPECT_EQ( byte( 49 ), 255u );
    EXPECT_EQ( byte( 51 ), 1u );
    test.hardware.powerOn();
    EXPECT_EQ( byte( 49 ), 0u );
}

TEST_F( Psoc, WhatIsMeasuredCannotBeWrittenOverTheBus ) {
    for ( const unsigned reg : { stallAlert, firstSpeed, inlet, asic } ) {
        const unsigned before = byte( reg );
        EXPECT_FALSE( test.run( TransactionBuilder().write( place, reg, bytes( 7 ) ) ).failed() );
        EXPECT_EQ( byte( reg ), before ) << reg;
    }
    EXPECT_TRUE( test.logged( "write of 0x7 to the read-only register 0x32" ) );
}

TEST_F( Psoc, BlockedFanStallsAndRecovers ) {
    set( "fan2.blocked", 1 );
    EXPECT_EQ( word( firstSpeed + 2 ), 0u );
    EXPECT_EQ( byte( stallAlert ), 0x02u );
    EXPECT_EQ( word( firstSpeed ), 10000u );
    set( "fan2.blocked", 0 );
    EXPECT_EQ( word( firstSpeed + 2 ), 5000u );
    EXPECT_EQ( byte( stallAlert ), 0x00u );
}

TEST_F( Psoc, AbsentFanCountsAsStalled ) {
    set( "fan1.present", 0 );
    EXPECT_EQ( word( firstSpeed ), 0u );
    EXPECT_EQ( byte( stallAlert ), 0x01u );
    set( "fan1.blocked", 1 );
    set( "fan1.present", 1 );
    EXPECT_EQ( word( firstSpeed ), 0u );
    set( "fan1.blocked", 0 );
    EXPECT_EQ( word( firstSpeed ), 10000u );
}

TEST_F( Psoc, FanThatIsNotDrivenIsNotStalled ) {
    set( "fan1.blocked", 1 );
    writeWord( duty, 0 );
    EXPECT_EQ( byte( stallAlert ), 0u );
}

TEST_F( Psoc, SlowestDutiesLeaveFansBelowTheStallSpeed ) {
    writeWord( duty, 400 ); // 800 and 400 revolutions, the usual limit being 500
    EXPECT_EQ( byte( stallAlert ), 0x02u );
}

TEST_F( Psoc, TemperaturesFallWithTheFansSpeed ) {
    set( "ambient", 20 );
    writeWord( duty, 0 );
    EXPECT_EQ( byte( asic ), 60u );
    EXPECT_EQ( byte( inlet ), 20u );
    writeWord( duty, 5000 );
    EXPECT_EQ( byte( asic ), 50u ); // a quarter of the rise is gone
    writeWord( duty, 10000 );
    EXPECT_EQ( byte( asic ), 40u ); // half of it
    set( "fan1.blocked", 1 );
    EXPECT_EQ( byte( asic ), 50u );
    EXPECT_EQ( byte( inlet ), 20u );
    set( "asic.rise", 80 );
    EXPECT_EQ( byte( asic ), 80u );
}

TEST_F( Psoc, TemperaturesStayWithinAByte ) {
    set( "ambient", -40 );
    EXPECT_EQ( byte( inlet ), 0u );
    set( "ambient", 255 );
    EXPECT_EQ( byte( asic ), 255u );
    EXPECT_THROW( set( "ambient", 256 ), smbusd::ChipError );
    EXPECT_THROW( set( "ambient", -41 ), smbusd::ChipError );
}

TEST_F( Psoc, InputsAreListed ) {
    std::vector<std::string> names;
    for ( const auto &input : test.chip( "psoc" ).inputs() ) {
        names.push_back( input.name );
    }
    EXPECT_EQ( names, ( std::vector<std::string>{ "ambient", "fan1.present", "fan1.blocked",
                                                  "fan2.present", "fan2.blocked", "inlet.rise",
                                                  "asic.rise" } ) );
    EXPECT_THROW( set( "fan3.blocked", 1 ), smbusd::ChipError );
    EXPECT_THROW( set( "fan1.blocked", 2 ), smbusd::ChipError );
}

TEST_F( Psoc, RegistersAreListedAndLookedAtAsWords ) {
    std::vector<std::pair<unsigned, unsigned>> widths;
    for ( const auto &info : test.chip( "psoc" ).registers() ) {
        widths.push_back( { info.number, info.width } );
    }
    EXPECT_EQ( widths, ( std::vector<std::pair<unsigned, unsigned>>{ { 8, 1 },
                                                                     { 10, 1 },
                                                                     { 32, 1 },
                                                                     { 36, 1 },
                                                                     { 48, 1 },
                                                                     { 49, 1 },
                                                                     { 50, 1 },
                                                                     { 51, 1 },
                                                                     { 60, 2 },
                                                                     { 64, 2 },
                                                                     { 66, 2 } } ) );
    EXPECT_EQ( test.number( "psoc", duty ), 5000u );
    EXPECT_EQ( test.number( "psoc", firstSpeed ), 10000u );
    EXPECT_THROW( test.number( "psoc", 61 ), smbusd::ChipError );
    EXPECT_THROW( test.number( "psoc", 68 ), smbusd::ChipError );
    EXPECT_EQ( byte( 0 ), 0u ); // over the bus, what is not there reads 0
}

TEST_F( Psoc, RegistersAreSetFromTheBench ) {
    smbusd::Chip &chip = test.chip( "psoc" );
    chip.poke( duty, 1000u );
    EXPECT_EQ( word( firstSpeed ), 2000u );
    chip.poke( stallAlert, 0x02u );
    EXPECT_EQ( byte( stallAlert ), 0x02u );
    chip.poke( stallAlert, 0x00u );
    EXPECT_EQ( byte( stallAlert ), 0x00u );
    chip.poke( asic, 90u );
    EXPECT_EQ( byte( asic ), 90u );
    chip.poke( 48, 7u );
    EXPECT_EQ( byte( 48 ), 7u );
    EXPECT_THROW( chip.poke( 48, 256u ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( 1, 0u ), smbusd::ChipError );
}

TEST_F( SlowPsoc, FansTurnWhenTheServiceBegins ) {
    TestBoard begun( withOptions( slow + R"(, "inputs": { "fan2.blocked": 1 })" ) );
    EXPECT_EQ( begun.number( "psoc", firstSpeed ), 10000u );
    EXPECT_EQ( begun.number( "psoc", firstSpeed + 2 ), 0u );
}

TEST_F( SlowPsoc, SpeedNearsTheDutysByAThirdOfTheRestEachTimeConstant ) {
    EXPECT_EQ( word( firstSpeed ), 10000u ); // it has been running for long
    test.hardware.powerOn();
    EXPECT_EQ( word( firstSpeed ), 0u );
    test.scheduler.advance( std::chrono::seconds( 1 ) );
    EXPECT_EQ( word( firstSpeed ), 6321u ); // 10000 * ( 1 - 1/e )
    EXPECT_EQ( word( firstSpeed + 2 ), 3161u );
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    EXPECT_EQ( word( firstSpeed ), 10000u );
    writeWord( duty, 10000 );
    EXPECT_EQ( word( firstSpeed ), 10000u );
    test.scheduler.advance( std::chrono::seconds( 2 ) );
    EXPECT_EQ( word( firstSpeed ), 18647u ); // 20000 - 10000 / e^2
    writeWord( duty, 0 );
    test.scheduler.advance( std::chrono::seconds( 1 ) );
    EXPECT_EQ( word( firstSpeed ), 6860u ); // 18647 / e
}

TEST_F( SlowPsoc, FanSpinsUpFromStandstillWhenItIsFreed ) {
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    set( "fan1.blocked", 1 );
    EXPECT_EQ( word( firstSpeed ), 0u );
    EXPECT_EQ( byte( stallAlert ), 0x01u );
    set( "fan1.blocked", 0 );
    EXPECT_EQ( word( firstSpeed ), 0u );
    test.scheduler.advance( std::chrono::milliseconds( 100 ) );
    EXPECT_EQ( word( firstSpeed ), 952u ); // 10000 * ( 1 - e^-0.1 )
    EXPECT_EQ( byte( stallAlert ), 0x00u );
}

TEST_F( SlowPsoc, SpeedSetFromTheBenchLastsForTheMoment ) {
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    test.chip( "psoc" ).poke( firstSpeed, 300u );
    EXPECT_EQ( word( firstSpeed ), 300u );
    EXPECT_EQ( byte( stallAlert ), 0x01u );
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    EXPECT_EQ( word( firstSpeed ), 10000u );
}

TEST_F( Psoc, PowerOffTakesTheBoardDownAtTheEndOfTheWrite ) {
    EXPECT_FALSE( test.run( TransactionBuilder().write( place, powerOff, bytes( 2 ) ) ).failed() );
    EXPECT_FALSE( test.hardware.powered() );
    EXPECT_TRUE( test.run( TransactionBuilder().read( place, duty, 2 ) ).failed() );
    test.scheduler.advance( std::chrono::hours( 1 ) );
    EXPECT_FALSE( test.hardware.powered() );
    test.hardware.powerOn();
    EXPECT_EQ( byte( powerOff ), 0u );
    EXPECT_EQ( word( duty ), 5000u );
}

TEST_F( Psoc, PowerCycleTakesTheBoardDownForAMoment ) {
    writeWord( duty, 1000 );
    EXPECT_FALSE(
        test.run( TransactionBuilder().write( place, powerCycle, bytes( 1 ) ) ).failed() );
    EXPECT_FALSE( test.hardware.powered() );
    test.scheduler.advance( smbusd::Hardware::defaultPowerCycle );
    EXPECT_TRUE( test.hardware.powered() );
    EXPECT_EQ( byte( powerCycle ), 0u );
    EXPECT_EQ( word( duty ), 5000u );
}

TEST_F( Psoc, OtherBitsOfThePowerRegistersDoNothing ) {
    test.run( TransactionBuilder()
                  .write( place, powerOff, bytes( 0xFD ) )
                  .write( place, powerCycle, bytes( 0xFE ) ) );
    EXPECT_TRUE( test.hardware.powered() );
    EXPECT_EQ( byte( powerOff ), 0xFDu );
    EXPECT_EQ( byte( powerCycle ), 0xFEu );
}

TEST_F( SlowPsoc, FansSpinUpAgainWhenPowerComesBack ) {
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    test.hardware.powerOff();
    test.hardware.powerOn();
    EXPECT_EQ( word( firstSpeed ), 0u );
    test.scheduler.advance( std::chrono::seconds( 20 ) );
    EXPECT_EQ( word( firstSpeed ), 10000u );
}

TEST( PsocConfiguration, OptionsChangeTheStart ) {
    TestBoard board( withOptions( R"("fans": [ { "maxRpm": 10000 } ], "duty": 1000,
                                     "stallRpm": 1001)" ) );
    EXPECT_EQ( board.number( "psoc", firstSpeed ), 1000u );
    EXPECT_EQ( board.number( "psoc", stallAlert ), 1u );
}

TEST( PsocConfiguration, EightFansAreTheMost ) {
    std::string fans = R"({ "maxRpm": 10000 })";
    for ( int i = 1; i < 8; ++i ) {
        fans += R"(, { "maxRpm": 10000 })";
    }
    EXPECT_EQ( TestBoard( withOptions( "\"fans\": [" + fans + "]" ) ).number( "psoc", 78 ), 5000u );
    EXPECT_THROW( TestBoard( withOptions( "\"fans\": [" + fans + R"(, { "maxRpm": 1 } ])" ) ),
                  smbusd::ConfigError );
}

TEST( PsocConfiguration, WhatCannotBeIsRefused ) {
    for ( const char *options :
          { R"("spinUpMs": 1)", R"("fans": [ {} ])", R"("fans": [ { "maxRpm": 0 } ])",
            R"("fans": [ { "maxRpm": 65536 } ])", R"("fans": [ { "rpm": 1 } ])",
            R"("fans": [], "duty": 10001)", R"("fans": [], "stallRpm": 0)",
            R"("fans": [], "temperatures": { "48": { "name": "a" } })",
            R"("fans": [], "temperatures": { "8": { "name": "a" } })",
            R"("fans": [], "temperatures": { "32": { "name": "a" }, "0x20": { "name": "b" } })",
            R"("fans": [], "temperatures": { "32": { "name": "a" }, "33": { "name": "a" } })",
            R"("fans": [], "temperatures": { "32": { "name": "" } })",
            R"("fans": [], "temperatures": { "32": { "rise": 1 } })" } ) {
        EXPECT_THROW( TestBoard( withOptions( options ) ), smbusd::ConfigError ) << options;
    }
}

} // namespace
