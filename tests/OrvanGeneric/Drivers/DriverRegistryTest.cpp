#include <memory>
#include <typeinfo>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/MultiDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Drivers/GenericPCA9555.h"
#include "OrvanGeneric/Drivers/GenericSmbusMux.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::DeviceBase;
using Drivers::drivers;

std::unique_ptr<DeviceBase> make( const std::string &key, const Drivers::DriverArgs &args = {} ) {
    static ScriptedHam ham;
    return std::unique_ptr<DeviceBase>( drivers.at( key )( args, &ham ) );
}

TEST( DriverRegistry, EveryNameHasAFactory ) {
    EXPECT_FALSE( drivers.empty() );
    for ( const auto &[ key, factory ] : drivers ) {
        EXPECT_TRUE( factory ) << key;
    }
}

TEST( DriverRegistry, NamesThatShareAFactoryMakeTheSameClass ) {
    EXPECT_EQ( typeid( *make( "Dummy" ) ), typeid( Drivers::Dummy ) );
    EXPECT_EQ( typeid( *make( "GpioDriver" ) ), typeid( Drivers::Dummy ) );
    EXPECT_EQ( typeid( *make( "GenericSmbusMux" ) ), typeid( Drivers::GenericSmbusMux ) );
    EXPECT_EQ( typeid( *make( "PCA9548" ) ), typeid( Drivers::GenericSmbusMux ) );
}

TEST( DriverRegistry, MultiSlotMakesAMultiDevice ) {
    EXPECT_NE( dynamic_cast<Component::MultiDevice *>( make( "MultiSlot" ).get() ), nullptr );
}

TEST( DriverRegistry, GenericExpanderIsMadeByItsOwnName ) {
    Drivers::DriverArgs args;
    args.driverArgs = { { "bank-io-0", "255" }, { "bank-io-1", "255" } };
    EXPECT_EQ( typeid( *make( "GenericPCA9555", args ) ), typeid( Drivers::GenericPCA9555 ) );
}

TEST( DriverRegistry, NamesAreCaseSensitive ) {
    Drivers::DriverArgs args;
    for ( const char *key : { "dummy", "DUMMY", "pca9548", "pmbus", "ipmi", "" } ) {
        args.driver = key;
        EXPECT_EQ( DeviceBase::callDriverFactoryFunc( args, nullptr ), nullptr ) << key;
        EXPECT_EQ( FakeHost::instance().traces.back(),
                   ( Trace{ 0, std::string( "driver " ) + key + " not found" } ) );
    }
}

} // namespace
