/** Transceivers end to end: the built library on the front panel board's emulated chips. */
#include <csignal>

#include <gtest/gtest.h>

#include "tests/integration/EmulatedBoard.h"
#include "tests/support/SmbusClient.h"

namespace {

/** Seconds; past the time for which expanders take their inputs as fresh. */
constexpr unsigned cacheAge = 3;

int presence( pl_xcvr *xcvr ) {
    return xcvr->ops->type == PL_XCVR_TYPE_SFP ? xcvr->ops->u.sfp.get_presence( xcvr )
                                               : xcvr->ops->u.qsfp.get_presence( xcvr );
}

/** A line that must be readable. */
int read( pl_xcvr *xcvr, pl_status ( *get )( pl_xcvr *, int * ) ) {
    int value = -1;
    EXPECT_EQ( get( xcvr, &value ), PL_STATUS_OK );
    return value;
}

class FrontPanelTest : public testing::Test {
  protected:
    /** Lets one poll period pass. */
    void period() {
        EXPECT_GT( board_.host.fireAll(), 0 );
        EmulatedBoard::passTime( cacheAge );
    }

    /** A service's answer to one word of its control tool. */
    rapidjson::Document ask( const std::string &word ) const {
        rapidjson::Document answer;
        answer.Parse( board_.ctl( { "--json", word } ) );
        return answer;
    }
    unsigned counter( const std::string &bus, const char *which ) const {
        const rapidjson::Document answer = ask( "counters" );
        for ( const auto &counters : answer[ "buses" ].GetArray() ) {
            if ( counters[ "name" ].GetString() == bus ) {
                return counters[ which ].GetUint();
            }
        }
        throw std::runtime_error( "no bus " + bus );
    }

    EmulatedBoard board_{ "mirelund-frontpanel" };
};

TEST_F( FrontPanelTest, EveryCageShowsWhetherItsModuleIsPlugged ) {
    std::map<std::string, bool> plugged;
    const rapidjson::Document list = ask( "list" );
    for ( const auto &unit : list[ "units" ].GetArray() ) {
        plugged[ unit[ "name" ].GetString() ] = unit[ "plugged" ].GetBool();
    }

    std::map<std::string, pl_xcvr *> cages;
    const auto add = [ & ]( const std::string &card, int count ) {
        for ( int port = 1; port <= count; ++port ) {
            const std::string name = card + std::to_string( port );
            cages[ name ] = board_.add<pl_xcvr>( name );
        }
    };
    add( "xcvr", 48 );
    add( "s", 54 );
    add( "q", 48 );
    int present = 0;
    for ( const auto &[ name, cage ] : cages ) {
        ASSERT_NE( cage, nullptr ) << name;
        EXPECT_EQ( presence( cage ), plugged.at( name ) ? 1 : 0 ) << name;
        present += plugged.at( name );
    }
    EXPECT_EQ( present, 55 );

    test::RawClient control( board_.service.control() );
    for ( const auto &[ name, cage ] : cages ) {
        const char *command = plugged.at( name ) ? "unplug" : "plug";
        control.sendBytes( std::string( R"({ "command": ")" ) + command + R"(", "name": ")" + name +
                           "\" }\n" );
        ASSERT_EQ( control.receiveLine(), R"({"ok":true})" );
    }
    for ( const auto &[ name, cage ] : cages ) {
        EXPECT_EQ( presence( cage ), plugged.at( name ) ? 1 : 0 ) << name << ", before the poll";
    }
    period();
    for ( const auto &[ name, cage ] : cages ) {
        EXPECT_EQ( presence( cage ), plugged.at( name ) ? 0 : 1 ) << name;
    }
}

TEST_F( FrontPanelTest, QsfpCagesOfTheYCardReadWhatTheExpanderDrives ) {
    for ( int port = 49; port <= 56; ++port ) {
        const std::string name = "xcvr" + std::to_string( port );
        pl_xcvr *cage = board_.add<pl_xcvr>( name );
        board_.ctl( { "plug", name } );
        EXPECT_EQ( presence( cage ), 0 ) << name;
    }
}

TEST_F( FrontPanelTest, APollIsOneTransactionOfFourReadsAndQueriesAreNone ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "xcvr7" );
    const unsigned transactions = counter( "y-0", "transactions" );
    const unsigned operations = counter( "y-0", "operations" );
    EXPECT_EQ( board_.host.fireAll(), 1 );
    EXPECT_EQ( counter( "y-0", "transactions" ), transactions + 1 );
    EXPECT_EQ( counter( "y-0", "operations" ), operations + 4 );
    EXPECT_EQ( presence( cage ), 1 );
    read( cage, cage->ops->u.sfp.get_rx_los );
    EXPECT_EQ( counter( "y-0", "transactions" ), transactions + 1 );
}

