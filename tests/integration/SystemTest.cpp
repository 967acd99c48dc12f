#include <cstdlib>
#include <cstring>

#include <gmock/gmock.h>

#include "tests/integration/EmulatedBoard.h"
#include "tests/integration/RecordReadings.h"
#include "tests/integration/WireFollower.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Wires = std::vector<std::string>;

/** The system board; its power comes back only when the test says so. */
class SystemTest : public testing::Test {
  protected:
    explicit SystemTest( const std::string &powerCycleMs = "60000" )
        : board_( "mirelund-system", [ & ]( std::string &hardware ) {
              replaceIn( hardware, "\"powerCycleMs\": 300", "\"powerCycleMs\": " + powerCycleMs );
          } ) {}

    bool powered() const {
        return board_.ctl( { "--json", "list" } ).find( "\"powered\":true" ) != std::string::npos;
    }
    EmulatedBoard board_;
};

TEST_F( SystemTest, PowerOffIsOneWriteAndTakesTheBoardDown ) {
    pl_fan *const fan = board_.add<pl_fan>( "fan1" );
    pl_system *const system = board_.add<pl_system>( "power" );
    WireFollower wire( board_.service.control() );
    EXPECT_EQ( system->ops->poweroff( system ), PL_STATUS_OK );
    EXPECT_FALSE( powered() );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_FAILED );
    // Register 10, bit 1, without a read before it; then nobody answers the fan's read.
    EXPECT_THAT( wire.take( 2 ), ElementsAre( "S 0A W A 0A A 02 A P", HasSubstr( "S 0A W N" ) ) );
    EXPECT_EQ( system->ops->poweroff( system ), PL_STATUS_FAILED );

    board_.ctl( { "power", "on" } );
    EXPECT_TRUE( powered() );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_OK );
}

TEST_F( SystemTest, PowerCycleIsOneWriteAndTakesTheBoardDownForAMoment ) {
    pl_fan *const fan = board_.add<pl_fan>( "fan1" );
    pl_system *const system = board_.add<pl_system>( "power" );
    WireFollower wire( board_.service.control() );
    EXPECT_EQ( system->ops->powercycle( system ), PL_STATUS_OK );
    EXPECT_THAT( wire.take( 1 ), ElementsAre( "S 0A W A 08 A 01 A P" ) );
    EXPECT_FALSE( powered() );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_FAILED );
}

class ShortPowerCycleTest : public SystemTest {
  protected:
    ShortPowerCycleTest() : SystemTest( "1" ) {}
};

