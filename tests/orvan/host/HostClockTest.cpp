#include "orvan/host/HostClock.h"

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using orvan::SkippingClock;
using Time = orvan::HostClock::Time;

TEST( SkippingClock, StartsAtTheBeginningOfTime ) {
    const SkippingClock clock;
    EXPECT_EQ( clock.now(), Time{} );
}

TEST( SkippingClock, AWaitWithNothingToHandleJumpsToItsEnd ) {
    SkippingClock clock;
    asio::io_context loop;
    clock.waitUntil( loop, Time( 1h ) );
    EXPECT_EQ( clock.now(), Time( 1h ) );
}

TEST( SkippingClock, TimeNeverGoesBack ) {
    SkippingClock clock;
    asio::io_context loop;
    clock.waitUntil( loop, Time( 1h ) );
    clock.waitUntil( loop, Time( 1min ) );
    EXPECT_EQ( clock.now(), Time( 1h ) );
}

TEST( SkippingClock, AReadyHandlerRunsAloneAndTakesNoTime ) {
    SkippingClock clock;
    asio::io_context loop;
    int handled = 0;
    asio::post( loop, [ &handled ] { ++handled; } );
    asio::post( loop, [ &handled ] { ++handled; } );
    clock.waitUntil( loop, Time( 1h ) );
    EXPECT_EQ( handled, 1 );
    EXPECT_EQ( clock.now(), Time{} );
    clock.waitUntil( loop, Time( 1h ) );
    EXPECT_EQ( handled, 2 );
}

TEST( SystemClock, AReadyHandlerEndsAWait ) {
    orvan::SystemClock clock;
    asio::io_context loop;
    bool handled = false;
    asio::post( loop, [ &handled ] { handled = true; } );
    clock.waitUntil( loop, clock.now() + 24h );
    EXPECT_TRUE( handled );
}

TEST( SystemClock, AWaitUntilThePastEndsImmediately ) {
    orvan::SystemClock clock;
    asio::io_context loop;
    const auto work = asio::make_work_guard( loop );
    const Time before = clock.now();
    clock.waitUntil( loop, before - 1h );
    EXPECT_GE( clock.now(), before );
}

} // namespace
