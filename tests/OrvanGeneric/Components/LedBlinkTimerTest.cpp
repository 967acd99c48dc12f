#include <gmock/gmock.h>

#include "OrvanGeneric/Components/Led.h"
#include "tests/support/FakeHost.h"
#include "tests/support/TracesOnAbort.h"

namespace {

using Component::LogicalDevice::Led;
using Phases = std::vector<bool>;

/** Keeps the phases that it was told to show; stays on the list for so many of them. */
class BlinkingLed final : public Led {
  public:
    explicit BlinkingLed( int stays = 1000 ) : Led( true ), stays_( stays ) {}
    bool handleBlinkTimer( bool phase ) override {
        shown.push_back( phase );
        return stays_-- > 0;
    }
    pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }

    Phases shown;

  private:
    int stays_;
};

class LedBlinkTimerTest : public testing::Test {
  protected:
    ~LedBlinkTimerTest() override { Led::notifyList_.clear(); }

    FakeHost::Timer &timer() { return host_.timers.at( Led::blinkTimer_ ); }
    void tick() { ASSERT_TRUE( host_.fire( Led::blinkTimer_ ) ); }

    FakeHost &host_ = FakeHost::instance();
};

TEST_F( LedBlinkTimerTest, NothingIsThereAtLoad ) {
    EXPECT_EQ( Led::blinkTimer_, 0u );
    EXPECT_EQ( Led::blinkPeriod_, 1000u );
    EXPECT_FALSE( Led::blinkStatus_ );
    EXPECT_TRUE( Led::notifyList_.empty() );
}

TEST_F( LedBlinkTimerTest, StatusesHaveNames ) {
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_OFF ), "Off" );
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_GOOD ), "Good" );
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_WARNING ), "Warning" );
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_BAD ), "Bad" );
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_INACTIVE ), "Inactive" );
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_UNKNOWN ), "Unknown" );
    EXPECT_STREQ( Led::getLedStatusString( PL_LED_STATUS_BEACON ), "Beacon" );
}

TEST_F( LedBlinkTimerTest, AStatusAboveBeaconAborts ) {
    EXPECT_DEATH(
        Led::getLedStatusString( static_cast<pl_led_status>( 7 ) ),
        testing::HasSubstr( "`( unsigned )status < sizeof ( strs ) / sizeof ( *strs )'" ) );
}

TEST_F( LedBlinkTimerTest, CreationMakesOneUnarmedTimerWithoutContext ) {
    Led::createBlinkTimer();
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "creating unique led blink timer" } } ) );
    ASSERT_EQ( host_.timers.size(), 1u );
    EXPECT_EQ( host_.timers.begin()->first, Led::blinkTimer_ );
    EXPECT_EQ( timer().callback, Led::handleBlinkTimerCallback );
    EXPECT_EQ( timer().context, nullptr );
    EXPECT_FALSE( timer().armed );
}

TEST_F( LedBlinkTimerTest, ASecondCreationDoesNothing ) {
    Led::createBlinkTimer();
    const uint32_t made = Led::blinkTimer_;
    host_.traces.clear();
    Led::createBlinkTimer();
    EXPECT_EQ( Led::blinkTimer_, made );
    EXPECT_EQ( host_.timers.size(), 1u );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( LedBlinkTimerTest, CreationAbortsWhenTheHostMakesNoTimer ) {
    host_.refuseTimers = true;
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            Led::createBlinkTimer();
        },
        "`blinkTimer_'(.|\n)*trace 0: creating unique led blink timer\n"
        "trace 0: failed to create blink timer" );
}

TEST_F( LedBlinkTimerTest, NotificationWithoutATimerAborts ) {
    BlinkingLed led;
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            Led::notifyOnBlink( &led );
        },
        "`blinkTimer_'(.|\n)*trace 4: notifyOnBlink\\(\\) adding led to blink notification list" );
}

TEST_F( LedBlinkTimerTest, TheFirstLedStartsTheTimer ) {
    Led::createBlinkTimer();
    host_.traces.clear();
    BlinkingLed led;
    Led::notifyOnBlink( &led );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 4, "notifyOnBlink() adding led to blink notification list" } } ) );
    EXPECT_TRUE( timer().armed );
    EXPECT_EQ( timer().milliseconds, 1000u );
    EXPECT_EQ( timer().sets, 1 );
}

