#include "OrvanGeneric/Components/TempSensor.h"

#include <exception>

#include <gmock/gmock.h>

#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::TempSensor;
using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

class MockTempSensor : public TempSensor {
  public:
    MOCK_METHOD( pl_status, getTemperature, ( float * ), ( override ) );
};

class TempSensorTest : public testing::Test {
  protected:
    MockTempSensor sensor_;
    pl_temp_sensor *record_ = sensor_.record();
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( TempSensorTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( sensor_, &TempSensor::ops_ );
}

TEST_F( TempSensorTest, TableHoldsItsSizeAnEmptyEntryAndTheCallback ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( TempSensor::ops_.size, 12u );
    EXPECT_EQ( offsetof( pl_temp_sensor_ops, reserved ), 4u );
    EXPECT_EQ( TempSensor::ops_.reserved, nullptr );
    EXPECT_EQ( offsetof( pl_temp_sensor_ops, get_temperature ), 8u );
    EXPECT_EQ( TempSensor::ops_.get_temperature, TempSensor::getTemperatureCallback );
}

TEST_F( TempSensorTest, VirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &TempSensor::alertThresholdIs ), 2u );
    EXPECT_EQ( virtualSlot( &TempSensor::criticalThresholdIs ), 3u );
    EXPECT_EQ( virtualSlot( &TempSensor::getTemperature ), 4u );
    EXPECT_EQ( virtualSlot( &TempSensor::id ), 5u );
    EXPECT_EQ( virtualSlot( &TempSensor::reg ), 6u );
}

TEST_F( TempSensorTest, TemperatureCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( sensor_, getTemperature( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 36.5f ), Return( PL_STATUS_FAULT ) ) );
    float celsius = 0;
    EXPECT_EQ( record_->ops->get_temperature( record_, &celsius ), PL_STATUS_FAULT );
    EXPECT_EQ( celsius, 36.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, callOn( "getTemperatureCallback", record_ ) } } ) );
}

TEST_F( TempSensorTest, ThresholdsAreKeptUnlessADriverHasAnotherUseForThem ) {
    EXPECT_EQ( sensor_.alertThresholdIs( 61.5f ), PL_STATUS_OK );
    EXPECT_EQ( sensor_.criticalThresholdIs( 72.25f ), PL_STATUS_OK );
    EXPECT_EQ( sensor_.alertThreshold(), 61.5f );
    EXPECT_EQ( sensor_.criticalThreshold(), 72.25f );
}

TEST_F( TempSensorTest, AddSetsTheThresholdsAndReturnsTheRecord ) {
    driver_.newTempSensor = [ & ]( const Drivers::DriverArgs & ) { return &sensor_; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_temp_sensor_add( text.c_str(), 60.5f, 70.25f ), record_ );
    EXPECT_EQ( sensor_.alertThreshold(), 60.5f );
    EXPECT_EQ( sensor_.criticalThreshold(), 70.25f );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "setting alert threshold" },
                                                       { 0, "setting critical threshold" } } ) );
}

TEST_F( TempSensorTest, AddHandsTheThresholdsToTheDriversOwnSetters ) {
    class Driven final : public MockTempSensor {
      public:
        MOCK_METHOD( pl_status, alertThresholdIs, ( float ), ( override ) );
        MOCK_METHOD( pl_status, criticalThresholdIs, ( float ), ( override ) );
    } sensor;
    driver_.newTempSensor = [ & ]( const Drivers::DriverArgs & ) { return &sensor; };
    const testing::InSequence inOrder;
    EXPECT_CALL( sensor, alertThresholdIs( 60.5f ) ).WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_CALL( sensor, criticalThresholdIs( 70.25f ) ).WillOnce( Return( PL_STATUS_OK ) );
    EXPECT_EQ( pl_temp_sensor_add( scriptedDescription().c_str(), 60.5f, 70.25f ),
               sensor.record() );
}

TEST_F( TempSensorTest, AddOfATextThatIsNotJsonGivesNullWithoutATraceOfItsOwn ) {
    EXPECT_EQ( pl_temp_sensor_add( "?", 1, 2 ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?" ) );
}

TEST_F( TempSensorTest, AddWithAnUnknownDriverGivesNullWithoutATraceOfItsOwn ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_temp_sensor_add( text.c_str(), 1, 2 ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text ) );
    EXPECT_TRUE( Component::DeviceBase::devices.empty() );
}

TEST_F( TempSensorTest, AddGivesNullSilentlyWhenTheDriverMakesNoTempSensor ) {
    driver_.newTempSensor = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_temp_sensor_add( text.c_str(), 1, 2 ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
}

TEST_F( TempSensorTest, AddThrowsForADriverWithoutTempSensors ) {
    try {
        pl_temp_sensor_add( scriptedDescription().c_str(), 1, 2 );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newTempSensor" );
    }
}

} // namespace
