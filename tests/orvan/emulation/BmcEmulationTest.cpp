/** The simulated BMC's life, with the real simulator and with stand-ins that fail. */
#include "orvan/emulation/BmcEmulation.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "common/Descriptor.h"
#include "common/TemporaryFolder.h"
#include "orvan/base/Errors.h"
#include "orvan/emulation/BmcProbe.h"

namespace {

using orvan::BadInput;
using orvan::BmcEmulation;
using orvan::BmcOptions;
using orvan::BmcProbe;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::ThrowsMessage;

/** Whether a BMC answers; it may take as long as it takes. */
bool answers( uint16_t port ) {
    const BmcProbe probe( port );
    probe.ask();
    pollfd state = { probe.descriptor(), POLLIN, 0 };
    ::poll( &state, 1, -1 ); // an answer, or at once word that nobody listens
    return probe.answered();
}

class BmcEmulationTest : public testing::Test {
  protected:
    BmcEmulationTest() {
        ::setenv( "TMPDIR", private_.path().c_str(), 1 );
        std::filesystem::create_directory( board_.file( "bmc" ) );
        for ( const char *name : { "lan.conf", "bmc.emu", "bmc.sdrs", "fru.bin" } ) {
            std::filesystem::copy( std::string( ORVAN_SOURCE_DIR "/boards/mirelund-bmc/bmc/" ) +
                                       name,
                                   board_.file( "bmc" ) );
        }
    }

    BmcOptions options() const {
        BmcOptions result;
        result.board = board_.path();
        result.startLimit = std::chrono::seconds( 60 );
        return result;
    }
    /** A simulator that runs @p script. */
    std::string simulator( const std::string &script ) const {
        const std::string path = board_.write( "simulator", "#!/bin/sh\n" + script + "\n" );
        std::filesystem::permissions( path, std::filesystem::perms::owner_all );
        return path;
    }
    bool nothingIsLeft() const { return std::filesystem::is_empty( private_.path() ); }

