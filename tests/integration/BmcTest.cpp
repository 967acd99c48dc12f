/** Units that a BMC owns, with a real simulator of one, the real tool and the built library. */
#include <chrono>
#include <cstdlib>
#include <optional>

#include <gmock/gmock.h>

#include "orvan/emulation/BmcEmulation.h"
#include "tests/integration/EmulatedBoard.h"
#include "tests/integration/RecordReadings.h"

namespace {

class BmcTest : public testing::Test {
  protected:
    BmcTest() { startBmc(); }

    void startBmc() {
        orvan::BmcOptions options;
        options.board = ORVAN_SOURCE_DIR "/boards/mirelund-bmc";
        options.startLimit = std::chrono::seconds( 60 );
        bmc_.emplace( options );
        setenv( "ORVAN_BMC_PORT", std::to_string( bmc_->port() ).c_str(), 1 );
        setenv( "ORVAN_BMC_CONSOLE", std::to_string( bmc_->console() ).c_str(), 1 );
    }
    /** Says something to the simulator's console. */
    void console( const std::string &command ) {
        EXPECT_EQ( std::system( ( ORVAN_SOURCE_DIR "/scripts/bmc-console " + command ).c_str() ),
                   0 );
    }
    /** Switches the scanning of a sensor on or off (Set Sensor Event Enable). */
    void scan( int sensor, bool on ) {
        // The simulator carries it out, but answers with a completion code that the tool rejects.
        static_cast<void>( std::system(
            ( "ipmitool -I lanplus -C 3 -H 127.0.0.1 -p $ORVAN_BMC_PORT -U admin -P secret "
              "raw 0x04 0x28 " +
              std::to_string( sensor ) + ( on ? " 0xC0" : " 0x00" ) + " 2>/dev/null" )
                .c_str() ) );
    }
    std::optional<orvan::BmcEmulation> bmc_;
    EmulatedBoard board_{ "mirelund-bmc" };
};

TEST_F( BmcTest, SuppliesAreMeasured ) {
    pl_psu *const first = board_.add<pl_psu>( "psu1" );
    EXPECT_EQ( measured( first, &pl_psu_ops::get_input_voltage ), 230.0f );
    EXPECT_EQ( measured( first, &pl_psu_ops::get_input_current ), 1.1f );
    EXPECT_EQ( measured( first, &pl_psu_ops::get_input_power ), 260.0f );
    EXPECT_EQ( measured( first, &pl_psu_ops::get_output_voltage ), 12.0f );
    EXPECT_EQ( measured( first, &pl_psu_ops::get_output_current ), 20.0f );
    EXPECT_EQ( measured( first, &pl_psu_ops::get_output_power ), 240.0f );
    EXPECT_EQ( powerOkOf( first ), 1 );
    pl_psu *const second = board_.add<pl_psu>( "psu2" );
    EXPECT_EQ( measured( second, &pl_psu_ops::get_input_voltage ), 0.0f );
    EXPECT_EQ( powerOkOf( second ), 0 ) << "present, but its mains are lost";
}

TEST_F( BmcTest, FansTemperaturesAndTrays ) {
    EXPECT_EQ( rpmOf( board_.add<pl_fan>( "fan1" ) ), 10000 );
    EXPECT_EQ( rpmOf( board_.add<pl_fan>( "fan2" ) ), 9900 );
    EXPECT_EQ( celsiusOf( board_.add<pl_temp_sensor>( "ambient" ) ), 27.0f ); // a comma in its name
    EXPECT_EQ( celsiusOf( board_.add<pl_temp_sensor>( "cpu" ) ), 61.0f );     // a long name
    EXPECT_EQ( presenceOf( board_.add<pl_slot>( "tray1" ) ),
               R"({ "airflow": "frontToBackAirflow", "maxRpm": 20000, "model": "FAN-7000" })" );
}

TEST_F( BmcTest, SensorWithoutAReadingIsAbsent ) {
    EXPECT_EQ( rpmStatus( board_.add<pl_fan>( "fan3" ) ), PL_STATUS_TRANSPORT );
    presenceOf( board_.add<pl_slot>( "tray3" ), PL_STATUS_TRANSPORT );
}

TEST_F( BmcTest, ChangedValueIsSeenWhenTheCacheIsTooOld ) {
    pl_fan *const fan = board_.add<pl_fan>( "fan1" );
    pl_psu *const psu = board_.add<pl_psu>( "psu1" );
    EXPECT_EQ( rpmOf( fan ), 10000 );
    console( "sensor_set_value 0x20 0 21 50 0" );
    console( "sensor_set_bit 0x20 0 7 1 1 0" ); // its supply has failed
    EXPECT_EQ( rpmOf( fan ), 10000 ) << "of the same list";
    EXPECT_EQ( powerOkOf( psu ), 1 );
    EmulatedBoard::passTime( 2 );
    EXPECT_EQ( rpmOf( fan ), 5000 );
    EXPECT_EQ( powerOkOf( psu ), 0 );
}

TEST_F( BmcTest, DisabledSensorIsAbsentUntilItIsEnabledAgain ) {
    pl_fan *const fan = board_.add<pl_fan>( "fan1" );
    pl_slot *const tray = board_.add<pl_slot>( "tray1" );
    pl_psu *const psu = board_.add<pl_psu>( "psu1" );
    pl_temp_sensor *const cpu = board_.add<pl_temp_sensor>( "cpu" );
    EXPECT_EQ( rpmOf( fan ), 10000 );
    for ( const int sensor : { 21, 7, 32 } ) {
        scan( sensor, false );
    }
    EmulatedBoard::passTime( 2 );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_TRANSPORT );
    presenceOf( tray, PL_STATUS_TRANSPORT );
    EXPECT_EQ( powerOkStatus( psu ), PL_STATUS_TRANSPORT );
    float value = -1;
    EXPECT_EQ( cpu->ops->get_temperature( cpu, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_voltage ), 230.0f ) << "the others stay";