TEST_F( LedBlinkTimerTest, FurtherLedsFindTheTimerRunning ) {
    Led::createBlinkTimer();
    BlinkingLed first, second;
    Led::notifyOnBlink( &first );
    Led::notifyOnBlink( &second );
    EXPECT_EQ( timer().sets, 1 );
    EXPECT_EQ( Led::notifyList_, ( std::list<Led *>{ &first, &second } ) );
}

TEST_F( LedBlinkTimerTest, TheLedsOfOneTickSeeTheSamePhaseBeginningWithFalse ) {
    Led::createBlinkTimer();
    BlinkingLed first, second;
    Led::notifyOnBlink( &first );
    Led::notifyOnBlink( &second );
    tick();
    tick();
    tick();
    EXPECT_EQ( first.shown, ( Phases{ false, true, false } ) );
    EXPECT_EQ( second.shown, ( Phases{ false, true, false } ) );
}

TEST_F( LedBlinkTimerTest, ATickTracesTheCountAndArmsTheTimerAgain ) {
    Led::createBlinkTimer();
    BlinkingLed first, second;
    Led::notifyOnBlink( &first );
    Led::notifyOnBlink( &second );
    host_.traces.clear();
    tick();
    EXPECT_EQ(
        host_.traces,
        ( Traces{ { 4, "handleBlinkTimerCallback() led blink timer hit notifying 2 leds" } } ) );
    EXPECT_TRUE( timer().armed );
    EXPECT_EQ( timer().milliseconds, 1000u );
    EXPECT_EQ( timer().sets, 2 );
}

TEST_F( LedBlinkTimerTest, AnLedAddedTwiceIsCalledTwicePerTick ) {
    Led::createBlinkTimer();
    BlinkingLed led;
    Led::notifyOnBlink( &led );
    Led::notifyOnBlink( &led );
    EXPECT_EQ( timer().sets, 1 );
    tick();
    EXPECT_EQ( led.shown, ( Phases{ false, false } ) );
}

TEST_F( LedBlinkTimerTest, TheLedBehindOneThatLeavesIsSkippedForOneTick ) {
    Led::createBlinkTimer();
    BlinkingLed leaving( 0 ), skipped, third;
    Led::notifyOnBlink( &leaving );
    Led::notifyOnBlink( &skipped );
    Led::notifyOnBlink( &third );
    tick();
    EXPECT_EQ( leaving.shown, ( Phases{ false } ) );
    EXPECT_EQ( skipped.shown, ( Phases{} ) );
    EXPECT_EQ( third.shown, ( Phases{ false } ) );
    EXPECT_EQ( Led::notifyList_, ( std::list<Led *>{ &skipped, &third } ) );
    EXPECT_TRUE( timer().armed );
    tick();
    EXPECT_EQ( leaving.shown, ( Phases{ false } ) );
    EXPECT_EQ( skipped.shown, ( Phases{ true } ) );
    EXPECT_EQ( third.shown, ( Phases{ false, true } ) );
}

TEST_F( LedBlinkTimerTest, OfTwoLedsTheSecondIsSkippedAndKeepsTheTimerRunning ) {
    Led::createBlinkTimer();
    BlinkingLed leaving( 0 ), skipped;
    Led::notifyOnBlink( &leaving );
    Led::notifyOnBlink( &skipped );
    tick();
    EXPECT_EQ( skipped.shown, ( Phases{} ) );
    EXPECT_EQ( Led::notifyList_, ( std::list<Led *>{ &skipped } ) );
    EXPECT_TRUE( timer().armed );
    EXPECT_TRUE( Led::blinkStatus_ );
}

TEST_F( LedBlinkTimerTest, TheLastLedMayLeave ) {
    Led::createBlinkTimer();
    BlinkingLed first, leaving( 0 );
    Led::notifyOnBlink( &first );
    Led::notifyOnBlink( &leaving );
    tick();
    EXPECT_EQ( first.shown, ( Phases{ false } ) );
    EXPECT_EQ( Led::notifyList_, ( std::list<Led *>{ &first } ) );
}

TEST_F( LedBlinkTimerTest, OneEntryOfAnLedAddedTwiceLeavesAtATime ) {
    Led::createBlinkTimer();
    BlinkingLed led( 0 );
    Led::notifyOnBlink( &led );
    Led::notifyOnBlink( &led );
    tick();
    EXPECT_EQ( led.shown, ( Phases{ false } ) );
    EXPECT_EQ( Led::notifyList_.size(), 1u );
}

