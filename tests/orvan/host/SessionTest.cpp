#include "orvan/host/Session.h"

#include <gmock/gmock.h>

#include "orvan/base/Errors.h"
#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::BadInput;
using orvan::Failure;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

class SessionTest : public testing::Test {
  protected:
    std::vector<std::string> &calls() { return board_.state().calls; }
    test::FakeBoard board_;
};

TEST_F( SessionTest, NothingIsTouchedBeforeItIsUsed ) {
    board_.add( "gpio", "line" );
    board_.session();
    EXPECT_THAT( calls(), IsEmpty() );
}

TEST_F( SessionTest, AKindIsInitialisedOnceAndAPeripheralAddedOnce ) {
    board_.add( "gpio", "a", R"({"did":1})" );
    board_.add( "gpio", "b", R"({"did":2})" );
    board_.add( "fan", "unused" );
    board_.session().use( "b" );
    board_.session().use( "a" );
    board_.session().use( "b" );
    EXPECT_THAT( calls(), ElementsAre( "pl_gpio_init []", R"(pl_gpio_add {"did":2})",
                                       R"(pl_gpio_add {"did":1})" ) );
}

TEST_F( SessionTest, EveryKindIsAddedWithWhatItsFunctionTakes ) {
    for ( const char *kind : { "gpio", "led", "fan", "xcvr", "psu", "slot", "system" } ) {
        board_.add( kind, kind );
    }
    orvan::PeripheralDescription &sensor = board_.add( "temp_sensor", "temp_sensor" );
    sensor.alert = 75;
    sensor.critical = 90.5f;
    board_.add( "smbus", "smbus", "PSU1" ).address = 0x58;
    board_.session().tryUseAll( {} );
    EXPECT_THAT( calls(), ElementsAre( "pl_gpio_init []", "pl_gpio_add {}", "pl_led_init []",
                                       "pl_led_add {}", "pl_fan_init []", "pl_fan_add {}",
                                       "pl_xcvr_init []", "pl_xcvr_add {}", "pl_psu_init []",
                                       "pl_psu_add {}", "pl_slot_init []", "pl_slot_add {}",
                                       "pl_system_init []", "pl_system_add {}",
                                       "pl_temp_sensor_init []", "pl_temp_sensor_add {} 75.0 90.5",
                                       "pl_smbus_init []", "pl_smbus_add PSU1 58" ) );
}

TEST_F( SessionTest, AFailedInitialisationIsNamedAndExplained ) {
    board_.add( "led", "light" );
    board_.state().initStatus = PL_STATUS_TRANSPORT;
    EXPECT_THAT(
        [ this ] { board_.session().use( "light" ); },
        ThrowsMessage<Failure>( "pl_led_init answered 4 (transport): no SMBus service at /s" ) );
    board_.state().initStatus = PL_STATUS_OK;
    EXPECT_NE( board_.session().use( "light" ).record, nullptr ) << "it is tried again";
}

TEST_F( SessionTest, AnInitialisationThatThrowsIsNamed ) {
    board_.add( "led", "light" );
    board_.state().throwOnInit = true;
    EXPECT_THAT( [ this ] { board_.session().use( "light" ); },
                 ThrowsMessage<Failure>( "pl_led_init threw fake::FakeNotImplemented: Not "
                                         "implemented pl_led_init" ) );
}

TEST_F( SessionTest, ANullAnswerComesWithTheLibrarysLastTrace ) {
    board_.add( "fan", "fan1", R"({"name":"null"})" );
    EXPECT_EQ( board_.session().tryUse( "fan1" ).failure,
               "pl_fan_add answered null (the library's last trace: there is no such device)" );
    EXPECT_THAT( [ this ] { board_.session().use( "fan1" ); },
                 ThrowsMessage<Failure>(
                     "fan1 could not be added: pl_fan_add answered null (the library's last "
                     "trace: there is no such device)" ) );
    EXPECT_EQ( calls().size(), 2u ) << "it is not tried again";
}

TEST_F( SessionTest, WhatAnAddFunctionThrowsIsNamed ) {
    board_.add( "fan", "fan1", R"({"name":"throw"})" );
    board_.add( "fan", "fan2", R"({"name":"throw int"})" );
    EXPECT_EQ( board_.session().tryUse( "fan1" ).failure,
               "pl_fan_add threw fake::FakeNotImplemented: Not implemented newThing" );
    EXPECT_EQ( board_.session().tryUse( "fan2" ).failure, "pl_fan_add threw int" );
}

TEST_F( SessionTest, AnAssertionOfTheLibraryEndsTheProcessWithItsText ) {
    board_.add( "fan", "fan1", R"({"name":"abort"})" );
    EXPECT_EXIT( board_.session().use( "fan1" ), testing::KilledBySignal( SIGABRT ),
                 "FakeLibrary: Assertion `no' failed" );
}

