#include <gmock/gmock.h>

#include "tests/integration/BoardProgram.h"
#include "tests/support/Process.h"

namespace {

using testing::HasSubstr;

class SystemProgram : public testing::Test, protected BoardProgram {
  protected:
    SystemProgram() : BoardProgram( "mirelund-system" ) {}
};

TEST_F( SystemProgram, PowerOffNeedsYesAndLastsUntilPowerComesBack ) {
    const test::Finished asked = orvan( { "poweroff" } );
    EXPECT_EQ( asked.exitCode, 2 );
    EXPECT_EQ( asked.errors, "error: poweroff takes the whole board down; say --yes to do it\n" );
    EXPECT_EQ( printed( { "get", "fan1", "rpm" } ), "12500 rpm\n" );

    printed( { "poweroff", "--yes" } );
    EXPECT_EQ( orvan( { "get", "fan1", "rpm" } ).exitCode, 1 );
    EXPECT_EQ( orvan( { "poweroff", "--yes" } ).exitCode, 1 );
    ctl( { "power", "on" } );
    EXPECT_EQ( orvan( { "get", "fan1", "rpm" } ).exitCode, 0 );
}

TEST_F( SystemProgram, PowerCycleBringsTheBoardBack ) {
    printed( { "set", "fan1", "rpm", "40%" } );
    EXPECT_THAT( ctl( { "read", "psoc", "60" } ), HasSubstr( "0x0FA0" ) );
    printed( { "powercycle", "--yes" } );
    // The board is down for 300 ms.
    while ( ctl( { "--json", "list" } ).find( "\"powered\":true" ) == std::string::npos ) {
    }
    EXPECT_THAT( ctl( { "read", "psoc", "60" } ), HasSubstr( "0x1388" ) );
}

TEST_F( SystemProgram, BayShowsTheSupplyThatEitherWayIdentifies ) {
    EXPECT_EQ( printed( { "get", "bay1", "model" } ), "DPS550AB6A\n" );
    ctl( { "unplug", "new-supply" } );
    EXPECT_EQ( printed( { "get", "bay1", "present" } ), "0\n" );
    ctl( { "plug", "legacy-supply" } );
    EXPECT_EQ( printed( { "get", "bay1", "model" } ), "PS-2471-1AZ1-LF\n" );
    EXPECT_EQ( printed( { "get", "bay1", "serial" } ), "61AZ10101E340DU\n" );
}

} // namespace
