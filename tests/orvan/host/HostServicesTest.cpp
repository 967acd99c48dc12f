#include "orvan/host/HostServices.h"

#include <poll.h>
#include <stdexcept>
#include <unistd.h>

#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;
using orvan::HostServices;
using testing::ElementsAre;
using testing::IsEmpty;

class HostServicesTest : public testing::Test {
  protected:
    orvan::SkippingClock clock_;
    HostServices host_{ clock_ };
};

/** A timer that notes in `fired` that it did. */
struct Timer {
    explicit Timer( std::vector<int> &fired, int number, uint32_t rearm = 0 )
        : fired_( fired ), number_( number ), rearm_( rearm ),
          handle( pl_timer_add( callback, this ) ) {}

    static void callback( void *context ) {
        auto *timer = static_cast<Timer *>( context );
        timer->fired_.push_back( timer->number_ );
        if ( timer->rearm_ ) {
            pl_timer_set( timer->handle, timer->rearm_ );
        }
    }

    std::vector<int> &fired_;
    int number_;
    uint32_t rearm_;
    uint32_t handle;
};

TEST_F( HostServicesTest, TracesUpToTheLevelReachTheSinkWithoutTheirLineEnds ) {
    std::vector<std::string> seen;
    host_.traceTo( 4, [ &seen ]( int level, std::string_view text ) {
        seen.push_back( std::to_string( level ) + " " + std::string( text ) );
    } );
    pl_trace( 0, "fan %d of %s\n", 3, "tray" );
    pl_trace( 4, "plain" );
    pl_trace( 5, "too much" );
    EXPECT_THAT( seen, ElementsAre( "0 fan 3 of tray", "4 plain" ) );
}

TEST_F( HostServicesTest, LongTracesAreWhole ) {
    std::string seen;
    host_.traceTo( 5, [ &seen ]( int, std::string_view text ) { seen = text; } );
    const std::string topology( 100000, 'x' );
    pl_trace( 5, "json = %s", topology.c_str() );
    EXPECT_EQ( seen, "json = " + topology );
}

TEST_F( HostServicesTest, TheLastEightTracesOfLevel0AreKeptUntilTaken ) {
    for ( int i = 1; i <= 9; ++i ) {
        pl_trace( 0, "%d", i );
    }
    pl_trace( 1, "not a failure" );
    EXPECT_THAT( host_.takeFailureTraces(), ElementsAre( "2", "3", "4", "5", "6", "7", "8", "9" ) );
    EXPECT_THAT( host_.takeFailureTraces(), IsEmpty() );
}

TEST_F( HostServicesTest, ATimerFiresOnceAfterItsTime ) {
    std::vector<int> fired;
    Timer timer( fired, 1 );
    host_.run( 5s );
    EXPECT_THAT( fired, IsEmpty() ) << "it is made unarmed";
    ASSERT_EQ( pl_timer_set( timer.handle, 1000 ), 0 );
    host_.run( 999ms );
    EXPECT_THAT( fired, IsEmpty() );
    host_.run( 1ms );
    EXPECT_THAT( fired, ElementsAre( 1 ) );
    host_.run( 10s );
    EXPECT_THAT( fired, ElementsAre( 1 ) );
}

TEST_F( HostServicesTest, ArmingAgainReplacesTheTime ) {
    std::vector<int> fired;
    Timer timer( fired, 1 );
    pl_timer_set( timer.handle, 100 );
    pl_timer_set( timer.handle, 1000 );
    host_.run( 999ms );
    EXPECT_THAT( fired, IsEmpty() );
    host_.run( 1ms );
    EXPECT_THAT( fired, ElementsAre( 1 ) );
}

TEST_F( HostServicesTest, TimersFireInTheOrderOfTheirTimesThenOfArming ) {
    std::vector<int> fired;
    Timer late( fired, 3 );
    Timer second( fired, 2 );
    Timer first( fired, 1 );
    pl_timer_set( late.handle, 20 );
    pl_timer_set( first.handle, 10 );
    pl_timer_set( second.handle, 10 );
    host_.run( 1s );
    EXPECT_THAT( fired, ElementsAre( 1, 2, 3 ) );
}

TEST_F( HostServicesTest, ATimerThatArmsItselfKeepsItsPeriod ) {
    std::vector<int> fired;
    Timer timer( fired, 1, 1000 );
    pl_timer_set( timer.handle, 1000 );
    EXPECT_TRUE( host_.firstTickPending() );
    host_.run( 3500ms );
    EXPECT_EQ( fired.size(), 3u );
    EXPECT_FALSE( host_.firstTickPending() );
    EXPECT_THAT( host_.armedTimers(), ElementsAre( std::pair( timer.handle, 3ul ) ) );
}

TEST_F( HostServicesTest, ATimeOfNothingCountsAsAMillisecond ) {
    std::vector<int> fired;
    Timer timer( fired, 1 );
    timer.rearm_ = 0;
    pl_timer_set( timer.handle, 0 );
    EXPECT_TRUE( host_.runUntil( [ &fired ] { return !fired.empty(); }, 1ms ) );
}

