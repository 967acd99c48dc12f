/** The front panel board as a person at the host program meets it. */
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include "tests/integration/BoardProgram.h"
#include "tests/support/Process.h"

namespace {

class FrontPanelProgram : public testing::Test, protected BoardProgram {
  protected:
    FrontPanelProgram() : BoardProgram( "mirelund-frontpanel" ) {}
};

TEST_F( FrontPanelProgram, AnSfpCageIsShownAndSet ) {
    EXPECT_EQ( printed( { "get", "xcvr7" } ),
               "type sfp\npresent 1\nlos 0\ntxfault 0\ntxdisable 0\n" );
    printed( { "set", "xcvr7", "txdisable", "on" } );
    EXPECT_EQ( printed( { "get", "xcvr7", "txdisable" } ), "1\n" );
    printed( { "set", "xcvr7", "txdisable", "off" } );
    EXPECT_EQ( printed( { "get", "xcvr7", "txdisable" } ), "0\n" );
}

TEST_F( FrontPanelProgram, AQsfpCageIsShownAndSet ) {
    EXPECT_EQ( printed( { "get", "q3" } ),
               "type qsfp\npresent 1\nreset 0\nlpmode 0\nmodsel 0\ninterrupt 0\n" );
    printed( { "set", "q3", "reset", "on" } );
    printed( { "set", "q3", "lpmode", "on" } );
    EXPECT_EQ( printed( { "get", "q3" } ),
               "type qsfp\npresent 1\nreset 1\nlpmode 1\nmodsel 0\ninterrupt 0\n" );
}

TEST_F( FrontPanelProgram, CagesOnExpandersAreSet ) {
    printed( { "set", "s9", "txdisable", "on" } );
    EXPECT_EQ( printed( { "get", "s9", "txdisable" } ), "1\n" );
    EXPECT_EQ( printed( { "get", "s10", "txdisable" } ), "0\n" );
    printed( { "set", "s53", "reset", "on" } );
    EXPECT_EQ( printed( { "get", "s53", "reset" } ), "1\n" );
    EXPECT_EQ( printed( { "get", "s54", "reset" } ), "0\n" );
}

TEST_F( FrontPanelProgram, ModulesThatComeGoAndFailAreShown ) {
    ctl( { "unplug", "xcvr7" } );
    ctl( { "plug", "xcvr5" } );
    ctl( { "set", "y-cpld1", "txfault8", "1" } );
    ctl( { "set", "q-cpld1", "interrupt3", "1" } );
    EXPECT_EQ( printed( { "get", "xcvr7" } ),
               "type sfp\npresent 0\nlos 1\ntxfault 0\ntxdisable 0\n" );
    EXPECT_EQ( printed( { "get", "xcvr5" } ),
               "type sfp\npresent 1\nlos 0\ntxfault 0\ntxdisable 0\n" );
    EXPECT_EQ( printed( { "get", "xcvr8", "txfault" } ), "1\n" );
    EXPECT_EQ( printed( { "get", "q3", "interrupt" } ), "1\n" );
}

TEST_F( FrontPanelProgram, ASettingThatTheCageLacksIsRefused ) {
    const test::Finished finished = orvan( { "set", "xcvr7", "reset", "on" } );
    EXPECT_EQ( finished.exitCode, 2 );
    EXPECT_THAT( finished.errors, testing::HasSubstr( "xcvr7" ) );
    EXPECT_THAT( finished.errors, testing::HasSubstr( "txdisable" ) );
}

TEST_F( FrontPanelProgram, ABusThatFailsIsTold ) {
    ctl( { "fault", "inject", "s-sfp1", "nack" } );
    const test::Finished finished = orvan( { "get", "s1" } );
    EXPECT_EQ( finished.exitCode, 1 );
    EXPECT_EQ( finished.output,
               "type sfp\npresent failed\nlos failed\ntxfault failed\ntxdisable failed\n" );
}

TEST_F( FrontPanelProgram, ShowListsEveryCage ) {
    rapidjson::Document rows;
    rows.Parse( printed( { "show", "--json" } ) );
    ASSERT_FALSE( rows.HasParseError() );
    std::map<std::string, int> drivers;
    for ( const auto &row : rows.GetArray() ) {
        EXPECT_FALSE( row.HasMember( "failure" ) ) << row[ "name" ].GetString();
        ++drivers[ row[ "driver" ].GetString() ];
    }
    EXPECT_EQ( drivers, ( std::map<std::string, int>{ { "MireYCPLD", 48 },
                                                      { "MireYQSFP", 8 },
                                                      { "MirelundSFP", 48 + 8 },
                                                      { "MireSPCA9555", 6 },
                                                      { "MireQCPLD", 48 } } ) );
}

} // namespace
