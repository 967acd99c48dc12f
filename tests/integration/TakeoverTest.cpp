#include <cstdlib>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"
#include "tests/support/Process.h"
#include "tests/support/SocketPeer.h"

namespace {

constexpr const char *topology = R"([{"type":"I2C","ham":"OrvanSmbus","id":3,"devices":[
    {"did":5,"label":"PSoC","driver":"Dummy","address":{"address":32}},{"did":6}]}])";
constexpr const char *bay =
    R"({"did":1,"driver":"MultiSlot","isMultiDevice":true,"address":{"address":0},)"
    R"("driverArgs":{"id":1},"multiDeviceArgs":{"tray":"{\"did\":6,\"driver\":\"MirelundPCA9555\",)"
    R"(\"address\":{\"address\":33},\"driverArgs\":{\"bank-io-0\":255,\"bank-io-1\":15,)"
    R"(\"fanId\":1,\"fanFdl\":\"x\",\"rpmF2B\":\"1\",\"rpmB2F\":\"1\",\"modelName\":\"x\"}}"}})";

/** Functions of the library's names in its host must not come between the library and itself. */
TEST( Takeover, AHostThatExportsTheLibrarysNamesIsNotCalledInItsPlace ) {
    support::SocketPeer service( []( auto &connection ) { connection.awaitClose(); } );
    const common::TemporaryFolder simulation;
    setenv( "PL_SMBUS_SOCKET", service.path().c_str(), 1 );
    setenv( "ORVANLIB_SIMDIR", simulation.path().c_str(), 1 );
    setenv( "SIMULATION_VMID", "1", 1 );
    const test::Finished host =
        test::runProgram( { ORVAN_BIN_DIR "/host_that_takes_over", topology, bay } );
    EXPECT_EQ( host.exitCode, 0 ) << host.errors;
    EXPECT_EQ( host.output, "init 0\nbay added\npoweroff 0\npowercycle 0\nreload cause 5\n" );
}

} // namespace
