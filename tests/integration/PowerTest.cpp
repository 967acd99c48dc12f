#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/integration/EmulatedBoard.h"
#include "tests/integration/RecordReadings.h"
#include "tests/integration/WireFollower.h"

namespace {

using testing::HasSubstr;

/** The power board, its fans without inertia. */
class PowerTest : public testing::Test {
  protected:
    static std::string fdl( const std::string &model, const std::string &serial ) {
        return R"({ "model": ")" + model + R"(", "serial": ")" + serial + R"(", "fans": 1 })";
    }

    EmulatedBoard board_{ "mirelund-power", []( std::string &hardware ) {
                             for ( int supply = 0; supply < 3; ++supply ) {
                                 replaceIn( hardware, "\"spinUpMs\": 400", "\"spinUpMs\": 0" );
                             }
                         } };
};

TEST_F( PowerTest, PmbusSupplyIsMeasured ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu1" );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_voltage ), 230.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_voltage ), 12.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_current ), 20.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_power ), 240.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_power ), 261.0f );            // 522 * 2^-1
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_current ), 581.0f / 512.0f ); // 581 * 2^-9
    EXPECT_EQ( celsiusOf( board_.add<pl_temp_sensor>( "psu1-inlet" ) ), 609.0f / 16 );
    EXPECT_EQ( celsiusOf( board_.add<pl_temp_sensor>( "psu1-core" ) ), 49.0f );
    // Frost reads as zero.
    board_.ctl( { "set", "psu1", "ambient", "-40" } );
    EXPECT_EQ( celsiusOf( board_.add<pl_temp_sensor>( "psu1-inlet" ) ), 0.0f );
}

TEST_F( PowerTest, SupplyWithoutModeIsReadInItsOwnFormat ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu3" );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_voltage ), 12.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_voltage ), 115.0f );
}

TEST_F( PowerTest, PowerGoodOfStatusWord ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu1" );
    // A collapsed output is a fault while the supply is on.
    board_.ctl( { "set", "psu1", "output.fault", "1" } );
    EXPECT_EQ( powerOkStatus( psu ), PL_STATUS_FAULT );
    board_.ctl( { "set", "psu1", "output.fault", "0" } );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    // One that is off is no fault.
    board_.ctl( { "set", "psu1", "on", "0" } );
    EXPECT_EQ( powerOkOf( psu ), 0 );
    board_.ctl( { "set", "psu1", "on", "1" } );
    board_.ctl( { "set", "psu1", "vin", "0" } );
    EXPECT_EQ( powerOkOf( psu ), 0 );
    board_.ctl( { "set", "psu1", "vin", "230" } );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    board_.ctl( { "unplug", "supply1" } );
    EXPECT_EQ( powerOkStatus( psu ), PL_STATUS_FAILED );
    EXPECT_TRUE( board_.host.traced( 3, "CLEAR_FAULTS PMBus command failed: 6" ) );
}

TEST_F( PowerTest, AskingForPowerLiftsTheProtectionAndClearsFaults ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu1" );
    board_.ctl( { "write", "psu1", "0x10", "0x80" } );
    board_.ctl( { "set", "psu1", "fan1.blocked", "1" } );
    board_.ctl( { "set", "psu1", "fan1.blocked", "0" } );
    EXPECT_EQ( board_.peek( "psu1", 0x81 ), 0x80u );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    EXPECT_EQ( board_.peek( "psu1", 0x10 ), 0u );
    EXPECT_EQ( board_.peek( "psu1", 0x81 ), 0u );
}

TEST_F( PowerTest, FaultsAreClearedBeforeTheStatusIsRead ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu1" );
    WireFollower wire( board_.service.control() );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    EXPECT_EQ( wire.take( 3 ),
               ( std::vector<std::string>{ "S 58 W A 10 A 00 A P", "S 58 W A 03 A P",
                                           "S 58 W A 79 A Sr 58 R A 00 A 00 N P" } ) );
    // What clearing cannot reach does not keep the status from being read.
    board_.ctl( { "fault", "inject", "psu1", "nack", "--at", "data", "--times", "1" } );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    EXPECT_TRUE( board_.host.traced( 3, "CLEAR_FAULTS PMBus command failed: 6" ) );
}

TEST_F( PowerTest, SupplyIsNamedByItsLengthsAndThenItsTexts ) {
    pl_slot *const bay = board_.add<pl_slot>( "bay2" );
    WireFollower wire( board_.service.control() );
    EXPECT_EQ( presenceOf( bay ), fdl( "EM460-12", "E0042" ) );
    // High: power good 1 and 2 (bits 1 and 4), mains good 1 and 2 (bits 6 and 7). Low: what tells
    // that a supply is in (0, 2 and 5) and that the third has power (3).
    EXPECT_EQ( wire.take( 6 ),
               ( std::vector<std::string>{
                   "S 20 W A 00 A Sr 20 R A D2 N P", "S 20 W A 00 A Sr 20 R A D2 N P",
                   "S 58 W A 9A A Sr 58 R A 08 N P", "S 58 W A 9E A Sr 58 R A 05 N P",
                   "S 58 W A 9A A Sr 58 R A 08 A 45 A 4D A 34 A 36 A 30 A 2D A 31 A 32 N P",
                   "S 58 W A 9E A Sr 58 R A 05 A 45 A 30 A 30 A 34 A 32 N P" } ) );
}

