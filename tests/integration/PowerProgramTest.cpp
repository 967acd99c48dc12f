#include <gtest/gtest.h>

#include "tests/integration/BoardProgram.h"

namespace {

class PowerProgram : public testing::Test, protected BoardProgram {
  protected:
    PowerProgram() : BoardProgram( "mirelund-power" ) {}

    /** The bay's presence, model and serial number as "get" prints them. */
    std::string bay( const std::string &name ) const {
        std::string text;
        for ( const char *reading : { "present", "model", "serial" } )
            text += printed( { "get", name, reading } );
        return text;
    }
};

TEST_F( PowerProgram, SupplyShowsWhatItTakesAndGives ) {
    EXPECT_EQ( printed( { "get", "psu1" } ),
               "powergood 1\nvin 230.00 V\niin 1.135 A\npin 261.0 W\n"
               "vout 12.000 V\niout 20.00 A\npout 240.0 W\nefficiency 92.0 %\n" );
}

TEST_F( PowerProgram, SupplyWithoutMainsShowsNoEfficiency ) {
    ctl( { "set", "psu1", "vin", "0" } );
    EXPECT_EQ( printed( { "get", "psu1" } ),
               "powergood 0\nvin 0.00 V\niin 0.000 A\npin 0.0 W\n"
               "vout 0.000 V\niout 0.00 A\npout 0.0 W\nefficiency -\n" );
}

TEST_F( PowerProgram, BayShowsItsSupplyAtEachStep ) {
    EXPECT_EQ( bay( "bay1" ), "1\nDPS550AB6A\nGTVD1615001656\n" );
    ctl( { "unplug", "supply1" } );
    EXPECT_EQ( bay( "bay1" ), "0\n-\n-\n" );
    EXPECT_EQ( orvan( { "get", "psu1", "vin" } ).exitCode, 1 );
    ctl( { "plug", "supply1-other" } );
    EXPECT_EQ( bay( "bay1" ), "1\nPS-2471-1AZ1-LF\n61AZ10101E340DU\n" );
    // 240 W of 533 * 2^-1 W.
    EXPECT_EQ( printed( { "get", "psu1", "efficiency" } ), "90.1 %\n" );
    ctl( { "unplug", "supply1-other" } );
    ctl( { "plug", "supply1-without-ac" } );
    EXPECT_EQ( bay( "bay1" ), "0\n-\n-\n" );
    EXPECT_EQ( printed( { "get", "psu1", "powergood" } ), "0\n" );
    ctl( { "unplug", "supply1-without-ac" } );
    ctl( { "plug", "supply1" } );
    EXPECT_EQ( bay( "bay1" ), "1\nDPS550AB6A\nGTVD1615001656\n" );
    EXPECT_EQ( printed( { "get", "psu1", "powergood" } ), "1\n" );
}

TEST_F( PowerProgram, FansAreDrivenInRevolutions ) {
    printed( { "set", "psu2-fan1", "rpm", "3000" } );
    EXPECT_NE( ctl( { "read", "psu2", "0x3B" } ).find( "0x12EE" ), std::string::npos );
    printed( { "set", "psu1-fan", "rpm", "50%" } );
    EXPECT_NE( ctl( { "read", "psu1", "0x3B" } ).find( "0x0032" ), std::string::npos );
}

} // namespace
