#include "OrvanGeneric/Components/Fan.h"

#include <exception>

#include <gmock/gmock.h>

#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Fan;
using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

class MockFan : public Fan {
  public:
    MOCK_METHOD( pl_status, getRpm, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, setRpm, ( int ), ( override ) );
};

class TalkativeFan final : public MockFan {
  public:
    MOCK_METHOD( pl_status, debugInfo, ( char ** ), ( const, override ) );
};

class FanTest : public testing::Test {
  protected:
    TalkativeFan fan_;
    pl_fan *record_ = fan_.record();
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( FanTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( fan_, &Fan::ops_ );
}

TEST_F( FanTest, TableHoldsItsSizeAndTheCallbacks ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( Fan::ops_.size, 16u );
    EXPECT_EQ( offsetof( pl_fan_ops, debug_info ), 4u );
    EXPECT_EQ( Fan::ops_.debug_info, Fan::debugInfoCallback );
    EXPECT_EQ( offsetof( pl_fan_ops, get_rpm ), 8u );
    EXPECT_EQ( Fan::ops_.get_rpm, Fan::getRpmCallback );
    EXPECT_EQ( offsetof( pl_fan_ops, set_rpm ), 12u );
    EXPECT_EQ( Fan::ops_.set_rpm, Fan::setRpmCallback );
}

TEST_F( FanTest, VirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &Fan::debugInfo ), 2u );
    EXPECT_EQ( virtualSlot( &Fan::getRpm ), 3u );
    EXPECT_EQ( virtualSlot( &Fan::setRpm ), 4u );
}

TEST_F( FanTest, DebugInfoCallbackTracesAndReturnsTheObjectsAnswer ) {
    char info[] = "info";
    EXPECT_CALL( fan_, debugInfo( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( info ), Return( PL_STATUS_FAULT ) ) );
    char *text = nullptr;
    EXPECT_EQ( record_->ops->debug_info( record_, &text ), PL_STATUS_FAULT );
    EXPECT_EQ( text, info );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, callOn( "debugInfoCallback", record_ ) } } ) );
}

TEST_F( FanTest, DebugInfoDoesNothingUnlessADriverHasSome ) {
    MockFan fan;
    char untouched[] = "before";
    char *text = untouched;
    EXPECT_EQ( fan.record()->ops->debug_info( fan.record(), &text ), PL_STATUS_OK );
    EXPECT_EQ( text, untouched );
}

TEST_F( FanTest, GetRpmCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( fan_, getRpm( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 5400 ), Return( PL_STATUS_FAULT ) ) );
    int rpm = 0;
    EXPECT_EQ( record_->ops->get_rpm( record_, &rpm ), PL_STATUS_FAULT );
    EXPECT_EQ( rpm, 5400 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, callOn( "getRpmCallback", record_ ) } } ) );
}

TEST_F( FanTest, SetRpmCallbackTracesTheValueAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( fan_, setRpm( -8000 ) ).WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( record_->ops->set_rpm( record_, -8000 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, callOn( "setRpmCallback", record_, "-8000" ) } } ) );
}

TEST_F( FanTest, AddReturnsTheRecordOfTheDriversFan ) {
    std::string id;
    driver_.newFan = [ & ]( const Drivers::DriverArgs &args ) {
        id = args.driverArgs.at( "fanId" );
        return &fan_;
    };
    const std::string text = scriptedDescription( R"({"fanId":3})" );
    EXPECT_EQ( pl_fan_add( text.c_str() ), record_ );
    EXPECT_EQ( id, "3" );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
}

TEST_F( FanTest, AddOfATextThatIsNotJsonGivesNull ) {
    EXPECT_EQ( pl_fan_add( "?" ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?", { { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( FanTest, AddWithAnUnknownDriverGivesNull ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_fan_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text, { { 0, "DeviceBase::create() failed" } } ) );
    EXPECT_TRUE( Component::DeviceBase::devices.empty() );
}

TEST_F( FanTest, AddGivesNullWhenTheDriverMakesNoFan ) {
    driver_.newFan = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_fan_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "newFan() failed" } } ) );
}

TEST_F( FanTest, AddThrowsForADriverWithoutFans ) {
    try {
        pl_fan_add( scriptedDescription().c_str() );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newFan" );
    }
}

} // namespace