TEST_F( FrontPanelTest, SfpLinesOfACpldReachTheHost ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "xcvr22" );
    pl_xcvr *neighbour = board_.add<pl_xcvr>( "xcvr23" );
    const pl_sfp_ops &ops = cage->ops->u.sfp;
    EXPECT_EQ( read( cage, ops.get_rx_los ), 0 );
    EXPECT_EQ( read( cage, ops.get_tx_fault ), 0 );
    board_.ctl( { "set", "y-cpld2", "los6", "1" } );
    board_.ctl( { "set", "y-cpld2", "txfault6", "1" } );
    period();
    EXPECT_EQ( read( cage, ops.get_rx_los ), 1 );
    EXPECT_EQ( read( cage, ops.get_tx_fault ), 1 );
    EXPECT_EQ( read( neighbour, ops.get_rx_los ), 0 );
    EXPECT_EQ( read( neighbour, ops.get_tx_fault ), 0 );
}

TEST_F( FrontPanelTest, TransmitDisableReachesTheCpldAndReadsBack ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "xcvr7" );
    const pl_sfp_ops &ops = cage->ops->u.sfp;
    // Ports 5 to 8: the first is empty (no light), the others hold modules.
    EXPECT_EQ( board_.peek( "y-cpld1", 2 ), 0x1222u );
    EXPECT_EQ( ops.set_tx_disable( cage, 1 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "y-cpld1", 2 ), 0x1262u );
    EXPECT_EQ( read( cage, ops.get_tx_disable ), 1 );
    period();
    EXPECT_EQ( read( cage, ops.get_tx_disable ), 1 );
    EXPECT_EQ( ops.set_tx_disable( cage, 0 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "y-cpld1", 2 ), 0x1222u );
}

TEST_F( FrontPanelTest, QsfpLinesOfACpldGoBothWays ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "q17" );
    const pl_qsfp_ops &ops = cage->ops->u.qsfp;
    // Ports 17 to 20: every other one holds a module; none in reset, no interrupt.
    EXPECT_EQ( board_.peek( "q-cpld2", 1 ), 0xECECu );
    EXPECT_EQ( read( cage, ops.get_reset ), 0 );
    EXPECT_EQ( read( cage, ops.get_interrupt ), 0 );
    board_.ctl( { "set", "q-cpld2", "interrupt1", "1" } );
    period();
    EXPECT_EQ( read( cage, ops.get_interrupt ), 1 );
    EXPECT_EQ( ops.set_reset( cage, 1 ), PL_STATUS_OK );
    EXPECT_EQ( ops.set_lp_mode( cage, 1 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "q-cpld2", 1 ), 0x3CECu );
    period();
    EXPECT_EQ( read( cage, ops.get_reset ), 1 );
    EXPECT_EQ( read( cage, ops.get_lp_mode ), 1 );
    EXPECT_EQ( ops.set_reset( cage, 0 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "q-cpld2", 1 ), 0xBCECu );
}

TEST_F( FrontPanelTest, SfpLinesOfAnExpanderGoBothWays ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "s16" ); // bank 3, upper nibble of the second expander
    const pl_sfp_ops &ops = cage->ops->u.sfp;
    for ( unsigned bank = 0; bank < 4; ++bank ) {
        EXPECT_EQ( board_.peek( "s-sfp2", 0x18 + bank ), 0xBBu );
    }
    EXPECT_EQ( read( cage, ops.get_tx_disable ), 0 );
    EXPECT_EQ( ops.set_tx_disable( cage, 1 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "s-sfp2", 0x0B ), 0x40u );
    board_.ctl( { "set", "s-sfp2", "p35", "1" } );
    board_.ctl( { "set", "s-sfp2", "p37", "1" } );
    EmulatedBoard::passTime( cacheAge );
    EXPECT_EQ( read( cage, ops.get_tx_disable ), 1 );
    EXPECT_EQ( read( cage, ops.get_rx_los ), 1 );
    EXPECT_EQ( read( cage, ops.get_tx_fault ), 1 );
}

