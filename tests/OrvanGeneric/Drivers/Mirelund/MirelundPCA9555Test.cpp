#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9555.h"

#include <cstdlib>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/BlinkingLedChecks.h"
#include "tests/support/FakeHost.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/SimulationFixture.h"

namespace {

using Component::LogicalDevice::Led;
using Component::LogicalDevice::Slot;
using Log = std::vector<std::string>;
using Arguments = std::map<std::string, std::string>;
using FanLed = Drivers::MirelundPCA9555::FanLed;

Drivers::DriverArgs withArguments( const Arguments &arguments ) {
    Drivers::DriverArgs args;
    args.driverArgs = arguments;
    return args;
}

class MirelundPCA9555Test : public testing::Test {
  protected:
    MirelundPCA9555Test()
        : expander_( Drivers::MirelundPCA9555::create(
              withArguments( { { "bank-io-0", "255" }, { "bank-io-1", "15" } } ), &ham_ ) ) {
        expander_->hamIs( &ham_ );
        host_.traces.clear();
    }

    std::unique_ptr<Led> led( const std::string &id ) {
        Led::createBlinkTimer();
        std::unique_ptr<Led> made( expander_->newLed( withArguments( { { "id", id } } ) ) );
        host_.traces.clear();
        return made;
    }

    static Arguments slotArguments( const std::string &fanId ) {
        return { { "fanId", fanId },
                 { "fanFdl", "{airflowDirection} {maxRpm} {modelName}" },
                 { "rpmF2B", "25000" },
                 { "rpmB2F", "23000" },
                 { "modelName", "FAN-7000" } };
    }
    std::unique_ptr<Slot> slot( const std::string &fanId ) {
        std::unique_ptr<Slot> made( expander_->newSlot( withArguments( slotArguments( fanId ) ) ) );
        host_.traces.clear();
        return made;
    }

    /** The traces but those of the expander's own. */
    Traces ownTraces() const {
        Traces own;
        for ( const Trace &trace : host_.traces ) {
            if ( trace.text.find( "GPIOExpander" ) == std::string::npos &&
                 trace.text.find( "FormatFdl" ) == std::string::npos ) {
                own.push_back( trace );
            }
        }
        return own;
    }

    /** What the slot gives; "" when it gives nothing. */
    static std::string presence( Slot &slot, pl_status expected = PL_STATUS_OK ) {
        char *fdl = nullptr;
        EXPECT_EQ( slot.getPresence( &fdl ), expected );
        const std::string text = fdl ? fdl : "";
        std::free( fdl );
        return text;
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> expander_;
};

// Life cycle

TEST_F( MirelundPCA9555Test, RegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made( Drivers::drivers.at( "MirelundPCA9555" )(
        withArguments( { { "bank-io-0", "0" }, { "bank-io-1", "0" } } ), &ham_ ) );
    EXPECT_NE( dynamic_cast<Drivers::MirelundPCA9555 *>( made.get() ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating Mirelund PCA9555 Device" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9555Test, MissingBankDirectionsAbort ) {
    for ( const char *only : { "bank-io-0", "bank-io-1" } ) {
        EXPECT_DEATH(
            Drivers::MirelundPCA9555::create( withArguments( { { only, "255" } } ), &ham_ ),
            "Assertion `it != args.driverArgs.end\\(\\)' failed" )
            << only;
    }
}

TEST_F( MirelundPCA9555Test, InitWritesBothDirectionsInOneBatch ) {
    EXPECT_EQ( expander_->init(), 0 );
    // The save behind it has nothing to write.
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "write8 0x06 0xff", "write8 0x07 0x0f", "execute", "prepare" } ) );
    EXPECT_TRUE( ownTraces().empty() );
}

TEST_F( MirelundPCA9555Test, DirectionsAreKeptToEightBits ) {
    std::unique_ptr<Component::HardwareDevice> other( Drivers::MirelundPCA9555::create(
        withArguments( { { "bank-io-0", "511" }, { "bank-io-1", "-16" } } ), &ham_ ) );
    other->hamIs( &ham_ );
    other->init();
    EXPECT_EQ( ham_.log[ 1 ], "write8 0x06 0xff" );
    EXPECT_EQ( ham_.log[ 2 ], "write8 0x07 0xf0" );
}

TEST_F( MirelundPCA9555Test, FailedConfigurationIsTracedOnly ) {
    ham_.statuses = { 4 };
    EXPECT_EQ( expander_->init(), 0 );
    EXPECT_EQ( ownTraces(),
               ( Traces{ { 0, "Error: failed to write PCA9555 pin configuration" } } ) );
}

TEST_F( MirelundPCA9555Test, OtherKindsAreNotOffered ) {
    EXPECT_THROW( expander_->newFan( withArguments( {} ) ), Component::NotImplementedException );
    EXPECT_THROW( expander_->newPsu( withArguments( {} ) ), Component::NotImplementedException );
}

// LEDs

TEST_F( MirelundPCA9555Test, NewLedIsTracedAndMayBlink ) {
    std::unique_ptr<Led> made( expander_->newLed( withArguments( { { "id", "3" } } ) ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "Creating new PCA9555 LED for fan id 3" } } ) );
    EXPECT_TRUE( made->blinks() );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9555Test, MissingLedIdAborts ) {
    EXPECT_DEATH( expander_->newLed( withArguments( {} ) ),
                  "Assertion `args.driverArgs.find\\( \"id\" \\) != args.driverArgs.end\\(\\)' "
                  "failed" );
}

