#include <csignal>
#include <cstdlib>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"
#include "tests/support/Process.h"
#include "tests/support/SocketPeer.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::TestWithParam;
using testing::Values;

constexpr const char *topology =
    R"([{"type":"I2C","ham":"OrvanSmbus","id":3,"devices":[{"did":5}]}])";
constexpr const char *line = R"({"did":5,"driver":"GenericPCA9555","address":{"address":32},
    "driverArgs":{"bank-io-0":255,"bank-io-1":0,"bank":1,"bit":2}})";
constexpr const char *dummy =
    R"({"did":6,"driver":"Dummy","address":{"address":32},"provideHam":0})";

constexpr const char *polledPort = R"({"did":5,"driver":"MireQCPLD","address":{"address":32},
    "driverArgs":{"id":1,"type":"sfp"}})";
constexpr const char *blinkingLed = R"({"did":5,"driver":"MirelundPCA9555","address":{"address":32},
    "driverArgs":{"bank-io-0":255,"bank-io-1":15,"id":1}})";

/** The library in a host that lacks a service, or all. The parameter tells which. */
class IncompleteHostTest : public TestWithParam<const char *> {
  protected:
    IncompleteHostTest() : service_( []( auto &connection ) { connection.awaitClose(); } ) {
        setenv( "PL_SMBUS_SOCKET", service_.path().c_str(), 1 );
        setenv( "ORVANLIB_SIMDIR", simulation_.path().c_str(), 1 );
        setenv( "SIMULATION_VMID", "1", 1 );
    }

    static bool lacks( const std::string &service ) {
        return GetParam() == service || GetParam() == std::string( "all" );
    }
    static test::Finished run( std::vector<std::string> commands ) {
        commands.insert( commands.begin(),
                         std::string( ORVAN_BIN_DIR "/host_without_" ) + GetParam() );
        return test::runProgram( commands );
    }

    common::TemporaryFolder simulation_;
    support::SocketPeer service_;
};

INSTANTIATE_TEST_SUITE_P( Services, IncompleteHostTest,
                          Values( "pl_trace", "pl_timer_add", "pl_timer_set", "pl_timer_delete",
                                  "pl_fd_watcher_delete", "all" ),
                          []( const auto &host ) { return std::string( host.param ); } );

TEST_P( IncompleteHostTest, TheLibraryLoadsAndRefusesWhatIsNoDescription ) {
    const test::Finished host = run( { "add", "fan", "?" } );
    EXPECT_EQ( host.exitCode, 0 ) << host.errors;
    if ( lacks( "pl_trace" ) ) {
        EXPECT_EQ( host.output, "null\n" );
    } else {
        EXPECT_EQ( host.output, "trace 0 parsing devArgs = ?\n"
                                "trace 0 failed to load device from json: Invalid value. offset 0\n"
                                "trace 0 failed to parse json object as a device\n"
                                "trace 0 DeviceBase::create() failed\n"
                                "null\n" );
    }
}

TEST_P( IncompleteHostTest, ExceptionsReachIt ) {
    const test::Finished host = run( { "add", "temp_sensor", dummy } );
    EXPECT_EQ( host.exitCode, 0 ) << host.errors;
    EXPECT_THAT( host.output, EndsWith( "exception Not implemented newTempSensor\n" ) );
}

TEST_P( IncompleteHostTest, ASocketThatFailedToSetUpIsTornDown ) {
    const test::Finished host = run( { "connect" } );
    EXPECT_EQ( host.exitCode, 0 ) << host.errors;
    EXPECT_EQ( host.output,
               lacks( "pl_trace" ) ? "4\n" : "trace 0 host: socket Setup failed!\n4\n" );
}

TEST_P( IncompleteHostTest, ALineWorks ) {
    const test::Finished host = run( { "init", topology, "add", "gpio", line, "read", "clear" } );
    EXPECT_EQ( host.exitCode, 0 ) << host.errors;
    if ( lacks( "pl_trace" ) ) {
        EXPECT_EQ( host.output, "0\nadded\n0 0\n0\n" );
    } else {
        EXPECT_THAT( host.output, HasSubstr( "\nadded\ntrace 4 bitReadCallback\n" ) );
        EXPECT_THAT( host.output, HasSubstr( "\n0 0\ntrace 4 bitClearCallback\n" ) );
        EXPECT_THAT( host.output, EndsWith( "\n0\n" ) );
    }
}

TEST_P( IncompleteHostTest, APolledDeviceNeedsATimerThatCanBeArmed ) {
    const test::Finished host = run( { "init", topology, "add", "xcvr", polledPort } );
    if ( lacks( "pl_timer_add" ) || lacks( "pl_timer_set" ) ) {
        EXPECT_EQ( host.signal, SIGABRT );
        EXPECT_THAT( host.errors, HasSubstr( "Assertion `pollStart()' failed" ) );
    } else {
        EXPECT_EQ( host.exitCode, 0 ) << host.errors;
        EXPECT_THAT( host.output, HasSubstr( "timer add\n" ) );
        EXPECT_THAT( host.output, HasSubstr( "timer set\n" ) );
        EXPECT_THAT( host.output, EndsWith( "added\n" ) );
    }
}

TEST_P( IncompleteHostTest, ABlinkingLedNeedsATimer ) {
    const test::Finished host = run( { "init", topology, "add", "led", blinkingLed } );
    if ( lacks( "pl_timer_add" ) ) {
        EXPECT_EQ( host.signal, SIGABRT );
        EXPECT_THAT( host.errors, HasSubstr( "Assertion `blinkTimer_' failed" ) );
    } else {
        EXPECT_EQ( host.exitCode, 0 ) << host.errors;
        EXPECT_THAT( host.output, HasSubstr( "timer add\n" ) );
        EXPECT_THAT( host.output, Not( HasSubstr( "timer set\n" ) ) );
        EXPECT_THAT( host.output, EndsWith( "added\n" ) );
    }
}

} // namespace
