#include "OrvanGeneric/Drivers/Dummy.h"

#include <functional>
#include <memory>
#include <ostream>

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::HardwareDevice;
using Drivers::DriverArgs;

struct Operation {
    const char *name;
    std::function<void( HardwareDevice &, const DriverArgs & )> call;
};

void PrintTo( const Operation &operation, std::ostream *out ) {
    *out << operation.name;
}

class DummyOperation : public testing::TestWithParam<Operation> {};

TEST_P( DummyOperation, ThrowsWithItsOwnName ) {
    const DriverArgs args;
    const std::unique_ptr<HardwareDevice> dummy( Drivers::Dummy::create( args, nullptr ) );
    try {
        GetParam().call( *dummy, args );
        FAIL() << "offered";
    } catch ( const Component::NotImplementedException &exception ) {
        EXPECT_EQ( exception.what(), std::string( "Not implemented " ) + GetParam().name );
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryFactoryOperation, DummyOperation,
    testing::Values( Operation{ "newPoePort", []( auto &d, auto &a ) { d.newPoePort( a ); } },
                     Operation{ "newTempSensor", []( auto &d, auto &a ) { d.newTempSensor( a ); } },
                     Operation{ "newSlot", []( auto &d, auto &a ) { d.newSlot( a ); } },
                     Operation{ "newSfpXcvr", []( auto &d, auto &a ) { d.newSfpXcvr( 1, a ); } },
                     Operation{ "newQsfpXcvr", []( auto &d, auto &a ) { d.newQsfpXcvr( 1, a ); } },
                     Operation{ "newLed", []( auto &d, auto &a ) { d.newLed( a ); } },
                     Operation{ "newFan", []( auto &d, auto &a ) { d.newFan( a ); } },
                     Operation{ "newMux", []( auto &d, auto &a ) { d.newMux( a, 1 ); } },
                     Operation{ "newPsu", []( auto &d, auto &a ) { d.newPsu( a ); } },
                     Operation{ "newSmbusProxy",
                                []( auto &d, auto &a ) { d.newSmbusProxy( a ); } } ),
    []( const auto &tested ) { return std::string( tested.param.name ); } );

TEST( Dummy, StillMakesAGpioOfARegisterBit ) {
    DriverArgs args;
    args.driverArgs = { { "register", "18" }, { "bitpos", "3" } };
    ScriptedHam ham;
    const std::unique_ptr<HardwareDevice> dummy( Drivers::Dummy::create( args, &ham ) );
    dummy->hamIs( &ham );
    const std::unique_ptr<Component::LogicalDevice::Gpio> gpio( dummy->newGpio( args ) );
    ham.bytes[ 18 ] = 0x08;
    unsigned value = 0;
    EXPECT_EQ( gpio->bitRead( &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1u );
    EXPECT_EQ( ham.log, ( std::vector<std::string>{ "prepare", "read8 0x12", "execute" } ) );
}

TEST( Dummy, FactoryDoesNotTouchTheHam ) {
    ScriptedHam ham;
    const std::unique_ptr<HardwareDevice> dummy( Drivers::Dummy::create( {}, &ham ) );
    EXPECT_TRUE( ham.log.empty() );
    EXPECT_FALSE( ham.initialised );
}

TEST( Dummy, HasNothingToSimulate ) {
    const std::unique_ptr<HardwareDevice> dummy( Drivers::Dummy::create( {}, nullptr ) );
    EXPECT_EQ( dummy->expectedValues(), &Component::emptyExpectedValues );
    EXPECT_TRUE( dummy->expectedValues()->empty() );
}

} // namespace
