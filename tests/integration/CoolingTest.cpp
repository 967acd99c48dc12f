#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/integration/EmulatedBoard.h"
#include "tests/integration/RecordReadings.h"

namespace {

/** The cooling board, its fans without inertia so that no test waits for them to spin up. */
class CoolingTest : public testing::Test {
  protected:
    /** The amber bit of an LED, from 1, in the fan board's output register. */
    bool amber( int led ) const { return board_.peek( "fan-board", 3 ) >> ( 3 + led ) & 1; }

    EmulatedBoard board_{ "mirelund-cooling", []( std::string &hardware ) {
                             replaceIn( hardware, "\"spinUpMs\": 400", "\"spinUpMs\": 0" );
                         } };
};

TEST_F( CoolingTest, ControllerIsConfiguredAndPolledFromTheFirstTickOn ) {
    board_.add<pl_fan>( "fan1" );
    EXPECT_EQ( board_.peek( "psoc", 48 ), 1u );
    EXPECT_EQ( board_.peek( "psoc", 49 ), 255u );
    EXPECT_EQ( board_.peek( "psoc", 51 ), 1u );
    ASSERT_EQ( board_.host.timers.size(), 1u );
    EXPECT_EQ( board_.host.timers.begin()->second.milliseconds, 1000u );
    EXPECT_THAT( board_.host.texts( 6 ), testing::IsEmpty() );
    EXPECT_EQ( board_.host.fireAll(), 1 );
    EXPECT_EQ( board_.host.texts( 6 ), std::vector<std::string>{ "pollCallbackWrapper" } );
    EXPECT_EQ( board_.host.fireAll(), 1 );
}

TEST_F( CoolingTest, AllFansFollowTheMastersSpeed ) {
    pl_fan *const first = board_.add<pl_fan>( "fan1" );
    pl_fan *const second = board_.add<pl_fan>( "fan2" );
    pl_fan *const third = board_.add<pl_fan>( "fan3" );
    pl_fan *const fourth = board_.add<pl_fan>( "fan4" );
    EXPECT_EQ( rpmOf( first ), 12500 ); // half of 25000, as the controller starts
    EXPECT_EQ( first->ops->set_rpm( first, 9000 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psoc", 60 ), 3600u ); // 36 %
    EXPECT_EQ( rpmOf( first ), 9000 );
    EXPECT_EQ( rpmOf( second ), 8892 ); // of 24700
    EXPECT_EQ( rpmOf( third ), 9072 );  // of 25200
    EXPECT_EQ( rpmOf( fourth ), 8964 ); // of 24900
    EXPECT_EQ( second->ops->set_rpm( second, 20000 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psoc", 60 ), 3600u );
}

TEST_F( CoolingTest, DutyEndsAtNinetyNinePercent ) {
    pl_fan *const first = board_.add<pl_fan>( "fan1" );
    first->ops->set_rpm( first, 25000 );
    EXPECT_EQ( rpmOf( first ), 24750 );
}

TEST_F( CoolingTest, StalledFanShowsWithinOnePeriodAndRecovers ) {
    pl_fan *const second = board_.add<pl_fan>( "fan2" );
    pl_fan *const third = board_.add<pl_fan>( "fan3" );
    board_.host.fireAll();
    EXPECT_EQ( rpmOf( second ), 12350 );

    board_.ctl( { "set", "psoc", "fan2.blocked", "1" } );
    EXPECT_EQ( rpmOf( second ), 0 ); // what the tachometer says before the next poll
    board_.host.fireAll();
    EXPECT_EQ( rpmStatus( second ), PL_STATUS_FAULT );
    EXPECT_TRUE( board_.host.traced( 0, "Fan 1 stalled" ) );
    EXPECT_EQ( rpmOf( third ), 12600 );

    board_.ctl( { "set", "psoc", "fan2.blocked", "0" } );
    EXPECT_EQ( rpmStatus( second ), PL_STATUS_FAULT );
    board_.host.fireAll();
    EXPECT_EQ( rpmOf( second ), 12350 );
}

TEST_F( CoolingTest, SilentControllerLeavesTheLastAlerts ) {
    pl_fan *const first = board_.add<pl_fan>( "fan1" );
    pl_fan *const second = board_.add<pl_fan>( "fan2" );
    board_.ctl( { "set", "psoc", "fan2.blocked", "1" } );
    board_.host.fireAll();
    board_.ctl( { "set", "psoc", "fan2.blocked", "0" } );
    board_.ctl( { "fault", "inject", "psoc", "nack" } );
    board_.host.fireAll();
    EXPECT_TRUE( board_.host.traced( 0, "Error status 6 reading fan stall alert register" ) );
    EXPECT_EQ( rpmStatus( second ), PL_STATUS_FAULT );
    EXPECT_EQ( rpmStatus( first ), PL_STATUS_FAILED );
    EXPECT_EQ( first->ops->set_rpm( first, 9000 ), PL_STATUS_FAILED );

    board_.ctl( { "fault", "clear" } );
    board_.host.fireAll();
    EXPECT_EQ( rpmOf( second ), 12350 );
}

TEST_F( CoolingTest, TemperaturesFollowTheFansALittle ) {
    pl_temp_sensor *const asic = board_.add<pl_temp_sensor>( "asic" );
    pl_temp_sensor *const inlet = board_.add<pl_temp_sensor>( "inlet" );
    pl_fan *const first = board_.add<pl_fan>( "fan1" );
    // 48 degrees above the ambient 25 with standing fans, half of that at full speed.
    EXPECT_EQ( celsiusOf( asic ), 61 );
    EXPECT_EQ( celsiusOf( inlet ), 27 ); // 26.5
    first->ops->set_rpm( first, 2500 );
    EXPECT_EQ( celsiusOf( asic ), 71 ); // 25 + 48 * 0.95
    first->ops->set_rpm( first, 25000 );
    EXPECT_EQ( celsiusOf( asic ), 49 ); // 25 + 48 * 0.505
    board_.ctl( { "set", "psoc", "ambient", "40" } );
    EXPECT_EQ( celsiusOf( asic ), 64 );
}

TEST_F( CoolingTest, SwappedTrayHasTheOtherFieldData ) {
    constexpr const char *frontToBack =
        R"({ "airflow": "frontToBackAirflow", "maxRpm": 25000, "model": "FAN-7000" })";
    constexpr const char *backToFront =
        R"({ "airflow": "backToFrontAirflow", "maxRpm": 23000, "model": "FAN-7000" })";
    pl_slot *const tray = board_.add<pl_slot>( "tray3" );
    pl_slot *const other = board_.add<pl_slot>( "tray4" );
    EXPECT_EQ( presenceOf( tray ), frontToBack );
    EXPECT_EQ( presenceOf( tray ), frontToBack );
    EXPECT_TRUE( board_.host.traced( 5, "Using cached fdl for fan 2" ) );

    board_.ctl( { "unplug", "tray3-f2b" } );
    EXPECT_EQ( presenceOf( tray ), frontToBack ); // the expander's lines are cached for two seconds
    EmulatedBoard::passTime( 3 );
    presenceOf( tray, PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( presenceOf( other ), frontToBack );

    board_.ctl( { "plug", "tray3-b2f" } );
    EmulatedBoard::passTime( 3 );
    EXPECT_EQ( presenceOf( tray ), backToFront );
    EXPECT_EQ( presenceOf( other ), frontToBack );

    board_.ctl( { "unplug", "tray3-b2f" } );
    board_.ctl( { "plug", "tray3-f2b" } );
    EmulatedBoard::passTime( 3 );
    EXPECT_EQ( presenceOf( tray ), frontToBack );
}

TEST_F( CoolingTest, FanOfAPulledTrayStalls ) {
    pl_fan *const fourth = board_.add<pl_fan>( "fan4" );
    board_.host.fireAll();
    EXPECT_EQ( rpmOf( fourth ), 12450 );
    board_.ctl( { "unplug", "tray4-f2b" } );
    board_.host.fireAll();
    EXPECT_EQ( rpmStatus( fourth ), PL_STATUS_FAULT );
    board_.ctl( { "plug", "tray4-b2f" } );
    board_.host.fireAll();
    EXPECT_EQ( rpmOf( fourth ), 12450 );
}

TEST_F( CoolingTest, LedsShowTheirSettings ) {
    pl_led *const first = board_.add<pl_led>( "fanled1" );
    pl_led *const fourth = board_.add<pl_led>( "fanled4" );
    EXPECT_EQ( board_.peek( "fan-board", 6 ), 0xFFu );
    EXPECT_EQ( board_.peek( "fan-board", 7 ), 0x0Fu );
    first->ops->set_light_setting( first, PL_LED_STATUS_GOOD );
    EXPECT_EQ( board_.peek( "fan-board", 3 ), 0xEFu );
    fourth->ops->set_light_setting( fourth, PL_LED_STATUS_OFF );
    EXPECT_EQ( board_.peek( "fan-board", 3 ), 0x6Fu );
    first->ops->set_light_setting( first, PL_LED_STATUS_WARNING );
    EXPECT_EQ( board_.peek( "fan-board", 3 ), 0x7Fu );
    EXPECT_EQ( first->ops->set_light_setting( first, PL_LED_STATUS_INACTIVE ), PL_STATUS_INVALID );
    EXPECT_EQ( board_.peek( "fan-board", 3 ), 0x7Fu );
}

TEST_F( CoolingTest, BeaconBlinksInTheExpandersOutputAtTheHostsTicks ) {
    pl_led *const second = board_.add<pl_led>( "fanled2" );
    pl_led *const third = board_.add<pl_led>( "fanled3" );
    third->ops->set_light_setting( third, PL_LED_STATUS_GOOD );
    second->ops->set_light_setting( second, PL_LED_STATUS_BEACON );
    for ( const bool shown : { false, false, true, false, true } ) {
        EXPECT_EQ( amber( 2 ), shown );
        EXPECT_FALSE( amber( 3 ) );
        EXPECT_EQ( board_.host.fireAll(), 1 );
    }
    second->ops->set_light_setting( second, PL_LED_STATUS_BAD );
    EXPECT_EQ( board_.host.fireAll(), 1 ); // the timer that was still armed; no LED is on the list
    EXPECT_TRUE( amber( 2 ) );
    EXPECT_EQ( board_.host.fireAll(), 0 );
}

} // namespace
