#include "OrvanGeneric/Components/Gpio.h"

#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>

#include <gmock/gmock.h>

#include "OrvanGeneric/Components/MultiDevice.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "tests/support/HostRecord.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Gpio;
using Component::LogicalDevice::RegGpio;
using testing::_;
using testing::DoAll;
using testing::HasSubstr;
using testing::Return;
using testing::SetArgPointee;
using Log = std::vector<std::string>;

class MockGpio final : public Gpio {
  public:
    MOCK_METHOD( pl_status, bitClear, (), ( override ) );
    MOCK_METHOD( pl_status, bitSet, (), ( override ) );
    MOCK_METHOD( pl_status, bitRead, ( unsigned int * ), ( override ) );
};

class GpioTest : public testing::Test {
  protected:
    MockGpio gpio_;
    pl_gpio *record_ = gpio_.record();
    ScriptedDriver driver_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( GpioTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( gpio_, &Gpio::ops_ );
}

TEST_F( GpioTest, WriteOnlyFlagStandsBehindTheRecord ) {
    EXPECT_EQ( reinterpret_cast<char *>( &gpio_.writeOnly ),
               reinterpret_cast<char *>( record_ ) + sizeof( pl_gpio ) );
    EXPECT_FALSE( gpio_.writeOnly );
    EXPECT_EQ( sizeof( gpio_.writeOnly ), 1u );
}

TEST_F( GpioTest, TableHoldsItsSizeAndTheCallbacks ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( Gpio::ops_.size, 16u );
    EXPECT_EQ( offsetof( pl_gpio_ops, bit_set ), 4u );
    EXPECT_EQ( Gpio::ops_.bit_set, Gpio::bitSetCallback );
    EXPECT_EQ( offsetof( pl_gpio_ops, bit_clear ), 8u );
    EXPECT_EQ( Gpio::ops_.bit_clear, Gpio::bitClearCallback );
    EXPECT_EQ( offsetof( pl_gpio_ops, bit_read ), 12u );
    EXPECT_EQ( Gpio::ops_.bit_read, Gpio::bitReadCallback );
}

TEST_F( GpioTest, VirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &Gpio::bitClear ), 2u );
    EXPECT_EQ( virtualSlot( &Gpio::bitSet ), 3u );
    EXPECT_EQ( virtualSlot( &Gpio::bitRead ), 4u );
}

TEST_F( GpioTest, SetCallbackTracesItsNameAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( gpio_, bitSet() ).WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( record_->ops->bit_set( record_ ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "bitSetCallback" } } ) );
}

TEST_F( GpioTest, ClearCallbackTracesItsNameAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( gpio_, bitClear() ).WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( record_->ops->bit_clear( record_ ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "bitClearCallback" } } ) );
}

TEST_F( GpioTest, ReadCallbackTracesItsNameAndReturnsTheObjectsAnswer ) {
    EXPECT_CALL( gpio_, bitRead( _ ) )
        .WillOnce( DoAll( SetArgPointee<0>( 1u ), Return( PL_STATUS_FAULT ) ) );
    unsigned value = 0;
    EXPECT_EQ( record_->ops->bit_read( record_, &value ), PL_STATUS_FAULT );
    EXPECT_EQ( value, 1u );
    EXPECT_EQ( host_.traces, ( Traces{ { 4, "bitReadCallback" } } ) );
}

TEST_F( GpioTest, AddReturnsTheRecordOfTheDriversLine ) {
    std::string bank;
    driver_.newGpio = [ & ]( const Drivers::DriverArgs &args ) {
        bank = args.driverArgs.at( "bank" );
        return &gpio_;
    };
    const std::string text = scriptedDescription( R"({"bank":1})" );
    EXPECT_EQ( pl_gpio_add( text.c_str() ), record_ );
    EXPECT_EQ( bank, "1" );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
}

TEST_F( GpioTest, AddMakesARegisterBitOnADriverWithoutLinesOfItsOwn ) {
    const std::string text = scriptedDescription( R"({"register":10,"bitpos":1})" );
    pl_gpio *made = pl_gpio_add( text.c_str() );
    ASSERT_NE( made, nullptr );
    auto *gpio = static_cast<Gpio *>( made->priv );
    EXPECT_NE( dynamic_cast<RegGpio *>( gpio ), nullptr );
    EXPECT_EQ( made, gpio->record() );
    delete gpio;
}

TEST_F( GpioTest, AddOfATextThatIsNotJsonGivesNullWithoutATraceOfItsOwn ) {
    EXPECT_EQ( pl_gpio_add( "?" ), nullptr );
    EXPECT_EQ( host_.traces, unparsable( "?" ) );
}

TEST_F( GpioTest, AddWithAnUnknownDriverGivesNullWithoutATraceOfItsOwn ) {
    const std::string text = scriptedDescription( "{}", "Nobody" );
    EXPECT_EQ( pl_gpio_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, unknownDriver( text ) );
    EXPECT_TRUE( Component::DeviceBase::devices.empty() );
}

TEST_F( GpioTest, AddGivesNullSilentlyWhenTheDriverMakesNoLine ) {
    driver_.newGpio = []( const Drivers::DriverArgs & ) { return nullptr; };
    const std::string text = scriptedDescription();
    EXPECT_EQ( pl_gpio_add( text.c_str() ), nullptr );
    EXPECT_EQ( host_.traces, scriptedCreation( text ) );
}

TEST_F( GpioTest, AddThrowsForADeviceComposedOfOthers ) {
    Drivers::drivers[ "Composed" ] = []( const Drivers::DriverArgs &, Ham::Ham * ) {
        return new Component::MultiDevice();
    };
    try {
        pl_gpio_add( R"({"did":5,"driver":"Composed","address":{"address":32},
                         "isMultiDevice":true,"multiDeviceArgs":{}})" );
        ADD_FAILURE() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented newGpio" );
    }
    Drivers::drivers.erase( "Composed" );
}

