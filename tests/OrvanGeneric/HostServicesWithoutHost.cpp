#include <memory>

#include <gmock/gmock.h>

#include "OrvanGeneric/Components/Led.h"
#include "OrvanGeneric/Components/PollingDevice.h"
#include "OrvanGeneric/HostServices.h"

// This program is a host that offers none of the services.

namespace {

void callback( void * ) {}

TEST( WithoutHost, NoServiceIsThere ) {
    EXPECT_FALSE( pl_trace );
    EXPECT_FALSE( pl_timer_add );
    EXPECT_FALSE( pl_timer_set );
    EXPECT_FALSE( pl_timer_delete );
}

TEST( WithoutHost, ATraceIsDroppedWithItsArgumentsUnused ) {
    int evaluated = 0;
    TRACE( 0, "%d", ++evaluated );
    EXPECT_EQ( evaluated, 0 );
}

TEST( WithoutHost, ATimerCountsAsNotMade ) {
    EXPECT_EQ( Host::timerAdd( callback, nullptr ), 0u );
}

TEST( WithoutHost, ArmingCountsAsFailed ) {
    EXPECT_NE( Host::timerSet( 1, 1000 ), 0 );
}

TEST( WithoutHost, DeletionIsSkipped ) {
    EXPECT_NO_FATAL_FAILURE( Host::timerDelete( 1 ) );
}

TEST( WithoutHost, ABlinkingLedAborts ) {
    EXPECT_DEATH( Component::LogicalDevice::Led::createBlinkTimer(),
                  testing::HasSubstr( "`blinkTimer_'" ) );
}

TEST( WithoutHost, APollingDeviceIsMadeButCannotStart ) {
    struct Polled final : Component::PollingDevice<Component::HardwareDevice> {
        using PollingDevice::pollStart;
        using PollingDevice::pollStarted;
        bool pollCallback() override { return true; }
    };
    const auto device = std::make_unique<Polled>();
    EXPECT_FALSE( device->pollStart() );
    EXPECT_FALSE( device->pollStarted() );
}

} // namespace
