#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/AssertionFailure.h"
#include "tests/support/BlinkingLedChecks.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Led;
using Drivers::MirePsuPCA9555;
using Log = std::vector<std::string>;
using Arguments = std::map<std::string, std::string>;

constexpr const char *file = "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.cpp";

/** What a failed argument look-up that Drivers.cpp does for the driver says. */
const auto missingArgument =
    assertionFailure( "OrvanGeneric/Drivers/Drivers.cpp", "it != args.driverArgs.end()" );

Drivers::DriverArgs withArguments( const Arguments &arguments ) {
    Drivers::DriverArgs args;
    args.driverArgs = arguments;
    return args;
}

class MirePsuPCA9555Test : public testing::Test {
  protected:
    MirePsuPCA9555Test()
        : expander_( static_cast<MirePsuPCA9555 *>(
              MirePsuPCA9555::create( withArguments( {} ), &ham_ ) ) ) {
        expander_->hamIs( &ham_ );
        host_.traces.clear();
    }

    std::unique_ptr<Led> led( const std::string &id, const std::string &type = "psu" ) {
        Led::createBlinkTimer();
        std::unique_ptr<Led> made(
            expander_->newLed( withArguments( { { "id", id }, { "type", type } } ) ) );
        host_.traces.clear();
        return made;
    }
    /** The traces but those of the expander's own. */
    Traces ownTraces() const {
        Traces own;
        for ( const Trace &trace : host_.traces ) {
            if ( trace.text.find( "GPIOExpander" ) == std::string::npos &&
                 trace.text.find( "output bank" ) == std::string::npos ) {
                own.push_back( trace );
            }
        }
        return own;
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    ScriptedHam ham_;
    std::unique_ptr<MirePsuPCA9555> expander_;
};

// Life cycle

TEST_F( MirePsuPCA9555Test, RegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "MirePsuPCA9555" )( withArguments( {} ), &ham_ ) );
    EXPECT_NE( dynamic_cast<MirePsuPCA9555 *>( made.get() ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating Mire Psu PCA9555 Device" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirePsuPCA9555Test, InitSetsDirectionsAndReleasesTheEepromsResets ) {
    ham_.bytes[ 3 ] = 0xFF;
    EXPECT_EQ( expander_->init(), 0 );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "write8 0x06 0xff", "write8 0x07 0x00", "execute", "prepare",
                      "read8 0x03", "execute", "prepare", "write8 0x03 0xfc", "execute" } ) );
    EXPECT_TRUE( ownTraces().empty() );
}

TEST_F( MirePsuPCA9555Test, FailedConfigurationIsTracedAndInitGoesOn ) {
    ham_.statuses = { 4 };
    EXPECT_EQ( expander_->init(), 0 );
    EXPECT_EQ( ownTraces(),
               ( Traces{ { 0, "Error: Failed to write PCA9555 pin configuration" } } ) );
    EXPECT_EQ( ham_.log.back(), "execute" );
    EXPECT_EQ( ham_.log[ ham_.log.size() - 2 ], "write8 0x03 0x00" );
}

TEST_F( MirePsuPCA9555Test, FailedResetsAreTracedOnce ) {
    const Traces once = { { 0, "Error: Failed to write default bits for PSU EEPROM Reset" } };
    const std::deque<int> failures[] = {
        { 0, 0, 6 },    // save
        { 0, 4, 0, 0 }, // the first pin's read
        { 0, 4, 4 },    // both pins' reads; there is nothing to save then
        { 0, 4, 0, 6 }, // a read and the save
    };
    for ( const auto &statuses : failures ) {
        const auto other = std::make_unique<MirePsuPCA9555>();
        other->hamIs( &ham_ );
        ham_.statuses = statuses;
        host_.traces.clear();
        EXPECT_EQ( other->init(), 0 );
        EXPECT_EQ( ownTraces(), once );
        EXPECT_TRUE( ham_.statuses.empty() );
    }
}

TEST_F( MirePsuPCA9555Test, OtherKindsAreNotOffered ) {
    EXPECT_THROW( expander_->newPsu( withArguments( {} ) ), Component::NotImplementedException );
    EXPECT_THROW( expander_->newSlot( withArguments( {} ) ), Component::NotImplementedException );
}

// Power and mains

