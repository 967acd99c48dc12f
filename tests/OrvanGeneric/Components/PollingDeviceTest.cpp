#include "OrvanGeneric/Components/PollingDevice.h"

#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "tests/support/FakeHost.h"
#include "tests/support/VirtualSlot.h"

namespace {

class Polled final : public Component::PollingDevice<Component::HardwareDevice> {
  public:
    using Base = PollingDevice<HardwareDevice>;
    using Base::pollIntervalIs;
    using Base::pollStart;
    using Base::pollStarted;

    bool pollCallback() override {
        ++polls;
        if ( onPoll ) {
            onPoll();
        }
        return answer;
    }

    int polls = 0;
    bool answer = true;
    std::function<void()> onPoll;
};

class PollingDeviceTest : public testing::Test {
  protected:
    PollingDeviceTest() {
        if ( !host_.timers.empty() ) {
            handle_ = host_.timers.begin()->first;
        }
    }
    FakeHost::Timer &timer() { return host_.timers.at( handle_ ); }

    FakeHost &host_ = FakeHost::instance();
    std::unique_ptr<Polled> device_ = std::make_unique<Polled>();
    uint32_t handle_ = 0;
};

TEST_F( PollingDeviceTest, ConstructionMakesAnUnarmedTimerForTheDevice ) {
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "creating timer" } } ) );
    ASSERT_EQ( host_.timers.size(), 1u );
    EXPECT_FALSE( timer().armed );
    EXPECT_EQ( timer().callback, Polled::Base::handlePollTimerCallback );
    EXPECT_EQ( timer().context, static_cast<Polled::Base *>( device_.get() ) );
    EXPECT_FALSE( device_->pollStarted() );
}

TEST_F( PollingDeviceTest, PollCallbackStandsBehindTheHardwareDevicesOperations ) {
    EXPECT_EQ( virtualSlot( &Component::HardwareDevice::expectedValues ) + 1, 15u );
    EXPECT_EQ( virtualSlot( &Polled::Base::pollCallback ), 15u );
}

TEST_F( PollingDeviceTest, StartArmsTheTimerWithTheInterval ) {
    host_.traces.clear();
    device_->pollIntervalIs( 1000 );
    EXPECT_TRUE( device_->pollStart() );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "setting polling interval to 1000ms" } } ) );
    EXPECT_TRUE( timer().armed );
    EXPECT_EQ( timer().milliseconds, 1000u );
    EXPECT_TRUE( device_->pollStarted() );
    EXPECT_EQ( device_->polls, 0 );
}

TEST_F( PollingDeviceTest, StartFailsWhenTheHostDoesNotArm ) {
    host_.traces.clear();
    host_.refuseTimerSet = true;
    device_->pollIntervalIs( 250 );
    EXPECT_FALSE( device_->pollStart() );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "setting polling interval to 250ms" },
                                       { 0, "failed to set timer interval" } } ) );
    EXPECT_FALSE( device_->pollStarted() );
}

TEST_F( PollingDeviceTest, StartFailsWithoutATimer ) {
    host_.refuseTimers = true;
    Polled timerless;
    timerless.pollIntervalIs( 1000 );
    EXPECT_FALSE( timerless.pollStart() );
    EXPECT_TRUE( host_.traced( 0, "failed to set timer interval" ) );
    EXPECT_FALSE( timerless.pollStarted() );
}

TEST_F( PollingDeviceTest, ExpiryPollsAndArmsTheTimerAgain ) {
    device_->pollIntervalIs( 1000 );
    ASSERT_TRUE( device_->pollStart() );
    host_.traces.clear();
    ASSERT_TRUE( host_.fire( handle_ ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "pollCallbackWrapper" } } ) );
    EXPECT_EQ( device_->polls, 1 );
    EXPECT_TRUE( timer().armed );
    EXPECT_EQ( timer().milliseconds, 1000u );
    EXPECT_EQ( timer().sets, 2 );
}

TEST_F( PollingDeviceTest, TheTimerIsArmedOnlyWhenThePollIsOver ) {
    device_->pollIntervalIs( 1000 );
    ASSERT_TRUE( device_->pollStart() );
    bool armedDuringPoll = true;
    device_->onPoll = [ & ] { armedDuringPoll = timer().armed; };
    ASSERT_TRUE( host_.fire( handle_ ) );
    EXPECT_FALSE( armedDuringPoll );
}

TEST_F( PollingDeviceTest, AFailedPollDoesNotStopThePolling ) {
    device_->pollIntervalIs( 1000 );
    ASSERT_TRUE( device_->pollStart() );
    device_->answer = false;
    ASSERT_TRUE( host_.fire( handle_ ) );
    EXPECT_TRUE( timer().armed );
}

TEST_F( PollingDeviceTest, AFailedReArmingIsTracedAndEndsThePolling ) {
    device_->pollIntervalIs( 1000 );
    ASSERT_TRUE( device_->pollStart() );
    host_.traces.clear();
    host_.refuseTimerSet = true;
    ASSERT_TRUE( host_.fire( handle_ ) );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 6, "pollCallbackWrapper" }, { 0, "failed to set timer interval" } } ) );
    EXPECT_EQ( device_->polls, 1 );
    EXPECT_FALSE( timer().armed );
}

TEST_F( PollingDeviceTest, AnExpiryCountsAsTheStart ) {
    device_->pollIntervalIs( 1000 );
    Polled::Base::handlePollTimerCallback( timer().context );
    EXPECT_TRUE( device_->pollStarted() );
    EXPECT_TRUE( timer().armed );
}

TEST_F( PollingDeviceTest, DestructionDeletesTheTimer ) {
    host_.traces.clear();
    device_.reset();
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "destroying timer" } } ) );
    EXPECT_EQ( host_.deletedTimers, std::vector<uint32_t>{ handle_ } );
    EXPECT_TRUE( host_.timers.empty() );
}

TEST_F( PollingDeviceTest, DestructionWithoutATimerDeletesNone ) {
    host_.refuseTimers = true;
    { Polled timerless; }
    EXPECT_TRUE( host_.traced( 0, "destroying timer" ) );
    EXPECT_TRUE( host_.deletedTimers.empty() );
}

} // namespace
