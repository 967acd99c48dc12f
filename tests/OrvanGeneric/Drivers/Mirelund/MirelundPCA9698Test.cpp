#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::LogicalDevice::QsfpXcvr;
using Component::LogicalDevice::SfpXcvr;
using Log = std::vector<std::string>;

class MirelundPCA9698Test : public testing::Test {
  protected:
    using Factory = Component::HardwareDevice *( const Drivers::DriverArgs &, Ham::Ham * );

    Component::HardwareDevice &make( Factory *create ) {
        device_.reset( create( args_, &ham_ ) );
        device_->hamIs( &ham_ );
        return *device_;
    }
    std::unique_ptr<SfpXcvr> sfp( unsigned id ) {
        return std::unique_ptr<SfpXcvr>( device_->newSfpXcvr( id, args_ ) );
    }
    std::unique_ptr<QsfpXcvr> qsfp( unsigned id ) {
        return std::unique_ptr<QsfpXcvr>( device_->newQsfpXcvr( id, args_ ) );
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> device_;
};

TEST_F( MirelundPCA9698Test, CreationTracesTheSameTextForAllThree ) {
    for ( Factory *create : { &Drivers::MirelundSFP::create, &Drivers::MireYQSFP::create,
                              &Drivers::MireZQSFP::create } ) {
        make( create );
    }
    EXPECT_EQ( host_.traces, ( Traces( 3, Trace{ 5, "Creating Mirelund SFP device" } ) ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( MirelundPCA9698Test, SfpInitMakesTransmitDisableAnOutput ) {
    EXPECT_EQ( make( Drivers::MirelundSFP::create ).init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x18 0xbb", "write8 0x19 0xbb",
                                "write8 0x1a 0xbb", "write8 0x1b 0xbb", "execute" } ) );
    EXPECT_TRUE( host_.texts( 0 ).empty() );
}

TEST_F( MirelundPCA9698Test, YQsfpInitKeepsTheSfpDirections ) {
    EXPECT_EQ( make( Drivers::MireYQSFP::create ).init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x18 0xbb", "write8 0x19 0xbb",
                                "write8 0x1a 0xbb", "write8 0x1b 0xbb", "execute" } ) );
}

TEST_F( MirelundPCA9698Test, ZQsfpInitMakesResetAndLowPowerModeOutputs ) {
    EXPECT_EQ( make( Drivers::MireZQSFP::create ).init(), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x18 0x66", "write8 0x19 0x66",
                                "write8 0x1a 0x66", "write8 0x1b 0x66", "execute" } ) );
}

TEST_F( MirelundPCA9698Test, FailedInitIsTracedAndReturned ) {
    for ( Factory *create : { &Drivers::MirelundSFP::create, &Drivers::MireYQSFP::create,
                              &Drivers::MireZQSFP::create } ) {
        host_.traces.clear();
        ham_.statuses = { 4 };
        EXPECT_EQ( make( create ).init(), 4 );
        EXPECT_EQ( host_.texts( 0 ), Log{ "Error: failed to write PCA9698 pin configuration" } );
    }
}

TEST_F( MirelundPCA9698Test, EachDriverServesOneKindOfTransceiver ) {
    make( Drivers::MirelundSFP::create );
    EXPECT_THROW( qsfp( 49 ), Component::NotImplementedException );
    make( Drivers::MireYQSFP::create );
    EXPECT_THROW( sfp( 1 ), Component::NotImplementedException );
    make( Drivers::MireZQSFP::create );
    EXPECT_THROW( sfp( 1 ), Component::NotImplementedException );
}

TEST_F( MirelundPCA9698Test, TypeGpioServesNoTransceiverButRegisterBits ) {
    args_.driverArgs = { { "type", "gpio" }, { "register", "9" }, { "bitpos", "3" } };
    Component::HardwareDevice &device = make( Drivers::MirelundSFP::create );
    EXPECT_TRUE( host_.traced( 5, "Creating Mirelund SFP device" ) );
    EXPECT_EQ( dynamic_cast<Drivers::GPIOExpander *>( &device ), nullptr );
    EXPECT_EQ( device.init(), 0 );
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_THROW( sfp( 1 ), Component::NotImplementedException );
    EXPECT_TRUE( device.expectedValues()->empty() );
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio( device.newGpio( args_ ) );
    EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 9 ], 0x08 );
}

TEST_F( MirelundPCA9698Test, AnyOtherTypeServesTransceivers ) {
    for ( const char *type : { "sfp", "GPIO", "" } ) {
        args_.driverArgs[ "type" ] = type;
        make( Drivers::MirelundSFP::create );
        EXPECT_NE( sfp( 1 ), nullptr ) << type;
    }
}

TEST_F( MirelundPCA9698Test, SimulationHoldsEveryRegisterThatTheDriversUse ) {
    for ( Factory *create : { &Drivers::MirelundSFP::create, &Drivers::MireYQSFP::create,
                              &Drivers::MireZQSFP::create } ) {
        const Utils::ExpectedValues &values = *make( create ).expectedValues();
        EXPECT_EQ( values.size(), 12u );
        for ( const unsigned reg : { 0, 1, 2, 3, 8, 9, 10, 11, 24, 25, 26, 27 } ) {
            EXPECT_EQ( values.at( reg ).size(), 1u ) << reg;
            EXPECT_TRUE( values.at( reg ).isNumeric() ) << reg;
        }
    }
}

TEST( MirelundPCA9698Registry, KeysOfTheDrivers ) {
    Drivers::DriverArgs args;
    const auto make = [ & ]( const char *key ) {
        return std::unique_ptr<Component::DeviceBase>(
            Drivers::drivers.at( key )( args, nullptr ) );
    };
    EXPECT_NE( dynamic_cast<Drivers::MirelundSFP *>( make( "MirelundSFP" ).get() ), nullptr );
    EXPECT_NE( dynamic_cast<Drivers::MireYQSFP *>( make( "MireYQSFP" ).get() ), nullptr );
    EXPECT_EQ( Drivers::drivers.count( "MireZQSFP" ), 0u );
}

} // namespace
