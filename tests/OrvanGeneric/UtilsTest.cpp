#include "OrvanGeneric/Utils.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/support/FakeHost.h"

namespace {

TEST( Utils, SimulationIsUnknownAtLoad ) {
    EXPECT_EQ( Utils::isInSimulation, -1 );
}

TEST( Utils, SimulatesWhenTheVariableIsSet ) {
    setenv( "SIMULATION_VMID", "17", 1 );
    EXPECT_TRUE( Utils::inSimulation() );
    EXPECT_EQ( Utils::isInSimulation, 1 );
}

TEST( Utils, SimulatesWhenTheVariableIsEmpty ) {
    setenv( "SIMULATION_VMID", "", 1 );
    EXPECT_TRUE( Utils::inSimulation() );
    EXPECT_EQ( Utils::isInSimulation, 1 );
}

TEST( Utils, DoesNotSimulateWithoutTheVariable ) {
    unsetenv( "SIMULATION_VMID" );
    EXPECT_FALSE( Utils::inSimulation() );
    EXPECT_EQ( Utils::isInSimulation, 0 );
}

TEST( Utils, LooksAtTheEnvironmentOnce ) {
    unsetenv( "SIMULATION_VMID" );
    EXPECT_FALSE( Utils::inSimulation() );
    setenv( "SIMULATION_VMID", "1", 1 );
    EXPECT_FALSE( Utils::inSimulation() );
    Utils::isInSimulation = -1;
    EXPECT_TRUE( Utils::inSimulation() );
    unsetenv( "SIMULATION_VMID" );
    EXPECT_TRUE( Utils::inSimulation() );
}

TEST( Utils, NumericExpectedValue ) {
    const Utils::ExpectedVal value( 0xBEEF, 2 );
    EXPECT_TRUE( value.isNumeric() );
    EXPECT_EQ( value.size(), 2u );
    EXPECT_EQ( value.val(), 0xBEEFu );
    EXPECT_EQ( value.valStr(), "" );
}

TEST( Utils, TextExpectedValue ) {
    const Utils::ExpectedVal value( "PSU-1", 5 );
    EXPECT_FALSE( value.isNumeric() );
    EXPECT_EQ( value.size(), 5u );
    EXPECT_EQ( value.valStr(), "PSU-1" );
}

TEST( Utils, UsesTheOperatingSystemUnlessReplaced ) {
    const Utils::OperatingSystem system = Utils::os;
    {
        const FakeTime time;
        EXPECT_EQ( Utils::os.sleep( 3 ), 0u );
        EXPECT_EQ( FakeTime::sleeps, std::vector<unsigned>{ 3 } );
    }
    EXPECT_EQ( Utils::os.sleep, system.sleep );
    EXPECT_EQ( Utils::os.sleep, &::sleep );
    EXPECT_EQ( Utils::os.usleep, &::usleep );
    EXPECT_EQ( Utils::os.clockGettime, &::clock_gettime );
}

} // namespace