TEST_F( MirePsuPCA9555Test, EachSignalHasItsPin ) {
    const struct {
        pl_status ( MirePsuPCA9555::*ask )( uint8_t, bool * );
        uint8_t psuId;
        uint8_t mask;
    } cases[] = {
        { &MirePsuPCA9555::getPowerOk, 1, 0x02 },
        { &MirePsuPCA9555::getPowerOk, 2, 0x10 },
        { &MirePsuPCA9555::getAcOk, 1, 0x40 },
        { &MirePsuPCA9555::getAcOk, 2, 0x80 },
    };
    for ( const auto &[ ask, psuId, mask ] : cases ) {
        for ( const bool on : { true, false } ) {
            FakeTime::now += 10;
            ham_.bytes[ 0 ] = on ? mask : static_cast<uint8_t>( ~mask );
            bool ok = !on;
            EXPECT_EQ( ( expander_.get()->*ask )( psuId, &ok ), PL_STATUS_OK );
            EXPECT_EQ( ok, on ) << int{ mask };
            EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x00", "execute" } ) );
        }
    }
}

TEST_F( MirePsuPCA9555Test, SignalsAreFreshForTwoSeconds ) {
    bool ok;
    ham_.bytes[ 0 ] = 0xFF;
    FakeTime::now = 100;
    expander_->getPowerOk( 1, &ok );
    ham_.bytes[ 0 ] = 0x00;
    FakeTime::now = 102;
    expander_->getPowerOk( 1, &ok );
    EXPECT_TRUE( ok );
    FakeTime::now = 102.5;
    expander_->getPowerOk( 1, &ok );
    EXPECT_FALSE( ok );
}