TEST_F( FrontPanelTest, QsfpLinesOfAnExpanderBehindAMuxGoBothWays ) {
    pl_xcvr *first = board_.add<pl_xcvr>( "s50" );
    pl_xcvr *second = board_.add<pl_xcvr>( "s54" );
    EXPECT_EQ( board_.peek( "s-qsfp1", 6 ), 0x66u );
    EXPECT_EQ( board_.peek( "s-qsfp2", 7 ), 0x66u );
    EXPECT_EQ( first->ops->u.qsfp.set_reset( first, 1 ), PL_STATUS_OK );
    EXPECT_EQ( second->ops->u.qsfp.set_lp_mode( second, 1 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "s-qsfp1", 2 ), 0x67u );
    EXPECT_EQ( board_.peek( "s-qsfp2", 2 ), 0xF7u );
    board_.ctl( { "set", "s-qsfp1", "p05", "0" } ); // the second port's interrupt, active low
    EmulatedBoard::passTime( cacheAge );
    EXPECT_EQ( read( first, first->ops->u.qsfp.get_reset ), 1 );
    EXPECT_EQ( read( first, first->ops->u.qsfp.get_interrupt ), 1 );
    EXPECT_EQ( read( second, second->ops->u.qsfp.get_lp_mode ), 1 );
    EXPECT_EQ( read( second, second->ops->u.qsfp.get_interrupt ), 0 );
}

TEST_F( FrontPanelTest, QsfpLinesOfTheYCardAreInputsButForPresence ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "xcvr56" ); // bank 3, upper nibble
    const pl_qsfp_ops &ops = cage->ops->u.qsfp;
    EXPECT_EQ( board_.peek( "y-qsfp", 0x1B ), 0xBBu );
    EXPECT_EQ( ops.set_reset( cage, 1 ), PL_STATUS_OK );
    EXPECT_EQ( ops.set_lp_mode( cage, 1 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "y-qsfp", 0x0B ), 0x80u );
    EmulatedBoard::passTime( cacheAge );
    EXPECT_EQ( read( cage, ops.get_reset ), 0 ) << "the pin is not driven";
    EXPECT_EQ( read( cage, ops.get_lp_mode ), 0 ) << "the pin is not driven";
    board_.ctl( { "set", "y-qsfp", "p34", "0" } );
    board_.ctl( { "set", "y-qsfp", "p35", "0" } );
    EmulatedBoard::passTime( cacheAge );
    EXPECT_EQ( read( cage, ops.get_reset ), 1 );
    EXPECT_EQ( read( cage, ops.get_interrupt ), 1 );
}

TEST_F( FrontPanelTest, GpioLinesOfAnExpanderWithoutCages ) {
    pl_gpio *in = board_.add<pl_gpio>( "s-line0" );
    pl_gpio *out = board_.add<pl_gpio>( "s-line6" );
    unsigned value = 9;
    EXPECT_EQ( in->ops->bit_read( in, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1u );
    board_.ctl( { "set", "s-gpio", "p40", "0" } );
    EXPECT_EQ( in->ops->bit_read( in, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0u );
    EXPECT_EQ( out->ops->bit_set( out ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "s-gpio", 0x0C ), 0x40u );
    EXPECT_EQ( board_.peek( "s-gpio", 0x18 ), 0xFFu ) << "no port was set up";
}

TEST_F( FrontPanelTest, AFailedPollKeepsWhatIsKnown ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "xcvr7" );
    board_.ctl( { "fault", "inject", "y-cpld1", "nack" } );
    board_.ctl( { "unplug", "xcvr7" } );
    board_.host.traces.clear();
    period();
    EXPECT_TRUE( board_.host.traced( 0, "Failed to poll information for MireXcvrCPLD" ) );
    EXPECT_EQ( presence( cage ), 1 );
    EXPECT_EQ( cage->ops->u.sfp.set_tx_disable( cage, 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( read( cage, cage->ops->u.sfp.get_tx_disable ), 0 );
    board_.ctl( { "fault", "clear" } );
    period();
    EXPECT_EQ( presence( cage ), 0 );
}

TEST_F( FrontPanelTest, AFailedExpanderReadIsReported ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "s3" );
    board_.ctl( { "fault", "inject", "s-sfp1", "nack" } );
    EXPECT_EQ( presence( cage ), PL_STATUS_FAILED );
    int value = -7;
    EXPECT_EQ( cage->ops->u.sfp.get_tx_fault( cage, &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, -7 );
    EXPECT_TRUE( board_.host.traced( 0, "MirelundPCA9698 bitRead() failed on Bank 1 Bit 3!" ) );
    EXPECT_EQ( cage->ops->u.sfp.set_tx_disable( cage, 1 ), PL_STATUS_FAILED );
    EXPECT_TRUE( board_.host.traced( 0, "MirelundPCA9698 bitset() failed on Bank 1 Bit 2!" ) );
}

TEST_F( FrontPanelTest, ARestartedServiceIsPolledAgain ) {
    pl_xcvr *cage = board_.add<pl_xcvr>( "q1" );
    ASSERT_EQ( presence( cage ), 1 );
    board_.service.end( SIGKILL );
    period();
    EXPECT_EQ( presence( cage ), 1 ) << "what was known is kept";
    board_.service.start();
    board_.ctl( { "unplug", "q1" } );
    period();
    EXPECT_EQ( presence( cage ), 0 );
}

} // namespace
