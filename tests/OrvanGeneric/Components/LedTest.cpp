#include "OrvanGeneric/Components/Led.h"

#include <exception>

#include <gmock/gmock.h>

#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/TracesOnAbort.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Led;
using testing::Return;

class MockLed : public Led {
  public:
    using Led::Led;
    MOCK_METHOD( pl_status, setLightSetting, ( pl_led_status ), ( override ) );
};

class LedTest : public testing::Test {
  protected:
    MockLed led_;
    pl_led *record_ = led_.record();
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( LedTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( led_, &Led::ops_ );
}

TEST_F( LedTest, TableHoldsItsSizeAndTheSettingCallback ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( Led::ops_.size, 8u );
    EXPECT_EQ( offsetof( pl_led_ops, set_light_setting ), 4u );
    EXPECT_EQ( Led::ops_.set_light_setting, Led::setLightSettingCallback );
}

TEST_F( LedTest, VirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &Led::handleBlinkTimer ), 2u );
    EXPECT_EQ( virtualSlot( &Led::setLightSetting ), 3u );
}

TEST_F( LedTest, SettingCallbackTracesTheValueAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( led_, setLightSetting( PL_LED_STATUS_BEACON ) )
        .WillOnce( Return( PL_STATUS_INVALID ) );
    EXPECT_EQ( record_->ops->set_light_setting( record_, PL_LED_STATUS_BEACON ),
               PL_STATUS_INVALID );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 4, callOn( "setLightSettingCallback", record_, "6" ) } } ) );
}

TEST_F( LedTest, AnLedThatNeverBlinksLeavesTheListAtItsFirstTick ) {
    EXPECT_FALSE( led_.handleBlinkTimer( true ) );
    EXPECT_FALSE( led_.handleBlinkTimer( false ) );
}

TEST_F( LedTest, AddReturnsTheRecordOfTheDriversLed ) {
    std::string id;
    driver_.newLed = [ & ]( const Drivers::DriverArgs &args ) {
        id = args.driverArgs.at( "ledId" );
        return &led_;
    };
    const std::string text = scriptedDescription( R"({"ledId":2})" );
    EXPECT_EQ( pl_led_add( text.c_str() ), record_ );
    EXPECT_EQ( id, "2" );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
    EXPECT_TRUE( host_.timers.empty() );
}

TEST_F( LedTest, AddOfABlinkingLedMakesTheSharedTimer ) {
    MockLed blinking( true );
    driver_.newLed = [ & ]( const Drivers::DriverArgs & ) { return &blinking; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_led_add( text.c_str() ), blinking.record() );
    EXPECT_EQ( host_.traces,
               scriptedCreation( text, { { 0, "creating unique led blink timer" } } ) );
    ASSERT_EQ( host_.timers.size(), 1u );
    EXPECT_FALSE( host_.timers.begin()->second.armed );
}

TEST_F( LedTest, AddOfAFurtherBlinkingLedSharesTheTimer ) {
    MockLed first( true );
    MockLed second( true );
    driver_.newLed = [ & ]( const Drivers::DriverArgs & ) { return &first; };
    pl_led_add( scriptedDescription().c_str() );
    driver_.newLed = [ & ]( const Drivers::DriverArgs & ) { return &second; };
    EXPECT_EQ( pl_led_add( scriptedDescription().c_str() ), second.record() );
    EXPECT_EQ( host_.timers.size(), 1u );
}

TEST_F( LedTest, AddOfABlinkingLedInAHostWithoutTimersAborts ) {
    MockLed blinking( true );
    driver_.newLed = [ & ]( const Drivers::DriverArgs & ) { return &blinking; };
    host_.refuseTimers = true;
    EXPECT_DEATH(
        {
            TracesOnAbort traces;
            pl_led_add( scriptedDescription().c_str() );
        },
        "blinkTimer_(.|\n)*trace 0: failed to create blink timer" );
}

TEST_F( LedTest, AddOfATextThatIsNotJsonGivesNull ) {
    EXPECT_EQ( pl_led_add( "?" ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?", { { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( LedTest, AddWithAnUnknownDriverGivesNull ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_led_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text, { { 0, "DeviceBase::create() failed" } } ) );
    EXPECT_TRUE( Component::DeviceBase::devices.empty() );
}

TEST_F( LedTest, AddGivesNullWhenTheDriverMakesNoLed ) {
    driver_.newLed = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_led_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "newLed() failed" } } ) );
}

TEST_F( LedTest, AddThrowsForADriverWithoutLeds ) {
    try {
        pl_led_add( scriptedDescription().c_str() );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newLed" );
    }
}

} // namespace