TEST_F( MirelundPCA9555Test, LedIdOutsideOneToFiveAborts ) {
    for ( const char *id : { "0", "6", "257", "-1" } ) {
        EXPECT_DEATH( led( id ), "Assertion `fanId >= 1 && fanId <= 5' failed" ) << id;
    }
}

TEST_F( MirelundPCA9555Test, EachLedHasItsPin ) {
    const char *const writes[] = { "write8 0x03 0x10", "write8 0x03 0x20", "write8 0x03 0x40",
                                   "write8 0x03 0x80" };
    for ( int fan = 1; fan <= 4; ++fan ) {
        const auto fanLed = led( std::to_string( fan ) );
        ham_.bytes[ 3 ] = 0x00;
        EXPECT_EQ( fanLed->setLightSetting( PL_LED_STATUS_BAD ), PL_STATUS_OK );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x03", "execute", "prepare",
                                          writes[ fan - 1 ], "execute" } ) )
            << fan;
    }
}

TEST_F( MirelundPCA9555Test, LedOfAFifthFanIsBeyondTheExpander ) {
    const auto fifth = led( "5" );
    EXPECT_DEATH( fifth->setLightSetting( PL_LED_STATUS_GOOD ),
                  "Assertion `n < numBanks_' failed" );
}

TEST_F( MirelundPCA9555Test, SettingsGiveTheColourAndAreTraced ) {
    const struct {
        pl_led_status setting;
        const char *name;
        const char *write; ///< from output bits 0x5a, the pin's bit being 0x20
    } cases[] = {
        { PL_LED_STATUS_OFF, "Off", "write8 0x03 0x5a" },
        { PL_LED_STATUS_GOOD, "Good", "write8 0x03 0x5a" },
        { PL_LED_STATUS_WARNING, "Warning", "write8 0x03 0x7a" },
        { PL_LED_STATUS_BAD, "Bad", "write8 0x03 0x7a" },
        { PL_LED_STATUS_BEACON, "Beacon", "write8 0x03 0x5a" },
    };
    for ( const auto &[ setting, name, write ] : cases ) {
        const auto second = led( "2" );
        ham_.bytes[ 3 ] = 0x5a;
        EXPECT_EQ( second->setLightSetting( setting ), PL_STATUS_OK );
        EXPECT_EQ( ham_.takeLog(),
                   ( Log{ "prepare", "read8 0x03", "execute", "prepare", write, "execute" } ) )
            << name;
        EXPECT_TRUE( host_.traced( 6, std::string( "Setting PCA9555 led 1 to " ) + name ) );
    }
}

TEST_F( MirelundPCA9555Test, AmberLedTurnsGreen ) {
    const auto second = led( "2" );
    ham_.bytes[ 3 ] = 0xff;
    second->setLightSetting( PL_LED_STATUS_GOOD );
    EXPECT_EQ( ham_.bytes[ 3 ], 0xdf );
}