TEST_F( LedBlinkTimerTest, AnEmptiedListLeavesTheTimerUnarmedAndFlipsThePhaseAllTheSame ) {
    Led::createBlinkTimer();
    BlinkingLed only( 0 );
    Led::notifyOnBlink( &only );
    tick();
    EXPECT_TRUE( Led::notifyList_.empty() );
    EXPECT_FALSE( timer().armed );
    EXPECT_TRUE( Led::blinkStatus_ );
}

TEST_F( LedBlinkTimerTest, TheTimerStartsAnewWithTheNextLed ) {
    Led::createBlinkTimer();
    BlinkingLed first( 0 ), next;
    Led::notifyOnBlink( &first );
    tick();
    Led::notifyOnBlink( &next );
    EXPECT_EQ( timer().sets, 2 );
    tick();
    EXPECT_EQ( next.shown, ( Phases{ true } ) );
}

TEST_F( LedBlinkTimerTest, StoppingTakesEveryEntryOfTheLedOffTheList ) {
    Led::createBlinkTimer();
    BlinkingLed stopped, other;
    Led::notifyOnBlink( &stopped );
    Led::notifyOnBlink( &other );
    Led::notifyOnBlink( &stopped );
    Led::stopBlinkNotification( &stopped );
    EXPECT_EQ( Led::notifyList_, ( std::list<Led *>{ &other } ) );
    tick();
    EXPECT_EQ( stopped.shown, ( Phases{} ) );
    EXPECT_EQ( other.shown, ( Phases{ false } ) );
}

TEST_F( LedBlinkTimerTest, ATickAfterTheLastLedStoppedEndsTheTimer ) {
    Led::createBlinkTimer();
    BlinkingLed led;
    Led::notifyOnBlink( &led );
    Led::stopBlinkNotification( &led );
    host_.traces.clear();
    tick();
    EXPECT_EQ(
        host_.traces,
        ( Traces{ { 4, "handleBlinkTimerCallback() led blink timer hit notifying 0 leds" } } ) );
    EXPECT_FALSE( timer().armed );
    EXPECT_TRUE( Led::blinkStatus_ );
}

TEST_F( LedBlinkTimerTest, StoppingAnLedThatIsNotOnTheListChangesNothing ) {
    BlinkingLed led;
    Led::stopBlinkNotification( &led );
    EXPECT_TRUE( Led::notifyList_.empty() );
}

TEST_F( LedBlinkTimerTest, ARefusedArmingIsTracedAndTheNextNotificationArmsAgain ) {
    Led::createBlinkTimer();
    BlinkingLed first, second, third;
    host_.refuseTimerSet = true;
    Led::notifyOnBlink( &first );
    EXPECT_EQ( host_.texts( 0 ).back(), "failed to arm led blink timer" );
    host_.traces.clear();
    Led::notifyOnBlink( &second );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 4, "notifyOnBlink() adding led to blink notification list" },
                         { 0, "failed to arm led blink timer" } } ) );
    EXPECT_FALSE( timer().armed );
    host_.refuseTimerSet = false;
    Led::notifyOnBlink( &third );
    EXPECT_TRUE( timer().armed );
    EXPECT_EQ( timer().sets, 1 );
    tick();
    EXPECT_EQ( first.shown, Phases{ false } );
}

TEST_F( LedBlinkTimerTest, ATickWhoseRearmingIsRefusedIsMadeGoodByTheNextBeacon ) {
    Led::createBlinkTimer();
    BlinkingLed led;
    Led::notifyOnBlink( &led );
    host_.refuseTimerSet = true;
    tick();
    EXPECT_EQ( host_.texts( 0 ).back(), "failed to arm led blink timer" );
    Led::keepBlinkTimerRunning();
    EXPECT_FALSE( timer().armed );
    host_.refuseTimerSet = false;
    Led::keepBlinkTimerRunning();
    EXPECT_TRUE( timer().armed );
    EXPECT_EQ( timer().sets, 2 );
    Led::keepBlinkTimerRunning();
    EXPECT_EQ( timer().sets, 2 );
    tick();
    EXPECT_EQ( led.shown, ( Phases{ false, true } ) );
}

} // namespace
