#include "OrvanGeneric/Components/Psu.h"

#include <exception>

#include <gmock/gmock.h>

#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Psu;
using testing::_;
using testing::DoAll;
using testing::Return;
using testing::SetArgPointee;

// Supplies live as long as the process and have no virtual destructor.
class MockPsu final : public Psu {
  public:
    MOCK_METHOD( pl_status, get_power_ok, ( int * ), ( override ) );
    MOCK_METHOD( pl_status, get_input_current, ( float * ), ( override ) );
    MOCK_METHOD( pl_status, get_output_current, ( float * ), ( override ) );
    MOCK_METHOD( pl_status, get_input_voltage, ( float * ), ( override ) );
    MOCK_METHOD( pl_status, get_output_voltage, ( float * ), ( override ) );
    MOCK_METHOD( pl_status, get_input_power, ( float * ), ( override ) );
    MOCK_METHOD( pl_status, get_output_power, ( float * ), ( override ) );
};

class PsuTest : public testing::Test {
  protected:
    MockPsu psu_;
    pl_psu *record_ = psu_.record();
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( PsuTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( psu_, &Psu::ops_ );
}

TEST_F( PsuTest, TableHoldsItsSizeAnEmptyEntryAndTheCallbacks ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( Psu::ops_.size, 36u );
    EXPECT_EQ( offsetof( pl_psu_ops, reserved ), 4u );
    EXPECT_EQ( Psu::ops_.reserved, nullptr );
    EXPECT_EQ( offsetof( pl_psu_ops, get_power_ok ), 8u );
    EXPECT_EQ( Psu::ops_.get_power_ok, Psu::get_power_ok_callback );
    EXPECT_EQ( offsetof( pl_psu_ops, get_input_current ), 12u );
    EXPECT_EQ( Psu::ops_.get_input_current, Psu::get_input_current_callback );
    EXPECT_EQ( offsetof( pl_psu_ops, get_output_current ), 16u );
    EXPECT_EQ( Psu::ops_.get_output_current, Psu::get_output_current_callback );
    EXPECT_EQ( offsetof( pl_psu_ops, get_input_voltage ), 20u );
    EXPECT_EQ( Psu::ops_.get_input_voltage, Psu::get_input_voltage_callback );
    EXPECT_EQ( offsetof( pl_psu_ops, get_output_voltage ), 24u );
    EXPECT_EQ( Psu::ops_.get_output_voltage, Psu::get_output_voltage_callback );
    EXPECT_EQ( offsetof( pl_psu_ops, get_input_power ), 28u );
    EXPECT_EQ( Psu::ops_.get_input_power, Psu::get_input_power_callback );
    EXPECT_EQ( offsetof( pl_psu_ops, get_output_power ), 32u );
    EXPECT_EQ( Psu::ops_.get_output_power, Psu::get_output_power_callback );
}

TEST_F( PsuTest, VirtualOperationsBeginWithoutADestructor ) {
    EXPECT_EQ( virtualSlot( &Psu::get_power_ok ), 0u );
    EXPECT_EQ( virtualSlot( &Psu::get_input_current ), 1u );
    EXPECT_EQ( virtualSlot( &Psu::get_output_current ), 2u );
    EXPECT_EQ( virtualSlot( &Psu::get_input_voltage ), 3u );
    EXPECT_EQ( virtualSlot( &Psu::get_output_voltage ), 4u );
    EXPECT_EQ( virtualSlot( &Psu::get_input_power ), 5u );
    EXPECT_EQ( virtualSlot( &Psu::get_output_power ), 6u );
}

TEST_F( PsuTest, PowerOkCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_power_ok( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1 ), Return( PL_STATUS_FAULT ) ) );
    int ok = 0;
    EXPECT_EQ( record_->ops->get_power_ok( record_, &ok ), PL_STATUS_FAULT );
    EXPECT_EQ( ok, 1 );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_power_ok_callback" } } ) );
}

TEST_F( PsuTest, InputCurrentCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_input_current( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 10.5f ), Return( PL_STATUS_TRANSPORT ) ) );
    float value = 0;
    EXPECT_EQ( record_->ops->get_input_current( record_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 10.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_input_current_callback" } } ) );
}

TEST_F( PsuTest, OutputCurrentCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_output_current( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 11.5f ), Return( PL_STATUS_TRANSPORT ) ) );
    float value = 0;
    EXPECT_EQ( record_->ops->get_output_current( record_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 11.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_output_current_callback" } } ) );
}

TEST_F( PsuTest, InputVoltageCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_input_voltage( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 12.5f ), Return( PL_STATUS_TRANSPORT ) ) );
    float value = 0;
    EXPECT_EQ( record_->ops->get_input_voltage( record_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 12.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_input_voltage_callback" } } ) );
}

TEST_F( PsuTest, OutputVoltageCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_output_voltage( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 13.5f ), Return( PL_STATUS_TRANSPORT ) ) );
    float value = 0;
    EXPECT_EQ( record_->ops->get_output_voltage( record_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 13.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_output_voltage_callback" } } ) );
}

TEST_F( PsuTest, InputPowerCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_input_power( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 14.5f ), Return( PL_STATUS_TRANSPORT ) ) );
    float value = 0;
    EXPECT_EQ( record_->ops->get_input_power( record_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 14.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_input_power_callback" } } ) );
}

TEST_F( PsuTest, OutputPowerCallbackTracesAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( psu_, get_output_power( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 15.5f ), Return( PL_STATUS_TRANSPORT ) ) );
    float value = 0;
    EXPECT_EQ( record_->ops->get_output_power( record_, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, 15.5f );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "get_output_power_callback" } } ) );
}

TEST_F( PsuTest, AddReturnsTheRecordOfTheDriversSupply ) {
    std::string page;
    driver_.newPsu = [ & ]( const Drivers::DriverArgs &args ) {
        page = args.driverArgs.at( "page" );
        return &psu_;
    };
    const std::string text = scriptedDescription( R"({"page":1})" );
    EXPECT_EQ( pl_psu_add( text.c_str() ), record_ );
    EXPECT_EQ( page, "1" );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
}

TEST_F( PsuTest, AddOfATextThatIsNotJsonGivesNull ) {
    EXPECT_EQ( pl_psu_add( "?" ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?", { { 0, "DeviceBase::create() failed" } } ) );
}

TEST_F( PsuTest, AddWithAnUnknownDriverGivesNull ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_psu_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text, { { 0, "DeviceBase::create() failed" } } ) );
    EXPECT_TRUE( Component::DeviceBase::devices.empty() );
}

TEST_F( PsuTest, AddGivesNullWhenTheDriverMakesNoPsu ) {
    driver_.newPsu = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_psu_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text, { { 0, "newPsu() failed" } } ) );
}

TEST_F( PsuTest, AddThrowsForADriverWithoutPsus ) {
    try {
        pl_psu_add( scriptedDescription().c_str() );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newPsu" );
    }
}

} // namespace