TEST_F( MirelundPCA9555Test, SettingsThatCannotBeShownLeaveThePin ) {
    const auto third = led( "3" );
    EXPECT_EQ( third->setLightSetting( PL_LED_STATUS_INACTIVE ), PL_STATUS_INVALID );
    EXPECT_EQ( third->setLightSetting( PL_LED_STATUS_UNKNOWN ), PL_STATUS_INVALID );
    EXPECT_EQ( third->setLightSetting( static_cast<pl_led_status>( 7 ) ), PL_STATUS_INVALID );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "Setting PCA9555 led 2 to Inactive" },
                                       { 6, "led 2 was given an unexpected setting 4" },
                                       { 6, "Setting PCA9555 led 2 to Unknown" },
                                       { 6, "led 2 was given an unexpected setting 5" },
                                       { 6, "Setting PCA9555 led 2 to Unknown" },
                                       { 6, "led 2 was given an unexpected setting 7" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9555Test, FailedSaveIsTheSettingsResult ) {
    const auto first = led( "1" );
    ham_.statuses = { 0, 6 };
    EXPECT_EQ( first->setLightSetting( PL_LED_STATUS_BAD ), PL_STATUS_FAILED );
}

TEST_F( MirelundPCA9555Test, PinThatCannotBeChangedLeavesNothingToSave ) {
    const auto first = led( "1" );
    ham_.statuses = { 4 };
    EXPECT_EQ( first->setLightSetting( PL_LED_STATUS_BAD ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x03", "execute", "prepare" } ) );
}

TEST_F( MirelundPCA9555Test, LedOnAndOffChangeThePinWithoutSaving ) {
    const auto first = led( "1" );
    auto *fanLed = static_cast<FanLed *>( first.get() );
    fanLed->setLedOn();
    fanLed->setLedOff();
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x03", "execute" } ) );
    fanLed->setLedOn();
    static_cast<Drivers::MirelundPCA9555 *>( expander_.get() )->save();
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x03 0x10", "execute" } ) );
}

// Blinking

TEST_F( MirelundPCA9555Test, BeaconBlinksAtTheHostsTicks ) {
    const auto second = led( "2" );
    ham_.bytes[ 3 ] = 0x20;
    EXPECT_EQ( second->setLightSetting( PL_LED_STATUS_BEACON ), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x00 );
    EXPECT_EQ( host_.timers.at( Led::blinkTimer_ ).milliseconds, 1000u );
    ham_.takeLog();
    // The first phase after the load is "off".
    for ( const int shown : { 0x00, 0x20, 0x00, 0x20 } ) {
        ASSERT_TRUE( host_.fire( Led::blinkTimer_ ) );
        EXPECT_EQ( ham_.bytes[ 3 ], shown );
        EXPECT_EQ( ham_.takeLog().size(), 6u ); // a read and a write, each a batch of its own
    }
    EXPECT_TRUE( host_.timers.at( Led::blinkTimer_ ).armed );
}

TEST_F( MirelundPCA9555Test, SecondBeaconKeepsTheOneRegistration ) {
    expectSecondBeaconChangesNothing( led( "1" ).get(), host_, ham_ );
}

TEST_F( MirelundPCA9555Test, SecondBeaconArmsATimerThatTheHostRefused ) {
    expectSecondBeaconArmsATimerThatTheHostRefused( led( "1" ).get(), host_ );
}

TEST_F( MirelundPCA9555Test, AnyOtherSettingStopsTheBlinking ) {
    expectAnyOtherSettingStopsTheBlinking( led( "1" ).get(), ham_ );
}

TEST_F( MirelundPCA9555Test, LedsBlinkTogether ) {
    const auto first = led( "1" );
    const auto fourth = led( "4" );
    first->setLightSetting( PL_LED_STATUS_BEACON );
    fourth->setLightSetting( PL_LED_STATUS_BEACON );
    host_.fire( Led::blinkTimer_ );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x00 );
    host_.fire( Led::blinkTimer_ );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x90 );
    first->setLightSetting( PL_LED_STATUS_BAD );
    host_.fire( Led::blinkTimer_ );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x10 );
}