    for ( const int sensor : { 21, 7, 32 } ) {
        scan( sensor, true );
    }
    EmulatedBoard::passTime( 2 );
    EXPECT_EQ( rpmOf( fan ), 10000 );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    EXPECT_EQ( celsiusOf( cpu ), 61.0f );
}

TEST_F( BmcTest, TrayTellsOfAFanThatComesAndOfItsAirflow ) {
    pl_slot *const tray = board_.add<pl_slot>( "tray3" );
    presenceOf( tray, PL_STATUS_TRANSPORT );
    console( "sensor_add 0x20 0 23 4 1" );
    console( "sensor_set_value 0x20 0 23 80 0" );
    console( "sensor_set_value 0x20 0 25 1 0" );
    EmulatedBoard::passTime( 2 );
    EXPECT_EQ( presenceOf( tray ),
               R"({ "airflow": "backToFrontAirflow", "maxRpm": 18000, "model": "FAN-7000" })" );
}

TEST_F( BmcTest, BmcThatIsGoneIsReportedAndNotAskedAgainUntilTheBackOffEnds ) {
    using Clock = std::chrono::steady_clock;
    pl_fan *const fan = board_.add<pl_fan>( "fan1" );
    pl_temp_sensor *const cpu = board_.add<pl_temp_sensor>( "cpu" );
    EXPECT_EQ( rpmOf( fan ), 10000 );
    EXPECT_EQ( celsiusOf( cpu ), 61.0f );
    bmc_.reset();
    EmulatedBoard::passTime( 2 );
    const auto before = Clock::now();
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_TRANSPORT );
    EXPECT_LT( Clock::now() - before, std::chrono::seconds( 20 ) ) << "bounded";

    // A BMC that is back immediately is found only when it is due to be looked for.
    startBmc();
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_TRANSPORT );
    EmulatedBoard::passTime( 4 );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_TRANSPORT );
    EmulatedBoard::passTime( 2 );
    EXPECT_EQ( rpmOf( fan ), 10000 );
    EXPECT_EQ( celsiusOf( cpu ), 61.0f );
}

} // namespace