TEST_F( ShortPowerCycleTest, BoardComesUpWithItsResetValues ) {
    pl_fan *const fan = board_.add<pl_fan>( "fan1" );
    pl_system *const system = board_.add<pl_system>( "power" );
    board_.add<pl_gpio>( "port-led-enable" );
    EXPECT_EQ( fan->ops->set_rpm( fan, 10000 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psoc", 60 ), 4000u );
    EXPECT_EQ( board_.peek( "port-leds", 6 ), 0xFFu );
    EXPECT_EQ( system->ops->powercycle( system ), PL_STATUS_OK );
    while ( !powered() ) {
    }
    EXPECT_EQ( board_.peek( "psoc", 60 ), 5000u );
    EXPECT_EQ( board_.peek( "port-leds", 6 ), 0u );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_OK );
}

TEST_F( SystemTest, ReloadCauseIsUnsupportedAndTouchesNothing ) {
    pl_system *const system = board_.add<pl_system>( "power" );
    char cause[ 100 ], description[ 500 ];
    std::memset( cause, 'c', sizeof( cause ) );
    std::memset( description, 'd', sizeof( description ) );
    long time = 77;
    EXPECT_EQ( system->ops->get_reload_cause( system, cause, &time, description ),
               PL_STATUS_UNSUPPORTED );
    EXPECT_EQ( std::string( cause, sizeof( cause ) ), std::string( sizeof( cause ), 'c' ) );
    EXPECT_EQ( std::string( description, sizeof( description ) ),
               std::string( sizeof( description ), 'd' ) );
    EXPECT_EQ( time, 77 );
}

/** Twelve writes: the ports' LEDs off, and then let through. */
const Wires ledWrites = {
    "S 23 W A 00 A 00 A P", "S 23 W A 01 A 00 A P", "S 23 W A 02 A 00 A P", "S 23 W A 03 A 00 A P",
    "S 23 W A 04 A 00 A P", "S 23 W A 05 A 00 A P", "S 23 W A 08 A 00 A P", "S 23 W A 09 A 00 A P",
    "S 23 W A 0A A 00 A P", "S 23 W A 0B A 00 A P", "S 23 W A 06 A FF A P", "S 23 W A 07 A FF A P",
};

TEST_F( SystemTest, PortLedsAreSetUpByTwelveWritesInOrder ) {
    WireFollower wire( board_.service.control() );
    pl_gpio *const line = board_.add<pl_gpio>( "port-led-enable" );
    EXPECT_EQ( wire.take( ledWrites.size() ), ledWrites );
    unsigned int bit = 2;
    EXPECT_EQ( line->ops->bit_read( line, &bit ), PL_STATUS_OK );
    EXPECT_EQ( bit, 1u );
    EXPECT_EQ( line->ops->bit_clear( line ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "port-leds", 6 ), 0xFEu );
}

TEST_F( SystemTest, RefusedLedWriteDoesNotStopTheOthers ) {
    // As often as the service tries: once, and three times again.
    constexpr size_t attempts = 4;
    board_.ctl( { "fault", "inject", "port-leds", "nack", "--times", std::to_string( attempts ) } );
    WireFollower wire( board_.service.control() );
    board_.add<pl_gpio>( "port-led-enable" );
    EXPECT_TRUE( board_.host.traced( 0, "Failed to write QSFP Port LED Register: 0" ) );
    EXPECT_TRUE( board_.host.traced( 0, "Successfully disable QSFP Port LEDs" ) );
    EXPECT_TRUE( board_.host.traced( 0, "Successfully enable QSFP Port LEDs" ) );
    Wires rest = wire.take( attempts + ledWrites.size() - 1 );
    rest.erase( rest.begin(), rest.begin() + attempts );
    EXPECT_EQ( rest, Wires( ledWrites.begin() + 1, ledWrites.end() ) );
}

TEST_F( SystemTest, BayIsAnsweredByWhicheverWayIdentifiesItsSupply ) {
    const std::string current = R"({ "model": "DPS550AB6A", "serial": "GTVD1615001656" })";
    const std::string legacy = R"({ "model": "PS-2471-1AZ1-LF", "serial": "61AZ10101E340DU" })";
    pl_slot *const bay = board_.add<pl_slot>( "bay1" );
    ASSERT_NE( bay, nullptr );
    EXPECT_EQ( presenceOf( bay ), current );

    // The one that answered last is asked first, without success; then all from the first one on.
    board_.ctl( { "unplug", "new-supply" } );
    board_.ctl( { "plug", "legacy-supply" } );
    board_.host.traces.clear();
    EXPECT_EQ( presenceOf( bay ), legacy );
    EXPECT_THAT( board_.host.texts( 7 ),
                 testing::Contains( "readSerialAndModelPmbus" ).Times( 2 ) );

    // From now on the other one is.
    board_.host.traces.clear();
    EXPECT_EQ( presenceOf( bay ), legacy );
    EXPECT_THAT( board_.host.texts( 7 ),
                 testing::Not( testing::Contains( "readSerialAndModelPmbus" ) ) );
    EXPECT_TRUE( board_.host.traced( 7, "Using cached fdl" ) );

    board_.ctl( { "unplug", "legacy-supply" } );
    EXPECT_EQ( presenceOf( bay, PL_STATUS_NOT_PRESENT ), "" );
    board_.ctl( { "plug", "new-supply" } );
    EXPECT_EQ( presenceOf( bay ), current );
}

} // namespace