class RegGpioTest : public testing::Test {
  protected:
    RegGpioTest() { device_.hamIs( &ham_ ); }

    static Drivers::DriverArgs args( const std::string &reg, const std::string &bitpos ) {
        Drivers::DriverArgs result;
        result.driverArgs = { { "register", reg }, { "bitpos", bitpos } };
        return result;
    }

    ScriptedHam ham_;
    Drivers::Dummy device_;
};

TEST_F( RegGpioTest, ReadsItsBit ) {
    RegGpio gpio( args( "32", "7" ), &device_ );
    ham_.bytes[ 32 ] = 0x80;
    unsigned value = 9;
    EXPECT_EQ( gpio.bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1u );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x20", "execute" } ) );
    ham_.bytes[ 32 ] = 0x7f;
    EXPECT_EQ( gpio.bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0u );
}

TEST_F( RegGpioTest, ClearWritesTheOtherBitsBack ) {
    RegGpio gpio( args( "32", "7" ), &device_ );
    ham_.bytes[ 32 ] = 0x80;
    EXPECT_EQ( gpio.bitClear(), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x20", "execute", "prepare",
                                      "write8 0x20 0x00", "execute" } ) );
    ham_.bytes[ 32 ] = 0xff;
    EXPECT_EQ( gpio.bitClear(), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 32 ], 0x7f );
}

TEST_F( RegGpioTest, SetWritesTheOtherBitsBack ) {
    RegGpio gpio( args( "10", "1" ), &device_ );
    ham_.bytes[ 10 ] = 0x81;
    EXPECT_EQ( gpio.bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x0a", "execute", "prepare", "write8 0x0a 0x83",
                                "execute" } ) );
}

TEST_F( RegGpioTest, ABitThatIsSetAlreadyIsWrittenAllTheSame ) {
    RegGpio gpio( args( "10", "0" ), &device_ );
    ham_.bytes[ 10 ] = 0x01;
    EXPECT_EQ( gpio.bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x0a", "execute", "prepare", "write8 0x0a 0x01",
                                "execute" } ) );
}

TEST_F( RegGpioTest, AWriteOnlyRegisterIsNotReadAndGetsTheBitAlone ) {
    RegGpio gpio( args( "8", "3" ), &device_ );
    gpio.writeOnly = true;
    ham_.bytes[ 8 ] = 0xff;
    EXPECT_EQ( gpio.bitSet(), PL_STATUS_OK );
    EXPECT_EQ( gpio.bitClear(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x08 0x08", "execute", "prepare",
                                "write8 0x08 0x00", "execute" } ) );
}

TEST_F( RegGpioTest, ARegisterNumberIsNotCutToAByte ) {
    RegGpio gpio( args( "4660", "0" ), &device_ );
    unsigned value;
    EXPECT_EQ( gpio.bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x1234", "execute" } ) );
}

TEST_F( RegGpioTest, AFailedReadIsReturnedAndNothingIsWritten ) {
    RegGpio gpio( args( "8", "3" ), &device_ );
    ham_.statuses = { 6, 4 };
    EXPECT_EQ( gpio.bitSet(), PL_STATUS_FAILED );
    EXPECT_EQ( gpio.bitClear(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "read8 0x08", "execute", "prepare", "read8 0x08", "execute" } ) );
}

TEST_F( RegGpioTest, AFailedReadLeavesTheValueAlone ) {
    RegGpio gpio( args( "8", "3" ), &device_ );
    ham_.statuses = { 6 };
    unsigned value = 77;
    EXPECT_EQ( gpio.bitRead( &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, 77u );
}

TEST_F( RegGpioTest, AFailedWriteIsReturned ) {
    RegGpio gpio( args( "8", "3" ), &device_ );
    ham_.statuses = { 0, 4, 0, 6 };
    EXPECT_EQ( gpio.bitSet(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( gpio.bitClear(), PL_STATUS_FAILED );
}

TEST_F( RegGpioTest, BothArgumentsAreRequired ) {
    Drivers::DriverArgs onlyBit;
    onlyBit.driverArgs = { { "bitpos", "3" } };
    EXPECT_DEATH( RegGpio( onlyBit, &device_ ), HasSubstr( "`it != args.driverArgs.end()'" ) );
    Drivers::DriverArgs onlyRegister;
    onlyRegister.driverArgs = { { "register", "3" } };
    EXPECT_DEATH( RegGpio( onlyRegister, &device_ ), HasSubstr( "`it != args.driverArgs.end()'" ) );
}

TEST_F( RegGpioTest, ArgumentsMustBeNumbers ) {
    EXPECT_THROW( RegGpio( args( "first", "3" ), &device_ ), std::invalid_argument );
    EXPECT_THROW( RegGpio( args( "3", "" ), &device_ ), std::invalid_argument );
}

TEST_F( RegGpioTest, ABitOutsideAByteAborts ) {
    EXPECT_DEATH( RegGpio( args( "3", "8" ), &device_ ),
                  HasSubstr( "`bitpos_ >= 0 && bitpos_ <= 7'" ) );
    EXPECT_DEATH( RegGpio( args( "3", "-1" ), &device_ ),
                  HasSubstr( "`bitpos_ >= 0 && bitpos_ <= 7'" ) );
}

TEST_F( RegGpioTest, UseWithoutAHamAborts ) {
    device_.hamIs( nullptr );
    RegGpio gpio( args( "3", "3" ), &device_ );
    EXPECT_DEATH( gpio.bitSet(), HasSubstr( "Assertion `ham' failed" ) );
}

} // namespace
