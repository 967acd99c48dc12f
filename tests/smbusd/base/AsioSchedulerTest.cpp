#include "smbusd/base/AsioScheduler.h"

#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

using smbusd::AsioScheduler;
using smbusd::Duration;

TEST( AsioScheduler, PostsComeInTheirOrderAndNeverBeforeTheCallReturns ) {
    asio::io_context loop;
    AsioScheduler scheduler( loop );
    std::string order;
    scheduler.post( [ & ] {
        order += 'a';
        scheduler.post( [ & ] { order += 'c'; } );
    } );
    scheduler.post( [ & ] { order += 'b'; } );
    EXPECT_EQ( order, "" );
    loop.run();
    EXPECT_EQ( order, "abc" );
}

TEST( AsioScheduler, ADelayThatIsOverStillComesAfterTheCallReturned ) {
    asio::io_context loop;
    AsioScheduler scheduler( loop );
    bool called = false;
    const Duration before = scheduler.now();
    scheduler.after( Duration::zero(), [ & ] { called = true; } );
    EXPECT_FALSE( called );
    loop.run();
    EXPECT_TRUE( called );
    EXPECT_GE( scheduler.now(), before );
}

TEST( AsioScheduler, DelaysEndInTheirOwnOrder ) {
    asio::io_context loop;
    AsioScheduler scheduler( loop );
    std::string order;
    const Duration start = scheduler.now();
    scheduler.after( std::chrono::milliseconds( 2 ), [ & ] {
        order += 'b';
        EXPECT_GE( scheduler.now() - start, std::chrono::milliseconds( 2 ) );
    } );
    scheduler.after( std::chrono::milliseconds( 1 ), [ & ] { order += 'a'; } );
    loop.run();
    EXPECT_EQ( order, "ab" );
}

TEST( AsioScheduler, AnotherThreadMayPost ) {
    asio::io_context loop;
    AsioScheduler scheduler( loop );
    std::thread::id caller;
    std::thread other(
        [ & ] { scheduler.post( [ & ] { caller = std::this_thread::get_id(); } ); } );
    other.join();
    loop.run();
    EXPECT_TRUE( caller == std::this_thread::get_id() );
}

} // namespace
