#include "smbusd/bus/MasterNames.h"

#include <gtest/gtest.h>

namespace {

TEST( MasterNames, AreTheNamesOfTheMedia ) {
    const std::vector<std::pair<Smbus::MasterType, std::string_view>> expected = {
        { Smbus::SIMULATED, "Simulated" },
        { Smbus::I2C, "I2C" },
        { Smbus::SCD, "SCD" },
        { Smbus::IO_PORT, "IOPort" },
        { Smbus::CELESTICA, "Celestica" },
        { Smbus::PLM, "PLM" },
        { Smbus::SCC_SPI, "SccSpi" },
    };
    EXPECT_EQ( smbusd::masterNames().size(), expected.size() );
    for ( const auto &[ master, name ] : expected ) {
        EXPECT_EQ( smbusd::masterName( master ), name );
        EXPECT_EQ( smbusd::masterFromName( name ), master );
    }
    EXPECT_EQ( smbusd::masterFromName( "scd" ), std::nullopt );
    EXPECT_EQ( smbusd::masterFromName( "" ), std::nullopt );
}

} // namespace