    common::TemporaryFolder board_;
    common::TemporaryFolder private_; // where private folders are made
};

TEST_F( BmcEmulationTest, AnswersWhileItLivesAndLeavesNothing ) {
    uint16_t port = 0;
    {
        const BmcEmulation bmc( options() );
        port = bmc.port();
        EXPECT_TRUE( answers( port ) );
        EXPECT_NE( bmc.console(), 0 );
        EXPECT_FALSE( nothingIsLeft() );
    }
    EXPECT_FALSE( answers( port ) );
    EXPECT_TRUE( nothingIsLeft() );
}

TEST_F( BmcEmulationTest, TwoDoNotMeet ) {
    const BmcEmulation one( options() );
    const BmcEmulation other( options() );
    EXPECT_NE( one.port(), other.port() );
    EXPECT_NE( one.console(), other.console() );
    EXPECT_TRUE( answers( one.port() ) );
    EXPECT_TRUE( answers( other.port() ) );
}

TEST_F( BmcEmulationTest, BoardsFilesStayAsTheyAre ) {
    const auto changed = [ this ] {
        return std::filesystem::last_write_time( board_.file( "bmc/fru.bin" ) );
    };
    const auto before = changed();
    const BmcEmulation bmc( options() );
    EXPECT_EQ( changed(), before );
    EXPECT_FALSE( std::filesystem::exists( board_.file( "bmc/state" ) ) );
}

TEST_F( BmcEmulationTest, EndsWithTheProcessHoweverThatDies ) {
    const common::Pipe ports = common::makePipe();
    const pid_t child = ::fork();
    if ( child == 0 ) {
        const BmcEmulation bmc( options() );
        const uint16_t port = bmc.port();
        static_cast<void>( !::write( ports.writeEnd.get(), &port, sizeof( port ) ) );
        ::raise( SIGKILL );
    }
    uint16_t port = 0;
    ASSERT_EQ( ::read( ports.readEnd.get(), &port, sizeof( port ) ), ssize_t{ sizeof( port ) } );
    ::waitpid( child, nullptr, 0 );
    while ( !nothingIsLeft() ) {
        ::poll( nullptr, 0, 1 );
    }
    EXPECT_FALSE( answers( port ) );
}

TEST_F( BmcEmulationTest, OnlyABoardWithAFolderForItHasABmc ) {
    EXPECT_TRUE( BmcEmulation::isDescribedIn( board_.path() ) );
    EXPECT_FALSE( BmcEmulation::isDescribedIn( private_.path() ) );
}

TEST_F( BmcEmulationTest, MissingFileIsNamed ) {
    for ( const std::string name : { "bmc/lan.conf", "bmc/bmc.emu", "bmc/bmc.sdrs" } ) {
        std::filesystem::rename( board_.file( name ), board_.file( "away" ) );
        EXPECT_THAT( [ this ] { BmcEmulation bmc( options() ); },
                     ThrowsMessage<BadInput>( EndsWith( name + ": expected a file of the BMC" ) ) );
        std::filesystem::rename( board_.file( "away" ), board_.file( name ) );
    }
    EXPECT_TRUE( nothingIsLeft() );
}

TEST_F( BmcEmulationTest, SensorsThatDoNotCompileAreNamed ) {
    board_.write( "bmc/bmc.sdrs", "sdr type 1\n  colour red\nendsdr\n" );
    EXPECT_THAT(
        [ this ] { BmcEmulation bmc( options() ); },
        ThrowsMessage<BadInput>( AllOf( HasSubstr( "bmc.sdrs: sdrcomp cannot compile it: " ),
                                        HasSubstr( "2: unknown SDR field" ) ) ) );
    EXPECT_TRUE( nothingIsLeft() );
}

TEST_F( BmcEmulationTest, SimulatorThatEndsIsQuoted ) {
    BmcOptions wanted = options();
    wanted.simulator = simulator( "echo no licence to simulate; exit 3" );
    EXPECT_THAT( [ & ] { BmcEmulation bmc( wanted ); },
                 ThrowsMessage<BadInput>(
                     EndsWith( "ended before the BMC answered: no licence to simulate" ) ) );
    wanted.simulator = "true";
    EXPECT_THAT( [ & ] { BmcEmulation bmc( wanted ); },
                 ThrowsMessage<BadInput>(
                     EndsWith( "true ended before the BMC answered: it says nothing" ) ) );
    EXPECT_TRUE( nothingIsLeft() );
}

TEST_F( BmcEmulationTest, ProgramsThatAreNotThereAreNamed ) {
    BmcOptions wanted = options();
    wanted.simulator = "no-such-simulator";
    EXPECT_THAT( [ & ] { BmcEmulation bmc( wanted ); },
                 ThrowsMessage<BadInput>( AllOf( HasSubstr( "no-such-simulator" ),
                                                 HasSubstr( "No such file or directory" ) ) ) );
    wanted.sensorCompiler = "no-such-compiler";
    EXPECT_THAT( [ & ] { BmcEmulation bmc( wanted ); },
                 ThrowsMessage<BadInput>( AllOf( HasSubstr( "no-such-compiler" ),
                                                 HasSubstr( "No such file or directory" ) ) ) );
    EXPECT_TRUE( nothingIsLeft() );
}

TEST_F( BmcEmulationTest, SilentSimulatorIsGivenUp ) {
    BmcOptions wanted = options();
    wanted.simulator = simulator( "exec sleep 1000" );
    wanted.startLimit = std::chrono::milliseconds( 50 );
    EXPECT_THAT(
        [ & ] { BmcEmulation bmc( wanted ); },
        ThrowsMessage<BadInput>( HasSubstr( "does not answer after 50 ms: it says nothing" ) ) );
    EXPECT_TRUE( nothingIsLeft() );
}

} // namespace