TEST_F( SessionTest, UnknownNamesAreRefusedBeforeAnythingIsAdded ) {
    board_.add( "fan", "fan1" );
    const char *message = "the board has no peripheral \"fan2\"";
    EXPECT_THAT( [ this ] { board_.session().use( "fan2" ); }, ThrowsMessage<BadInput>( message ) );
    EXPECT_THAT(
        [ this ] {
            board_.session().tryUseAll( { "fan1", "fan2" } );
        },
        ThrowsMessage<BadInput>( message ) );
    EXPECT_THAT( calls(), IsEmpty() );
}

TEST_F( SessionTest, TheOnlyOneOfAKindIsFound ) {
    board_.add( "fan", "fan1" );
    board_.add( "system", "power" );
    EXPECT_EQ( board_.session().onlyOne( orvan::systemKind ).description->name, "power" );
    EXPECT_THAT( [ this ] { board_.session().onlyOne( orvan::psuKind ); },
                 ThrowsMessage<BadInput>( "the board lists no peripheral of kind \"psu\"" ) );
}

TEST_F( SessionTest, SettlingLetsAPolledDeviceBePolledOnce ) {
    board_.add( "fan", "fan1", R"({"name":"timer"})" );
    board_.session().use( "fan1" );
    EXPECT_EQ( board_.state().ticks, 0u );
    board_.session().settle();
    EXPECT_EQ( board_.state().ticks, 1u );
    board_.session().settle();
    EXPECT_EQ( board_.state().ticks, 1u );
}

TEST_F( SessionTest, WhatACallbackThrowsBecomesTheValue ) {
    board_.add( "gpio", "line" );
    orvan::Peripheral &line = board_.session().use( "line" );
    board_.state().throwOnCall = true;
    orvan::Readout readout( line );
    const orvan::Value value =
        board_.session().read( line.kind->readings( line ).front(), readout );
    EXPECT_EQ( value.status, PL_STATUS_FAILED );
    EXPECT_EQ( value.exception, "fake::FakeNotImplemented: Not implemented bit_read" );
    EXPECT_THAT(
        [ this ] {
            board_.session().guarded( []() -> pl_status { throw std::runtime_error( "x" ); } );
        },
        ThrowsMessage<Failure>( "the library threw std::runtime_error: x" ) );
}

TEST_F( SessionTest, ThoseNamedComeInTheOrderOfTheirNames ) {
    board_.add( "fan", "fan1" );
    board_.add( "fan", "fan2" );
    const std::vector<orvan::Peripheral *> used =
        board_.session().tryUseAll( { "fan2", "fan1", "fan2" } );
    ASSERT_EQ( used.size(), 3u );
    EXPECT_EQ( used[ 0 ]->description->name, "fan2" );
    EXPECT_EQ( used[ 1 ]->description->name, "fan1" );
    EXPECT_EQ( used[ 2 ], used[ 0 ] );
}

TEST_F( SessionTest, SettlingEndsAfterAPeriodWithADeviceThatIsNotPolled ) {
    board_.session();
    bool fired = false;
    pl_timer_set( pl_timer_add( []( void *flag ) { *static_cast<bool *>( flag ) = true; }, &fired ),
                  1101 );
    board_.session().settle();
    EXPECT_FALSE( fired ) << "1100 ms have passed";
    board_.host().run( std::chrono::milliseconds( 1 ) );
    EXPECT_TRUE( fired );
}

TEST_F( SessionTest, ATimerAtTheEndOfThePeriodStillCounts ) {
    board_.session();
    bool fired = false;
    pl_timer_set( pl_timer_add( []( void *flag ) { *static_cast<bool *>( flag ) = true; }, &fired ),
                  1100 );
    board_.session().settle();
    EXPECT_TRUE( fired );
}

TEST_F( SessionTest, BadInputPassesTheGuardAndAStatusToo ) {
    board_.session();
    EXPECT_EQ( board_.session().guarded( [] { return PL_STATUS_FAULT; } ), PL_STATUS_FAULT );
    EXPECT_THAT(
        [ this ] {
            board_.session().guarded( []() -> pl_status { throw BadInput( "no such value" ); } );
        },
        ThrowsMessage<BadInput>( "no such value" ) );
}

TEST_F( SessionTest, ANullAnswerWithoutATraceIsToldAlone ) {
    board_.add( "fan", "fan1" );
    board_.state().silentNull = true;
    EXPECT_EQ( board_.session().tryUse( "fan1" ).failure, "pl_fan_add answered null" );
}

} // namespace