TEST_F( MirelundPCA9555Test, BlinkingNeedsTheTimer ) {
    std::unique_ptr<Led> made( expander_->newLed( withArguments( { { "id", "1" } } ) ) );
    EXPECT_DEATH( made->setLightSetting( PL_LED_STATUS_BEACON ), "Assertion `blinkTimer_' failed" );
}

TEST_F( MirelundPCA9555Test, FailedSaveInATickAborts ) {
    const auto first = led( "1" );
    first->setLightSetting( PL_LED_STATUS_BEACON );
    ham_.statuses = { 0, 4 };
    EXPECT_DEATH( host_.fire( Led::blinkTimer_ ), "Assertion `status == PL_STATUS_OK' failed" );
}

TEST_F( MirelundPCA9555Test, DestroyedLedLeavesTheNotificationList ) {
    auto first = led( "1" );
    first->setLightSetting( PL_LED_STATUS_BEACON );
    first.reset();
    EXPECT_TRUE( Led::notifyList_.empty() );
    host_.fire( Led::blinkTimer_ );
    EXPECT_FALSE( host_.timers.at( Led::blinkTimer_ ).armed );
}

TEST_F( MirelundPCA9555Test, AddedLedBringsTheTimer ) {
    Component::DeviceBase::devices[ 9 ] = expander_.get();
    EXPECT_EQ( Led::blinkTimer_, 0u );
    pl_led *added = pl_led_add( R"({ "driver": "MirelundPCA9555", "did": 9,
        "address": { "address": 32 }, "driverArgs": { "id": 1 } })" );
    ASSERT_NE( added, nullptr );
    const std::unique_ptr<Led> owner( static_cast<Led *>( added->priv ) );
    EXPECT_NE( Led::blinkTimer_, 0u );
    EXPECT_EQ( added->ops->set_light_setting( added, PL_LED_STATUS_BEACON ), PL_STATUS_OK );
    EXPECT_TRUE( host_.timers.at( Led::blinkTimer_ ).armed );
}

// Slots

TEST_F( MirelundPCA9555Test, NewSlotIsTraced ) {
    std::unique_ptr<Slot>( expander_->newSlot( withArguments( slotArguments( "2" ) ) ) );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Creating new MirelundPCA9555 Slot for Fan id 2" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9555Test, FanIdOutsideOneToFourAborts ) {
    for ( const char *id : { "0", "5", "-1" } ) {
        EXPECT_DEATH( slot( id ), "Assertion `1 <= fanId && fanId <= 4' failed" ) << id;
    }
}

TEST_F( MirelundPCA9555Test, MissingSlotArgumentsAbort ) {
    const struct {
        const char *key;
        const char *message;
    } cases[] = {
        { "fanId", "Assertion `it != args.driverArgs.end\\(\\)' failed" },
        { "fanFdl", "Assertion `fdlIt != slotArgs_.end\\(\\)' failed" },
        { "rpmF2B", "Assertion `f2bIt != slotArgs_.end\\(\\)' failed" },
        { "rpmB2F", "Assertion `b2fIt != slotArgs_.end\\(\\)' failed" },
        { "modelName", "Assertion `modelIt != slotArgs_.end\\(\\)' failed" },
    };
    for ( const auto &[ key, message ] : cases ) {
        Arguments arguments = slotArguments( "1" );
        arguments.erase( key );
        EXPECT_DEATH( expander_->newSlot( withArguments( arguments ) ), message ) << key;
    }
}

TEST_F( MirelundPCA9555Test, FrontToBackModule ) {
    const auto first = slot( "1" );
    EXPECT_EQ( presence( *first ), "frontToBackAirflow 25000 FAN-7000" );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "read8 0x00", "execute", "prepare", "read8 0x01", "execute" } ) );
    EXPECT_EQ( ownTraces(), ( Traces{ { 5, "fan 0 fdl: frontToBackAirflow 25000 FAN-7000" } } ) );
    EXPECT_EQ( host_.texts( 5 ).at( 4 ),
               "FormatFdl::set( 'airflowDirection', 'frontToBackAirflow' )" );
    EXPECT_EQ( host_.texts( 5 ).at( 5 ), "FormatFdl::set( 'maxRpm', '25000' )" );
    EXPECT_EQ( host_.texts( 5 ).at( 6 ), "FormatFdl::set( 'modelName', 'FAN-7000' )" );
}