TEST_F( MirePsuPCA9555Test, FailedSignalIsReturned ) {
    bool ok = true;
    FakeTime::now = 100;
    ham_.statuses = { 4, 6 };
    EXPECT_EQ( expander_->getPowerOk( 1, &ok ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( expander_->getAcOk( 2, &ok ), PL_STATUS_FAILED );
    EXPECT_TRUE( ok );
}

TEST_F( MirePsuPCA9555Test, OtherSuppliesAbort ) {
    const auto failure = assertionFailure( file, "1 <= psuId && psuId <= 2" );
    bool ok;
    for ( const int id : { 0, 3, 255 } ) {
        EXPECT_DEATH( expander_->getPowerOk( static_cast<uint8_t>( id ), &ok ), failure );
        EXPECT_DEATH( expander_->getAcOk( static_cast<uint8_t>( id ), &ok ), failure );
    }
}

// LEDs

TEST_F( MirePsuPCA9555Test, NewLedsAreTracedAndMayBlink ) {
    const struct {
        Arguments arguments;
        const char *trace;
    } cases[] = {
        { { { "id", "1" }, { "type", "psu" } }, "creating new MirePCA9555 psu LED with id 1" },
        { { { "id", "2" }, { "type", "psu" } }, "creating new MirePCA9555 psu LED with id 2" },
        { { { "id", "2" }, { "type", "multifan" } },
          "creating new MirePCA9555 multifan LED with id 2" },
    };
    for ( const auto &[ arguments, trace ] : cases ) {
        host_.traces.clear();
        std::unique_ptr<Led> made( expander_->newLed( withArguments( arguments ) ) );
        EXPECT_TRUE( made->blinks() );
        EXPECT_EQ( host_.traces, ( Traces{ { 5, trace } } ) );
    }
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirePsuPCA9555Test, UnknownLedTypeYieldsNone ) {
    for ( const char *type : { "fan", "", "PSU" } ) {
        host_.traces.clear();
        EXPECT_EQ( expander_->newLed( withArguments( { { "id", "1" }, { "type", type } } ) ),
                   nullptr );
        EXPECT_EQ(
            host_.traces,
            ( Traces{ { 0, "Error: failed to find driverArg for MirePsuPCA9555::newLed" } } ) );
    }
}

TEST_F( MirePsuPCA9555Test, MissingAndWrongLedArgumentsAbort ) {
    EXPECT_DEATH( expander_->newLed( withArguments( { { "type", "psu" } } ) ),
                  assertionFailure( file, "args.driverArgs.find( \"id\" ) != "
                                          "args.driverArgs.end()" ) );
    EXPECT_DEATH( expander_->newLed( withArguments( { { "id", "1" } } ) ), missingArgument );
    for ( const char *id : { "0", "3", "-1", "257" } ) {
        EXPECT_DEATH( led( id ), assertionFailure( file, "1 <= ledId && ledId <= 2" ) ) << id;
    }
}

TEST_F( MirePsuPCA9555Test, OperationsAreInTheirOrder ) {
    EXPECT_EQ( virtualSlot( &MirePsuPCA9555::Led::handleBlinkTimer ), 2u );
    EXPECT_EQ( virtualSlot( &MirePsuPCA9555::Led::setLightSetting ), 3u );
    EXPECT_EQ( virtualSlot( &MirePsuPCA9555::Led::setLedGreen ), 4u );
    EXPECT_EQ( virtualSlot( &MirePsuPCA9555::Led::setLedRed ), 5u );
    EXPECT_EQ( virtualSlot( &MirePsuPCA9555::Led::setLedOff ), 6u );
}

TEST_F( MirePsuPCA9555Test, SettingsGiveTheColourOnTheLedsPins ) {
    const struct {
        const char *id;
        const char *type;
        const char *index;
        uint8_t green, red;
    } leds[] = { { "1", "psu", "0", 0x04, 0x08 },
                 { "2", "psu", "1", 0x10, 0x20 },
                 { "1", "multifan", "0", 0x40, 0x80 },
                 { "2", "multifan", "1", 0x40, 0x80 } };
    enum { Dark, Green, Red };
    const struct {
        pl_led_status setting;
        const char *name;
        int colour;
    } settings[] = { { PL_LED_STATUS_OFF, "Off", Dark },
                     { PL_LED_STATUS_GOOD, "Good", Green },
                     { PL_LED_STATUS_WARNING, "Warning", Red },
                     { PL_LED_STATUS_BAD, "Bad", Red },
                     { PL_LED_STATUS_BEACON, "Beacon", Dark } };
    for ( const auto &[ id, type, index, green, red ] : leds ) {
        for ( const auto &[ setting, name, colour ] : settings ) {
            for ( const int before : { 0x00, 0xFF } ) {
                const auto made = led( id, type );
                ham_.bytes[ 3 ] = static_cast<uint8_t>( before );
                EXPECT_EQ( made->setLightSetting( setting ), PL_STATUS_OK );
                const int lit = colour == Green ? green : colour == Red ? red : 0;
                EXPECT_EQ( ham_.bytes[ 3 ], ( before & ~( green | red ) ) | lit )
                    << id << type << name;
                const Log log = ham_.takeLog();
                ASSERT_EQ( log.size(), 6u ); // one read of the port, one write of it
                EXPECT_EQ( log[ 1 ], "read8 0x03" );
                EXPECT_EQ( log[ 4 ].substr( 0, 11 ), "write8 0x03" );
                EXPECT_TRUE( host_.traced( 6, std::string( "Setting PCA9555 led " ) + index +
                                                  " to " + name ) );
            }
        }
    }
}

TEST_F( MirePsuPCA9555Test, SettingsThatCannotBeShownLeaveThePins ) {
    const auto second = led( "2" );
    EXPECT_EQ( second->setLightSetting( PL_LED_STATUS_INACTIVE ), PL_STATUS_INVALID );
    EXPECT_EQ( second->setLightSetting( PL_LED_STATUS_UNKNOWN ), PL_STATUS_INVALID );
    EXPECT_EQ( second->setLightSetting( static_cast<pl_led_status>( 7 ) ), PL_STATUS_INVALID );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "Setting PCA9555 led 1 to Inactive" },
                                       { 0, "led 1 was given an unexpected setting 4" },
                                       { 6, "Setting PCA9555 led 1 to Unknown" },
                                       { 0, "led 1 was given an unexpected setting 5" },
                                       { 6, "Setting PCA9555 led 1 to Unknown" },
                                       { 0, "led 1 was given an unexpected setting 7" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirePsuPCA9555Test, ColoursChangeThePinsWithoutSaving ) {
    const auto first = led( "1" );
    auto *psuLed = static_cast<MirePsuPCA9555::Led *>( first.get() );
    psuLed->setLedRed();
    psuLed->setLedOff();
    psuLed->setLedGreen();
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x03", "execute" } ) );
    expander_->save();
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x03 0x04", "execute" } ) );
}

TEST_F( MirePsuPCA9555Test, FailedSaveIsTheSettingsResult ) {
    const auto first = led( "1" );
    ham_.statuses = { 0, 6 };
    EXPECT_EQ( first->setLightSetting( PL_LED_STATUS_BAD ), PL_STATUS_FAILED );
}

// Blinking

TEST_F( MirePsuPCA9555Test, BeaconAlternatesGreenAndDark ) {
    const auto first = led( "1" );
    ham_.bytes[ 3 ] = 0x0B;
    EXPECT_EQ( first->setLightSetting( PL_LED_STATUS_BEACON ), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x03 );
    // The first phase after the load is "off".
    for ( const int shown : { 0x03, 0x07, 0x03, 0x07 } ) {
        ASSERT_TRUE( host_.fire( Led::blinkTimer_ ) );
        EXPECT_EQ( ham_.bytes[ 3 ], shown );
    }
    EXPECT_TRUE( host_.timers.at( Led::blinkTimer_ ).armed );
}

TEST_F( MirePsuPCA9555Test, SecondBeaconChangesNothing ) {
    expectSecondBeaconChangesNothing( led( "1" ).get(), host_, ham_ );
}

TEST_F( MirePsuPCA9555Test, SecondBeaconArmsATimerThatTheHostRefused ) {
    expectSecondBeaconArmsATimerThatTheHostRefused( led( "1" ).get(), host_ );
}

TEST_F( MirePsuPCA9555Test, AnyOtherSettingStopsTheBlinking ) {
    expectAnyOtherSettingStopsTheBlinking( led( "1" ).get(), ham_ );
}

TEST_F( MirePsuPCA9555Test, FailedSaveInATickIsTracedAndTheLedGoesOnBlinking ) {
    const auto second = led( "2" );
    second->setLightSetting( PL_LED_STATUS_BEACON );
    host_.traces.clear();
    ham_.statuses = { 0, 4 };
    EXPECT_TRUE( host_.fire( Led::blinkTimer_ ) );
    EXPECT_TRUE( host_.traced( 0, "Error: failed to toggle led 1 for blinking" ) );
    EXPECT_EQ( Led::notifyList_, std::list<Led *>{ second.get() } );
}

TEST_F( MirePsuPCA9555Test, DestroyedLedLeavesTheNotificationList ) {
    auto first = led( "1" );
    first->setLightSetting( PL_LED_STATUS_BEACON );
    first.reset();
    EXPECT_TRUE( Led::notifyList_.empty() );
}

TEST_F( MirePsuPCA9555Test, BlinkingNeedsTheTimer ) {
    std::unique_ptr<Led> made(
        expander_->newLed( withArguments( { { "id", "1" }, { "type", "psu" } } ) ) );
    EXPECT_DEATH( made->setLightSetting( PL_LED_STATUS_BEACON ), "Assertion `blinkTimer_' failed" );
}

// Simulation

using MirePsuPCA9555Simulation = SimulationFixture;

TEST_F( MirePsuPCA9555Simulation, HealthySupplies ) {
    loadDevices( R"({ "did": 9 })" );
    pl_led *led = pl_led_add( R"({ "driver": "MirePsuPCA9555", "did": 9, "name": "psus",
        "address": { "address": 33 }, "driverArgs": { "id": 2, "type": "psu" } })" );
    ASSERT_NE( led, nullptr );
    for ( const Trace &trace : host_.traces ) {
        EXPECT_EQ( trace.text.find( "rror" ), std::string::npos ) << trace.text;
    }
    auto *expander = static_cast<MirePsuPCA9555 *>( Component::DeviceBase::devices.at( 9 ) );
    for ( const int id : { 1, 2 } ) {
        bool ok = false;
        EXPECT_EQ( expander->getPowerOk( static_cast<uint8_t>( id ), &ok ), PL_STATUS_OK );
        EXPECT_TRUE( ok );
        ok = false;
        EXPECT_EQ( expander->getAcOk( static_cast<uint8_t>( id ), &ok ), PL_STATUS_OK );
        EXPECT_TRUE( ok );
    }
    EXPECT_EQ( led->ops->set_light_setting( led, PL_LED_STATUS_BAD ), PL_STATUS_OK );
    // Inputs, outputs with the second supply's LED red, directions.
    EXPECT_EQ( fileText( "MirePsuPCA9555", "psus" ), "d254ff64ff00\n" );
}

} // namespace