TEST_F( HostServicesTest, ADeletedTimerStaysSilent ) {
    std::vector<int> fired;
    Timer timer( fired, 1 );
    pl_timer_set( timer.handle, 10 );
    pl_timer_delete( timer.handle );
    host_.run( 1s );
    EXPECT_THAT( fired, IsEmpty() );
    EXPECT_NE( pl_timer_set( timer.handle, 10 ), 0 );
    pl_timer_delete( timer.handle ); // again: nothing happens
}

TEST_F( HostServicesTest, ACallbackMayDeleteItsOwnTimer ) {
    static uint32_t handle;
    static int count;
    count = 0;
    handle = pl_timer_add(
        []( void * ) {
            ++count;
            pl_timer_delete( handle );
        },
        nullptr );
    pl_timer_set( handle, 10 );
    host_.run( 1s );
    EXPECT_EQ( count, 1 );
    EXPECT_NE( pl_timer_set( handle, 10 ), 0 );
}

TEST_F( HostServicesTest, NothingIsMadeOfNoCallback ) {
    EXPECT_EQ( pl_timer_add( nullptr, nullptr ), 0u );
    EXPECT_EQ( pl_fd_watcher_add( 0, nullptr, nullptr ), 0u );
    EXPECT_NE( pl_timer_set( 0, 10 ), 0 );
}

TEST_F( HostServicesTest, RunUntilEndsAsSoonAsItIsDone ) {
    std::vector<int> fired;
    Timer timer( fired, 1, 10 );
    pl_timer_set( timer.handle, 10 );
    EXPECT_TRUE( host_.runUntil( [ &fired ] { return fired.size() == 2; }, 1s ) );
    EXPECT_EQ( fired.size(), 2u );
    EXPECT_FALSE( host_.runUntil( [] { return false; }, 5ms ) );
}

TEST_F( HostServicesTest, WhatATimerThrowsIsReportedByName ) {
    std::vector<std::string> reports;
    host_.reportTo( [ &reports ]( const std::string &text ) { reports.push_back( text ); } );
    const uint32_t timer =
        pl_timer_add( []( void * ) { throw std::runtime_error( "no bus" ); }, nullptr );
    pl_timer_set( timer, 10 );
    host_.run( 20ms );
    EXPECT_THAT( reports,
                 ElementsAre( "a timer of the library threw std::runtime_error: no bus" ) );
}

struct Watched {
    Watched() { EXPECT_EQ( ::pipe( ends ), 0 ); }
    ~Watched() {
        ::close( ends[ 0 ] );
        ::close( ends[ 1 ] );
    }
    static void callback( void *context, int events ) {
        auto *watched = static_cast<Watched *>( context );
        watched->events.push_back( events );
        char byte = 0;
        EXPECT_EQ( ::read( watched->ends[ 0 ], &byte, 1 ), 1 );
        if ( watched->deletes ) {
            pl_fd_watcher_delete( watched->deletes );
        }
    }
    int ends[ 2 ];
    std::vector<int> events{};
    uint32_t deletes = 0;
};

TEST_F( HostServicesTest, AWatcherIsCalledWhenThereIsSomethingToRead ) {
    Watched watched;
    ASSERT_NE( pl_fd_watcher_add( watched.ends[ 0 ], Watched::callback, &watched ), 0u );
    host_.run( 10ms );
    EXPECT_THAT( watched.events, IsEmpty() );
    ASSERT_EQ( ::write( watched.ends[ 1 ], "ab", 2 ), 2 );
    host_.run( 10ms );
    EXPECT_THAT( watched.events, ElementsAre( POLLIN, POLLIN ) );
}

TEST_F( HostServicesTest, ADeletedWatcherLeavesItsDescriptorOpen ) {
    Watched watched;
    watched.deletes = pl_fd_watcher_add( watched.ends[ 0 ], Watched::callback, &watched );
    ASSERT_EQ( ::write( watched.ends[ 1 ], "ab", 2 ), 2 );
    host_.run( 10ms );
    EXPECT_THAT( watched.events, ElementsAre( POLLIN ) ) << "it deletes itself when called";
    char byte = 0;
    EXPECT_EQ( ::read( watched.ends[ 0 ], &byte, 1 ), 1 );
    EXPECT_EQ( byte, 'b' );
    pl_fd_watcher_delete( watched.deletes ); // again: nothing happens
}

TEST_F( HostServicesTest, WhatCannotBeWatchedGetsNoWatcher ) {
    EXPECT_EQ( pl_fd_watcher_add( -1, Watched::callback, nullptr ), 0u );
}

TEST( HostServices, TheDescriptorsOfItsWatchersOutliveIt ) {
    Watched watched;
    orvan::SkippingClock clock;
    {
        const HostServices host( clock );
        ASSERT_NE( pl_fd_watcher_add( watched.ends[ 0 ], Watched::callback, &watched ), 0u );
    }
    ASSERT_EQ( ::write( watched.ends[ 1 ], "a", 1 ), 1 );
    char byte = 0;
    EXPECT_EQ( ::read( watched.ends[ 0 ], &byte, 1 ), 1 );
}

