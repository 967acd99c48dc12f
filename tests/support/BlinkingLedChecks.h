#pragma once

#include <list>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Led.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

/*
 * What every LED of a PCA9555 that can blink has in common. The LED is the first one, and the only
 * one that is on the notification list.
 */

/** A blinking LED that is told to blink goes on, and nothing happens on the bus. */
inline void expectSecondBeaconChangesNothing( Component::LogicalDevice::Led *led, FakeHost &host,
                                              ScriptedHam &ham ) {
    using Component::LogicalDevice::Led;
    led->setLightSetting( PL_LED_STATUS_BEACON );
    ham.takeLog();
    host.traces.clear();
    EXPECT_EQ( led->setLightSetting( PL_LED_STATUS_BEACON ), PL_STATUS_OK );
    EXPECT_EQ( Led::notifyList_, std::list<Led *>{ led } );
    EXPECT_EQ( host.traces, ( Traces{ { 6, "Setting PCA9555 led 0 to Beacon" } } ) );
    EXPECT_TRUE( ham.log.empty() );
}

/** A blinking LED that the host's timer has left alone blinks again when it is told to. */
inline void expectSecondBeaconArmsATimerThatTheHostRefused( Component::LogicalDevice::Led *led,
                                                            FakeHost &host ) {
    using Component::LogicalDevice::Led;
    host.refuseTimerSet = true;
    led->setLightSetting( PL_LED_STATUS_BEACON );
    EXPECT_FALSE( host.timers.at( Led::blinkTimer_ ).armed );
    host.refuseTimerSet = false;
    EXPECT_EQ( led->setLightSetting( PL_LED_STATUS_BEACON ), PL_STATUS_OK );
    EXPECT_TRUE( host.timers.at( Led::blinkTimer_ ).armed );
    EXPECT_EQ( Led::notifyList_, std::list<Led *>{ led } );
}

/**
 * Any other setting ends the blinking; one that cannot be shown, and one that does not exist, leave
 * the pins alone. It can begin again.
 */
inline void expectAnyOtherSettingStopsTheBlinking( Component::LogicalDevice::Led *led,
                                                   ScriptedHam &ham ) {
    using Component::LogicalDevice::Led;
    for ( int setting = 0; setting <= 7; ++setting ) {
        if ( setting == PL_LED_STATUS_BEACON ) {
            continue;
        }
        led->setLightSetting( PL_LED_STATUS_BEACON );
        const bool shown = setting <= PL_LED_STATUS_BAD;
        ham.takeLog();
        EXPECT_EQ( led->setLightSetting( static_cast<pl_led_status>( setting ) ),
                   shown ? PL_STATUS_OK : PL_STATUS_INVALID );
        EXPECT_TRUE( Led::notifyList_.empty() ) << setting;
        EXPECT_EQ( ham.log.empty(), !shown ) << setting;
        led->setLightSetting( PL_LED_STATUS_BEACON );
        EXPECT_EQ( Led::notifyList_, std::list<Led *>{ led } ) << setting;
    }
}
