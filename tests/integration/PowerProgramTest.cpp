#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/integration/BoardProgram.h"

namespace {

/** A printed table with one blank between its cells, and without lines that separate tables. */
std::string cells( const std::string &table ) {
    std::istringstream lines( table );
    std::string text;
    for ( std::string line; std::getline( lines, line ); ) {
        std::istringstream words( line );
        std::string row;
        for ( std::string word; words >> word; ) {
            row += ( row.empty() ? "" : " " ) + word;
        }
        if ( !row.empty() ) {
            text += row + "\n";
        }
    }
    return text;
}

class PowerProgram : public testing::Test, protected BoardProgram {
  protected:
    PowerProgram() : BoardProgram( "mirelund-power" ) {}

    /** The bay's presence, model and serial number as "get" prints them. */
    std::string bay( const std::string &name ) const {
        std::string text;
        for ( const char *reading : { "present", "model", "serial" } ) {
            text += printed( { "get", name, reading } );
        }
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

TEST_F( PowerProgram, ShowTellsOfBayAndSupplyAtEachStep ) {
    const auto shown = [ this ] { return cells( printed( { "show", "psu1", "bay1" } ) ); };
    const std::string psu = "psu powergood vin iin pin vout iout pout efficiency driver where\n";
    const std::string slot = "slot present model serial fdl driver where\n";
    const std::string psuPlace = " Pmbus scd accel 1 bus 1, 0x58\n";
    const std::string slotPlace = " PsuSlot scd accel 1 bus 1, 0x58\n";
    const std::string working = psu + "psu1 1 230.00 1.135 261.0 12.000 20.00 240.0 92.0" +
                                psuPlace + slot +
                                R"(bay1 1 DPS550AB6A GTVD1615001656 { "model": "DPS550AB6A", )"
                                R"("serial": "GTVD1615001656", "fans": 1 })" +
                                slotPlace;
    const std::string empty = slot + "bay1 0 - - -" + slotPlace;

    EXPECT_EQ( shown(), working );
    ctl( { "unplug", "supply1" } );
    EXPECT_EQ( shown(),
               psu + "psu1 failed failed failed failed failed failed failed -" + psuPlace + empty );
    ctl( { "plug", "supply1-other" } );
    // 240 W of 266.67 W, read as 533 * 2^-1; 594 * 2^-9 A.
    EXPECT_EQ( shown(), psu + "psu1 1 230.00 1.160 266.5 12.000 20.00 240.0 90.1" + psuPlace +
                            slot +
                            R"(bay1 1 PS-2471-1AZ1-LF 61AZ10101E340DU { "model": )"
                            R"("PS-2471-1AZ1-LF", "serial": "61AZ10101E340DU", "fans": 1 })" +
                            slotPlace );
    ctl( { "unplug", "supply1-other" } );
    ctl( { "plug", "supply1-without-ac" } );
    EXPECT_EQ( shown(), psu + "psu1 0 0.00 0.000 0.0 0.000 0.00 0.0 -" + psuPlace + empty );
    ctl( { "unplug", "supply1-without-ac" } );
    ctl( { "plug", "supply1" } );
    EXPECT_EQ( shown(), working );
}

TEST_F( PowerProgram, FansAreDrivenInRevolutions ) {
    printed( { "set", "psu2-fan1", "rpm", "3000" } );
    EXPECT_NE( ctl( { "read", "psu2", "0x3B" } ).find( "0x12EE" ), std::string::npos );
    printed( { "set", "psu1-fan", "rpm", "50%" } );
    EXPECT_NE( ctl( { "read", "psu1", "0x3B" } ).find( "0x0032" ), std::string::npos );
}

} // namespace
