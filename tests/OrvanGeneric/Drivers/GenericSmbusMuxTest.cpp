#include "OrvanGeneric/Drivers/GenericSmbusMux.h"

#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Log = std::vector<std::string>;

class GenericSmbusMuxTest : public testing::Test {
  protected:
    GenericSmbusMuxTest() : driver_( Drivers::GenericSmbusMux::create( args_, &ham_ ) ) {
        driver_->hamIs( &ham_ );
    }

    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> driver_;
};

TEST_F( GenericSmbusMuxTest, SelectQueuesTheLowByteOfTheSelectValue ) {
    std::unique_ptr<Component::LogicalDevice::Mux> mux( driver_->newMux( args_, 0x104 ) );
    ScriptedHam other;
    EXPECT_TRUE( mux->selectRequest( &other ) );
    EXPECT_EQ( other.log, Log{ "sendByte 0x04" } );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( GenericSmbusMuxTest, ResetQueuesZeroWhateverTheSelectValue ) {
    std::unique_ptr<Component::LogicalDevice::Mux> mux( driver_->newMux( args_, 0x80 ) );
    ScriptedHam other;
    EXPECT_TRUE( mux->resetRequest( &other ) );
    EXPECT_EQ( other.log, Log{ "sendByte 0x00" } );
}

TEST_F( GenericSmbusMuxTest, ExecuteRunsTheSelectAloneOnTheDriversOwnHam ) {
    std::unique_ptr<Component::LogicalDevice::Mux> mux( driver_->newMux( args_, 2 ) );
    EXPECT_EQ( mux->executeMuxRequest(), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "sendByte 0x02", "execute" } ) );
}

TEST_F( GenericSmbusMuxTest, ExecuteReturnsTheHamsStatus ) {
    std::unique_ptr<Component::LogicalDevice::Mux> mux( driver_->newMux( args_, 2 ) );
    ham_.statuses = { 6 };
    EXPECT_EQ( mux->executeMuxRequest(), PL_STATUS_FAILED );
}

TEST_F( GenericSmbusMuxTest, ExecuteUsesTheSelectOfADerivedMux ) {
    struct RegisterMux : Drivers::GenericSmbusMux::Mux {
        using Mux::Mux;
        bool selectRequest( Ham::Ham *ham ) override {
            ham->addWrite8( 1, 2, false );
            return true;
        }
    };
    RegisterMux mux( static_cast<Drivers::GenericSmbusMux *>( driver_.get() ), 0 );
    mux.executeMuxRequest();
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x01 0x02", "execute" } ) );
}

TEST_F( GenericSmbusMuxTest, DeviceIsTheOwningDriver ) {
    std::unique_ptr<Component::LogicalDevice::Mux> mux( driver_->newMux( args_, 2 ) );
    EXPECT_EQ( mux->device(), driver_.get() );
}

TEST_F( GenericSmbusMuxTest, BothRegistryKeysMakeThisDriver ) {
    for ( const char *key : { "GenericSmbusMux", "PCA9548" } ) {
        std::unique_ptr<Component::DeviceBase> made( Drivers::drivers.at( key )( args_, &ham_ ) );
        EXPECT_NE( dynamic_cast<Drivers::GenericSmbusMux *>( made.get() ), nullptr ) << key;
    }
}

TEST_F( GenericSmbusMuxTest, DeclaresNoSimulationValues ) {
    EXPECT_TRUE( driver_->expectedValues()->empty() );
}

} // namespace