TEST_F( PowerTest, FanCommandsCarryAPacketErrorCodeWhereTheyAreToldTo ) {
    pl_fan *const fan = board_.add<pl_fan>( "psu1-fan" );
    WireFollower wire( board_.service.control() );
    EXPECT_EQ( fan->ops->set_rpm( fan, 4500 ), PL_STATUS_OK );
    // 25 %; 7F is the CRC-8 of B0 3B 19 00.
    EXPECT_EQ( wire.take( 1 ), std::vector<std::string>{ "S 58 W A 3B A 19 A 00 A 7F A P" } );
    board_.ctl( { "fault", "inject", "psu1", "bad-pec", "--times", "1" } );
    EXPECT_EQ( fan->ops->set_rpm( fan, 9000 ), PL_STATUS_FAILED );
    EXPECT_TRUE( board_.host.traced( 0, "Failed to set fan0 duty cycle to 50" ) );
    EXPECT_EQ( board_.peek( "psu1", 0x3B ), 25u );
}

TEST_F( PowerTest, PowerGoodOfALine ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu3" );
    EXPECT_EQ( powerOkOf( psu ), 1 ); // the line is low
    board_.ctl( { "set", "psu3", "output.fault", "1" } );
    EXPECT_EQ( powerOkOf( psu ), 0 );
    board_.ctl( { "set", "psu3", "output.fault", "0" } );
    EXPECT_EQ( powerOkOf( psu ), 1 );
}

