#include "OrvanGeneric/Drivers/Mirelund/MireSPCA9555.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Log = std::vector<std::string>;

class MireSPCA9555Test : public testing::Test {
  protected:
    MireSPCA9555Test() {
        args_.driverArgs = { { "bank-io-0", "102" }, { "bank-io-1", "98" } };
        device_.reset( Drivers::MireSQSFP::create( args_, &ham_ ) );
        device_->hamIs( &ham_ );
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
};

TEST_F( MireSPCA9555Test, CreationTraces ) {
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "Creating Mirelund QSFP device" } } ) );
}

TEST_F( MireSPCA9555Test, RegistryKeyMakesTheTransceiverDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "MireSPCA9555" )( args_, &ham_ ) );
    EXPECT_NE( dynamic_cast<Drivers::MireSQSFP *>( made.get() ), nullptr );
    EXPECT_EQ( Drivers::drivers.count( "MireSQSFP" ), 0u );
}

TEST_F( MireSPCA9555Test, MissingDirectionsAbort ) {
    for ( const char *key : { "bank-io-0", "bank-io-1" } ) {
        Drivers::DriverArgs args = args_;
        args.driverArgs.erase( key );
        EXPECT_DEATH( Drivers::MireSQSFP::create( args, &ham_ ),
                      "it != args.driverArgs.end\\(\\)" );
    }
}

TEST_F( MireSPCA9555Test, InitWritesTheDirectionsOfBothBanks ) {
    EXPECT_EQ( device_->init(), 0 );
    EXPECT_EQ( ham_.log,
               ( Log{ "prepare", "write8 0x06 0x66", "write8 0x07 0x62", "execute", "prepare" } ) );
}

TEST_F( MireSPCA9555Test, StillServesItsPinsAsGpioLines ) {
    args_.driverArgs[ "bank" ] = "1";
    args_.driverArgs[ "bit" ] = "2";
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio( device_->newGpio( args_ ) );
    EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 3 ], 0x04 );
    EXPECT_THROW( device_->newSfpXcvr( 1, args_ ), Component::NotImplementedException );
}

TEST_F( MireSPCA9555Test, SimulationHoldsEveryRegisterThatTheDriverUses ) {
    const Utils::ExpectedValues &values = *device_->expectedValues();
    EXPECT_EQ( values.size(), 6u );
    for ( const unsigned reg : { 0, 1, 2, 3, 6, 7 } ) {
        EXPECT_EQ( values.at( reg ).size(), 1u ) << reg;
        EXPECT_TRUE( values.at( reg ).isNumeric() ) << reg;
    }
}

} // namespace