TEST_F( MirelundPCA9555Test, BackToFrontModule ) {
    const auto first = slot( "1" );
    ham_.bytes[ 1 ] = 0x01;
    EXPECT_EQ( presence( *first ), "backToFrontAirflow 23000 FAN-7000" );
}

TEST_F( MirelundPCA9555Test, EachSlotHasItsPins ) {
    for ( int fan = 1; fan <= 4; ++fan ) {
        const auto made = slot( std::to_string( fan ) );
        const auto other = static_cast<uint8_t>( ~( 0x10 << ( fan - 1 ) ) );
        FakeTime::now += 10;
        ham_.bytes[ 0 ] = other; // every other pin reads "absent"
        ham_.bytes[ 1 ] = static_cast<uint8_t>( 0x01 << ( fan - 1 ) );
        EXPECT_EQ( presence( *made ), "backToFrontAirflow 23000 FAN-7000" ) << fan;
        FakeTime::now += 10;
        ham_.bytes[ 1 ] = static_cast<uint8_t>( ~ham_.bytes[ 1 ] );
        EXPECT_EQ( presence( *made ), "frontToBackAirflow 25000 FAN-7000" ) << fan;
        FakeTime::now += 10;
        ham_.bytes[ 0 ] = static_cast<uint8_t>( ~other );
        presence( *made, PL_STATUS_NOT_PRESENT );
    }
}

TEST_F( MirelundPCA9555Test, TextOfAnUnchangedModuleIsCopied ) {
    const auto third = slot( "3" );
    presence( *third );
    host_.traces.clear();
    ham_.takeLog();
    FakeTime::now += 10;
    EXPECT_EQ( presence( *third ), "frontToBackAirflow 25000 FAN-7000" );
    EXPECT_EQ( ownTraces(), ( Traces{ { 5, "Using cached fdl for fan 2" } } ) );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "read8 0x00", "execute", "prepare", "read8 0x01", "execute" } ) );
    // Each call gives a copy of its own.
    char *one = nullptr, *two = nullptr;
    third->getPresence( &one );
    third->getPresence( &two );
    EXPECT_NE( one, two );
    std::free( one );
    EXPECT_STREQ( two, "frontToBackAirflow 25000 FAN-7000" );
    std::free( two );
}

TEST_F( MirelundPCA9555Test, PinsAreCachedForTwoSeconds ) {
    const auto first = slot( "1" );
    presence( *first );
    ham_.bytes[ 0 ] = 0x10;
    FakeTime::now += 2;
    presence( *first );
    FakeTime::now += 0.5;
    presence( *first, PL_STATUS_NOT_PRESENT );
}

TEST_F( MirelundPCA9555Test, ModuleOfTheOtherAirflowGetsANewText ) {
    const auto first = slot( "1" );
    presence( *first );
    FakeTime::now += 10;
    ham_.bytes[ 1 ] = 0x01;
    EXPECT_EQ( presence( *first ), "backToFrontAirflow 23000 FAN-7000" );
    host_.traces.clear();
    EXPECT_EQ( presence( *first ), "backToFrontAirflow 23000 FAN-7000" );
    EXPECT_TRUE( host_.traced( 5, "Using cached fdl for fan 0" ) );
}