TEST_F( PowerTest, FanOfAPmbusSupplyIsDrivenInPercent ) {
    pl_fan *const fan = board_.add<pl_fan>( "psu1-fan" );
    EXPECT_EQ( rpmOf( fan ), 9008 ); // half of 18000, the nearest number being 563 * 2^4
    EXPECT_EQ( fan->ops->set_rpm( fan, 4600 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psu1", 0x3B ), 25u ); // 25.6 %, without the fraction
    EXPECT_EQ( rpmOf( fan ), 4504 );               // of 4500, 563 * 2^3
    EXPECT_EQ( fan->ops->set_rpm( fan, 36000 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psu1", 0x3B ), 100u );
    EXPECT_EQ( fan->ops->set_rpm( fan, -1 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psu1", 0x3B ), 100u );
    board_.ctl( { "set", "psu1", "fan1.blocked", "1" } );
    EXPECT_EQ( rpmStatus( fan ), PL_STATUS_FAULT );
}

TEST_F( PowerTest, EmersonSupplyIsMeasuredAndDriven ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu2" );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_voltage ), 12.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_current ), 20.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_output_power ), 240.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_power ), 261.0f );
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_current ), 261.0f / 230.0f );

    pl_fan *const first = board_.add<pl_fan>( "psu2-fan1" );
    pl_fan *const second = board_.add<pl_fan>( "psu2-fan2" );
    EXPECT_EQ( first->ops->set_rpm( first, 3000 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psu2", 0x3B ), 0x12EEu ); // 750 * 2^2
    EXPECT_EQ( rpmOf( first ), 3000 );
    EXPECT_EQ( rpmOf( second ), 10000 );
    EXPECT_EQ( second->ops->set_rpm( second, 30000 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psu2", 0x3C ), 0x2A71u ); // 20000, the cap: 625 * 2^5
    EXPECT_EQ( rpmOf( second ), 20000 );
}

TEST_F( PowerTest, EmersonSupplysPowerIsTheExpandersToTell ) {
    pl_psu *const psu = board_.add<pl_psu>( "psu2" );
    EXPECT_EQ( powerOkOf( psu ), 1 );
    // Each answer of the expander serves for two seconds.
    board_.ctl( { "set", "psu2", "output.fault", "1" } );
    EmulatedBoard::passTime( 3 );
    EXPECT_EQ( powerOkStatus( psu ), PL_STATUS_FAULT );
    board_.ctl( { "set", "psu2", "vin", "0" } );
    EmulatedBoard::passTime( 3 );
    EXPECT_EQ( powerOkOf( psu ), 0 );
    // The mains being gone, no power is asked for.
    EXPECT_EQ( measured( psu, &pl_psu_ops::get_input_current ), 0.0f );
}

TEST_F( PowerTest, LedsOfTheSupplyExpander ) {
    pl_led *const first = board_.add<pl_led>( "psu1-led" );
    pl_led *const second = board_.add<pl_led>( "psu2-led" );
    pl_led *const fans = board_.add<pl_led>( "fan-area-led" );
    EXPECT_EQ( board_.peek( "expander", 6 ), 0xFFu ); // inputs
    EXPECT_EQ( board_.peek( "expander", 7 ), 0x00u ); // outputs
    EXPECT_EQ( board_.peek( "expander", 3 ) & 0x03u, 0u ) << "EEPROMs out of reset";
    first->ops->set_light_setting( first, PL_LED_STATUS_GOOD );
    second->ops->set_light_setting( second, PL_LED_STATUS_BAD );
    fans->ops->set_light_setting( fans, PL_LED_STATUS_OFF );
    EXPECT_EQ( board_.peek( "expander", 3 ), 0x24u ); // bit 2 green, bit 5 red
}

TEST_F( PowerTest, EachBayIdentifiesItsSupply ) {
    const struct {
        const char *bay;
        std::string fdl;
    } bays[] = {
        { "bay1", fdl( "DPS550AB6A", "GTVD1615001656" ) },       // pmbus
        { "bay2", fdl( "EM460-12", "E0042" ) },                  // pmbus
        { "bay3", fdl( "DPS550AB6A", "GTVD1615001656" ) },       // ipmi
        { "bay4", fdl( "PS-2471-1AZ1-LF", "61AZ10101E340DU" ) }, // tlv
        { "wedge1", fdl( "PWR-WEDGE", "N/A" ) },
    };
    for ( const auto &[ bay, expected ] : bays ) {
        pl_slot *const slot = board_.add<pl_slot>( bay );
        EXPECT_EQ( presenceOf( slot ), expected ) << bay;
        EXPECT_EQ( presenceOf( slot ), expected ) << bay << ", from the cache";
        EXPECT_TRUE( board_.host.traced( 7, "Using cached fdl" ) ) << bay;
        board_.host.traces.clear();
    }
}

TEST_F( PowerTest, WedgeBitsAreOfOneSupplyEach ) {
    pl_slot *const first = board_.add<pl_slot>( "wedge1" );
    pl_slot *const second = board_.add<pl_slot>( "wedge2" );
    presenceOf( first );
    presenceOf( second, PL_STATUS_NOT_PRESENT );
    board_.ctl( { "write", "wedge-cpld", "8", "2" } );
    presenceOf( first, PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( presenceOf( second ), fdl( "PWR-WEDGE", "N/A" ) );
}

TEST_F( PowerTest, SupplyIsPulledSwappedAndPutBackWithoutMains ) {
    pl_slot *const bay = board_.add<pl_slot>( "bay1" );
    EXPECT_EQ( presenceOf( bay ), fdl( "DPS550AB6A", "GTVD1615001656" ) );

    board_.ctl( { "unplug", "supply1" } );
    EXPECT_EQ( presenceOf( bay, PL_STATUS_NOT_PRESENT ), "" );

    board_.ctl( { "plug", "supply1-other" } );
    board_.host.traces.clear();
    EXPECT_EQ( presenceOf( bay ), fdl( "PS-2471-1AZ1-LF", "61AZ10101E340DU" ) );
    EXPECT_TRUE( board_.host.traced( 0, "PSU modelName = 'PS-2471-1AZ1-LF'" ) );
    board_.ctl( { "unplug", "supply1-other" } );

    board_.ctl( { "plug", "supply1-without-ac" } );
    EXPECT_EQ( presenceOf( bay, PL_STATUS_NOT_PRESENT ), "" );
    EXPECT_TRUE( board_.host.traced( 0, "Unknown modelName. PSU is unmanaged" ) );
    board_.ctl( { "unplug", "supply1-without-ac" } );

    board_.ctl( { "plug", "supply1-foreign" } );
    board_.host.traces.clear();
    EXPECT_EQ( presenceOf( bay, PL_STATUS_NOT_PRESENT ), "" );
    EXPECT_TRUE( board_.host.traced( 0, "Unknown modelName. PSU is unmanaged" ) );
    board_.ctl( { "unplug", "supply1-foreign" } );

    board_.ctl( { "plug", "supply1" } );
    EXPECT_EQ( presenceOf( bay ), fdl( "DPS550AB6A", "GTVD1615001656" ) );
}

TEST_F( PowerTest, EepromThatIsGoneOrErasedIsNoSupply ) {
    pl_slot *const ipmi = board_.add<pl_slot>( "bay3" );
    board_.ctl( { "write", "psu3-rom", "7", "0" } );
    presenceOf( ipmi, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( board_.host.traced( 0, "PsuSlot0: Common header checksum error" ) );
    board_.ctl( { "fault", "inject", "psu3-rom", "nack" } );
    presenceOf( ipmi, PL_STATUS_NOT_PRESENT );
    EXPECT_TRUE( board_.host.traced( 0, "PsuSlot0: Error reading common header" ) );
    pl_slot *const tlv = board_.add<pl_slot>( "bay4" );
    board_.ctl( { "unplug", "psu4-rom" } );
    presenceOf( tlv, PL_STATUS_NOT_PRESENT );
}

} // namespace