TEST( HostServices, WithoutOneTheServicesDoNothing ) {
    ASSERT_EQ( HostServices::current(), nullptr );
    pl_trace( 0, "nobody listens" );
    EXPECT_EQ( pl_timer_add( []( void * ) {}, nullptr ), 0u );
    EXPECT_NE( pl_timer_set( 1, 10 ), 0 );
    pl_timer_delete( 1 );
    EXPECT_EQ( pl_fd_watcher_add(
                   0, []( void *, int ) {}, nullptr ),
               0u );
    pl_fd_watcher_delete( 1 );
}

TEST( HostServices, RealTimeFiresTimersToo ) {
    orvan::SystemClock clock;
    HostServices host( clock );
    std::vector<int> fired;
    Timer timer( fired, 1 );
    pl_timer_set( timer.handle, 1 );
    EXPECT_TRUE( host.runUntil( [ &fired ] { return !fired.empty(); }, 30s ) );
}

TEST_F( HostServicesTest, WithoutASinkTracesAreDroppedButFailuresKept ) {
    host_.traceTo( 7, nullptr );
    pl_trace( 0, "failed" );
    pl_trace( 7, "detail" );
    EXPECT_THAT( host_.takeFailureTraces(), ElementsAre( "failed" ) );
}

TEST_F( HostServicesTest, AnEmptyTraceIsEmpty ) {
    pl_trace( 0, "%s", "" );
    pl_trace( 0, "\n\n" );
    EXPECT_THAT( host_.takeFailureTraces(), ElementsAre( "", "" ) );
}

TEST_F( HostServicesTest, NoHandleIsGivenTwice ) {
    const uint32_t first = pl_timer_add( []( void * ) {}, nullptr );
    pl_timer_delete( first );
    const uint32_t second = pl_timer_add( []( void * ) {}, nullptr );
    EXPECT_NE( first, 0u );
    EXPECT_NE( second, 0u );
    EXPECT_NE( second, first );
}

TEST_F( HostServicesTest, WithoutAReportAnExceptionIsSwallowed ) {
    const uint32_t timer = pl_timer_add( []( void * ) { throw 7; }, nullptr );
    pl_timer_set( timer, 10 );
    host_.run( 20ms );
    EXPECT_THAT( host_.armedTimers(), IsEmpty() );
}

TEST_F( HostServicesTest, ATimerMayAddAndDeleteOthers ) {
    static uint32_t victim;
    static int fired;
    fired = 0;
    victim = pl_timer_add( []( void * ) { fired += 100; }, nullptr );
    const uint32_t timer = pl_timer_add(
        []( void * ) {
            pl_timer_delete( victim );
            pl_timer_set( pl_timer_add( []( void * ) { ++fired; }, nullptr ), 5 );
        },
        nullptr );
    pl_timer_set( timer, 10 );
    pl_timer_set( victim, 10 );
    host_.run( 1s );
    EXPECT_EQ( fired, 1 );
}

TEST_F( HostServicesTest, AWatcherIsToldOfAHangUp ) {
    static int events;
    events = 0;
    int ends[ 2 ];
    ASSERT_EQ( ::pipe( ends ), 0 );
    static uint32_t watcher;
    watcher = pl_fd_watcher_add(
        ends[ 0 ],
        []( void *, int what ) {
            events = what;
            pl_fd_watcher_delete( watcher );
        },
        nullptr );
    ::close( ends[ 1 ] );
    host_.run( 10ms );
    EXPECT_EQ( events, POLLHUP );
    ::close( ends[ 0 ] );
}

TEST_F( HostServicesTest, WhatAWatcherThrowsIsReportedAndItStays ) {
    std::vector<std::string> reports;
    host_.reportTo( [ &reports ]( const std::string &text ) { reports.push_back( text ); } );
    Watched watched;
    static int readEnd;
    readEnd = watched.ends[ 0 ];
    ASSERT_NE( pl_fd_watcher_add(
                   readEnd,
                   []( void *, int ) {
                       char byte = 0;
                       EXPECT_EQ( ::read( readEnd, &byte, 1 ), 1 );
                       throw std::runtime_error( "no bus" );
                   },
                   nullptr ),
               0u );
    ASSERT_EQ( ::write( watched.ends[ 1 ], "ab", 2 ), 2 );
    host_.run( 10ms );
    EXPECT_THAT(
        reports,
        ElementsAre( "a descriptor watcher of the library threw std::runtime_error: no bus",
                     "a descriptor watcher of the library threw std::runtime_error: no bus" ) );
}

TEST_F( HostServicesTest, TimersThatAreAlwaysDueDoNotStarveWatchers ) {
    std::vector<int> fired;
    Timer timer( fired, 1, 1 );
    pl_timer_set( timer.handle, 1 );
    Watched watched;
    ASSERT_NE( pl_fd_watcher_add( watched.ends[ 0 ], Watched::callback, &watched ), 0u );
    ASSERT_EQ( ::write( watched.ends[ 1 ], "a", 1 ), 1 );
    host_.run( 10ms );
    EXPECT_THAT( watched.events, ElementsAre( POLLIN ) );
}

} // namespace