TEST_F( MirelundPCA9555Test, AbsentModuleLeavesTheResultAndForgetsTheText ) {
    const auto first = slot( "1" );
    presence( *first );
    FakeTime::now += 10;
    ham_.bytes[ 0 ] = 0x10;
    char untouched[] = "untouched";
    char *fdl = untouched;
    ham_.takeLog();
    EXPECT_EQ( first->getPresence( &fdl ), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( fdl, untouched );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x00", "execute" } ) );
    // Put back, the module's text is filled anew.
    FakeTime::now += 10;
    ham_.bytes[ 0 ] = 0x00;
    host_.traces.clear();
    presence( *first );
    EXPECT_EQ( ownTraces(), ( Traces{ { 5, "fan 0 fdl: frontToBackAirflow 25000 FAN-7000" } } ) );
}

TEST_F( MirelundPCA9555Test, FailedPinReadsAreTracedAndReturned ) {
    const auto fourth = slot( "4" );
    char *fdl = nullptr;
    ham_.statuses = { 4 };
    EXPECT_EQ( fourth->getPresence( &fdl ), PL_STATUS_TRANSPORT );
    EXPECT_TRUE( host_.traced( 0, "Error: status 4 reading fan 3 presence bit" ) );
    ham_.statuses = { 0, 6 };
    EXPECT_EQ( fourth->getPresence( &fdl ), PL_STATUS_FAILED );
    EXPECT_TRUE( host_.traced( 0, "Error: status 6 reading fan 3 F2B bit" ) );
    EXPECT_EQ( fdl, nullptr );
}

TEST_F( MirelundPCA9555Test, TextWithoutAPlaceholderOfTheModuleAborts ) {
    Arguments arguments = slotArguments( "1" );
    arguments[ "fanFdl" ] = "{maxRpm} {modelName}";
    std::unique_ptr<Slot> made( expander_->newSlot( withArguments( arguments ) ) );
    char *fdl = nullptr;
    EXPECT_DEATH( made->getPresence( &fdl ), "Invalid key in FormatFdl::set" );
}

TEST_F( MirelundPCA9555Test, CopyWithoutMemoryFails ) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's memory cannot be limited";
#endif
    Arguments arguments = slotArguments( "1" );
    arguments[ "modelName" ] = std::string( MemoryLimit::tooMuch, 'x' );
    std::unique_ptr<Slot> made( expander_->newSlot( withArguments( arguments ) ) );
    char *fdl = nullptr;
    ASSERT_EQ( made->getPresence( &fdl ), PL_STATUS_OK );
    std::free( fdl );
    fdl = nullptr;
    host_.traces.clear();

    pl_status status;
    {
        const MemoryLimit limit;
        status = made->getPresence( &fdl );
    }
    EXPECT_EQ( status, PL_STATUS_FAILED );
    EXPECT_EQ( fdl, nullptr );
    EXPECT_EQ( ownTraces(), ( Traces{ { 5, "Using cached fdl for fan 0" },
                                      { 0, "Error: MirelundPCA9555::FanSlot strdup failed" } } ) );
}

// Simulation

using MirelundPCA9555Simulation = SimulationFixture;

TEST_F( MirelundPCA9555Simulation, HealthyFanBoard ) {
    loadDevices( R"({ "did": 9 })" );
    const auto description = []( const std::string &arguments ) {
        return R"({ "driver": "MirelundPCA9555", "did": 9, "name": "fans",
                    "address": { "address": 32 },
                    "driverArgs": { "bank-io-0": 255, "bank-io-1": 15, )" +
               arguments + "} }";
    };
    pl_slot *slots[ 4 ];
    for ( int fan = 1; fan <= 4; ++fan ) {
        slots[ fan - 1 ] =
            pl_slot_add( description( "\"fanId\": " + std::to_string( fan ) +
                                      R"(, "fanFdl": "{airflowDirection} {maxRpm} {modelName}",
                             "rpmF2B": 25000, "rpmB2F": 23000, "modelName": "FAN-7000")" )
                             .c_str() );
    }
    pl_led *led = pl_led_add( description( R"("id": 2)" ).c_str() );
    EXPECT_FALSE( host_.traced( 0, "Error: failed to write PCA9555 pin configuration" ) );

    for ( pl_slot *slot : slots ) {
        char *fdl = nullptr;
        EXPECT_EQ( slot->ops->get_presence( slot, &fdl ), PL_STATUS_OK );
        EXPECT_STREQ( fdl, "frontToBackAirflow 25000 FAN-7000" );
        std::free( fdl );
    }
    EXPECT_EQ( led->ops->set_light_setting( led, PL_LED_STATUS_BAD ), PL_STATUS_OK );

    // Inputs, outputs with the second LED amber, directions.
    EXPECT_EQ( fileText( "MirelundPCA9555", "fans" ), "0f00ff2fff0f\n" );

    for ( pl_slot *slot : slots ) {
        delete static_cast<Slot *>( slot->priv );
    }
    delete static_cast<Led *>( led->priv );
    deleteDevice( 9 );
}

} // namespace
