#include "OrvanGeneric/HostServices.h"

#include <gtest/gtest.h>

#include "tests/support/FakeHost.h"

namespace {

class HostServicesTest : public testing::Test {
  protected:
    static void callback( void * ) {}
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( HostServicesTest, TracesReachTheHostFormatted ) {
    TRACE( 3, "%s %u", "port", 7u );
    TRACE( 0, "plain" );
    EXPECT_EQ( host_.traces, ( Traces{ { 3, "port 7" }, { 0, "plain" } } ) );
}

TEST_F( HostServicesTest, ATraceIsOneStatement ) {
    if ( host_.traces.empty() ) {
        TRACE( 0, "then" );
    } else {
        TRACE( 0, "else" );
    }
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "then" } } ) );
}

TEST_F( HostServicesTest, TimersAreTheHosts ) {
    int context;
    const uint32_t timer = Host::timerAdd( callback, &context );
    ASSERT_EQ( host_.timers.count( timer ), 1u );
    EXPECT_EQ( host_.timers.at( timer ).callback, callback );
    EXPECT_EQ( host_.timers.at( timer ).context, &context );
    EXPECT_EQ( Host::timerSet( timer, 250 ), 0 );
    EXPECT_TRUE( host_.timers.at( timer ).armed );
    EXPECT_EQ( host_.timers.at( timer ).milliseconds, 250u );
    Host::timerDelete( timer );
    EXPECT_EQ( host_.deletedTimers, std::vector<uint32_t>{ timer } );
}

TEST_F( HostServicesTest, ATimerThatTheHostCouldNotMakeIsZero ) {
    host_.refuseTimers = true;
    EXPECT_EQ( Host::timerAdd( callback, nullptr ), 0u );
}

TEST_F( HostServicesTest, WithoutATimerNothingIsArmedOrDeleted ) {
    EXPECT_NE( Host::timerSet( 0, 250 ), 0 );
    Host::timerDelete( 0 );
    EXPECT_TRUE( host_.deletedTimers.empty() );
}

TEST_F( HostServicesTest, TheHostsRefusalToArmIsPassedOn ) {
    const uint32_t timer = Host::timerAdd( callback, nullptr );
    host_.refuseTimerSet = true;
    EXPECT_NE( Host::timerSet( timer, 250 ), 0 );
}

} // namespace
