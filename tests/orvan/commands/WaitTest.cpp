#include <gmock/gmock.h>

#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::ExitCode;
using testing::HasSubstr;

class WaitTest : public testing::Test {
  protected:
    WaitTest() {
        board_.add( "gpio", "polled", R"({"name":"timer"})" ); // every 1000 ms
        board_.add( "gpio", "quiet" );
    }
    test::FakeBoard board_;
    FakeState &state_ = board_.state();
};

TEST_F( WaitTest, SecondsLetTimersRun ) {
    EXPECT_EQ( board_.shell( "get polled\nwait 2.5\n" ).code, ExitCode::Ok );
    EXPECT_EQ( state_.ticks, 3u ) << "one of them before the reading";
}

TEST_F( WaitTest, TicksAreWaitedFor ) {
    EXPECT_EQ( board_.shell( "get polled\nwait --ticks 4\n" ).code, ExitCode::Ok );
    EXPECT_EQ( state_.ticks, 5u );
}

TEST_F( WaitTest, TicksThatDoNotComeInTimeFail ) {
    const test::Outcome outcome = board_.shell( "get polled\nwait 1.5 --ticks 4\n" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_THAT( outcome.errors, HasSubstr( "not every timer fired 4 times in 1.5 s\n" ) );
}

TEST_F( WaitTest, WithoutATimerThereIsNothingToWaitFor ) {
    const test::Outcome outcome = board_.shell( "get quiet\nwait --ticks 1\n" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_THAT( outcome.errors,
                 HasSubstr( "no timer is running: nothing used so far is polled or blinks\n" ) );
}

TEST_F( WaitTest, NonsenseIsBadInput ) {
    for ( const char *line : { "wait -1", "wait long", "wait --ticks 0", "wait 1 2" } ) {
        EXPECT_EQ( board_.run( line ).code, ExitCode::BadInput ) << line;
    }
}

TEST_F( WaitTest, WithoutATimeNothingRuns ) {
    EXPECT_EQ( board_.shell( "get polled\nwait\n" ).code, ExitCode::Ok );
    EXPECT_EQ( state_.ticks, 1u ) << "the one before the reading";
}

TEST_F( WaitTest, TicksHaveTwiceThePollingPeriodEach ) {
    pl_timer_set( pl_timer_add( []( void * ) {}, nullptr ), 2001 );
    const test::Outcome outcome = board_.run( "wait --ticks 1" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "not every timer fired 1 times in 2 s\n" );
}

TEST_F( WaitTest, ATimerThatStopsIsNotWaitedFor ) {
    pl_timer_set( pl_timer_add( []( void * ) {}, nullptr ), 500 ); // does not arm itself again
    EXPECT_EQ( board_.shell( "get polled\nwait --ticks 2\n" ).code, ExitCode::Ok );
    EXPECT_EQ( state_.ticks, 3u );
}

} // namespace
