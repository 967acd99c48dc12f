/** The private service's life, with a stand-in that does what its configuration's name says. */
#include "orvan/emulation/Emulation.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"
#include "orvan/base/Errors.h"

namespace {

using orvan::BadInput;
using orvan::Emulation;
using orvan::EmulationOptions;
using testing::EndsWith;
using testing::HasSubstr;
using testing::ThrowsMessage;

class EmulationTest : public testing::Test {
  protected:
    EmulationTest() { ::setenv( "TMPDIR", private_.path().c_str(), 1 ); }

    EmulationOptions options( const std::string &configuration = "good.json" ) {
        EmulationOptions result;
        result.service = ORVAN_BIN_DIR "/orvan_fake_service";
        result.hardware = folder_.write( configuration, "{}" );
        result.startLimit = std::chrono::seconds( 30 );
        return result;
    }

    std::vector<std::string> arguments() {
        std::vector<std::string> lines;
        std::ifstream file( folder_.file( "arguments" ) );
        for ( std::string line; std::getline( file, line ); ) {
            lines.push_back( line );
        }
        return lines;
    }

    static bool lives( pid_t pid ) { return ::kill( pid, 0 ) == 0; }

    common::TemporaryFolder folder_;
    common::TemporaryFolder private_; // where private folders are made
};

TEST_F( EmulationTest, TheServiceListensWhileItLivesAndIsGoneAfterwards ) {
    pid_t pid = 0;
    {
        const Emulation emulation( options() );
        pid = emulation.pid();
        EXPECT_TRUE( orvan::accepts( emulation.socket() ) );
        EXPECT_THAT( emulation.socket(), testing::StartsWith( private_.path() ) );
        std::filesystem::perms mode =
            std::filesystem::status( std::filesystem::path( emulation.socket() ).parent_path() )
                .permissions();
        EXPECT_EQ( mode, std::filesystem::perms::owner_all );
    }
    EXPECT_FALSE( lives( pid ) );
    EXPECT_TRUE( std::filesystem::is_empty( private_.path() ) );
}

TEST_F( EmulationTest, TheServiceGetsItsSocketsConfigurationAndLogLevel ) {
    EmulationOptions wanted = options();
    wanted.socket = folder_.file( "s" );
    wanted.control = folder_.file( "c" );
    wanted.logLevel = "debug";
    const Emulation emulation( wanted );
    EXPECT_EQ( emulation.socket(), wanted.socket );
    const std::vector<std::string> given = arguments();
    ASSERT_EQ( given.size(), 11u );
    EXPECT_THAT( std::vector<std::string>( given.begin(), given.begin() + 7 ),
                 testing::ElementsAre( "--socket", wanted.socket, "--config",
                                       wanted.hardware.string(), "--log-level", "debug",
                                       "--ready-fd" ) );
    EXPECT_EQ( given[ 8 ], "--control" );
    EXPECT_EQ( given[ 9 ], wanted.control );
}

TEST_F( EmulationTest, WithoutAControlSocketsPathItIsBesideTheSocket ) {
    const Emulation emulation( options() );
    EXPECT_EQ( arguments()[ 9 ], emulation.socket() + ".control" );
}

TEST_F( EmulationTest, AServiceThatDoesNotEndIsKilled ) {
    pid_t pid = 0;
    {
        EmulationOptions wanted = options( "deaf.json" );
        wanted.endLimit = std::chrono::milliseconds( 1 );
        const Emulation emulation( wanted );
        pid = emulation.pid();
    }
    EXPECT_FALSE( lives( pid ) );
}

TEST_F( EmulationTest, AServiceThatEndsAtOnceIsReportedWithItsCode ) {
    EXPECT_THAT(
        [ this ] { Emulation( options( "exits.json" ) ); },
        ThrowsMessage<BadInput>( EndsWith( "fake_service ended with 3 before it listened" ) ) );
    EXPECT_THAT(
        [ this ] { Emulation( options( "crashes.json" ) ); },
        ThrowsMessage<BadInput>( EndsWith( "was ended by signal 9 before it listened" ) ) );
    EXPECT_TRUE( std::filesystem::is_empty( private_.path() ) );
}

TEST_F( EmulationTest, AServiceThatNeverListensIsGivenUp ) {
    EmulationOptions wanted = options( "hangs.json" );
    wanted.startLimit = std::chrono::milliseconds( 1 );
    EXPECT_THAT( [ &wanted ] { Emulation emulation( wanted ); },
                 ThrowsMessage<BadInput>( HasSubstr( "does not listen on" ) ) );
    EXPECT_TRUE( std::filesystem::is_empty( private_.path() ) );
}

TEST_F( EmulationTest, WhatCannotBeStartedIsReported ) {
    EmulationOptions wanted = options();
    wanted.service = "/nonexistent/smbusd";
    EXPECT_THAT(
        [ &wanted ] { Emulation emulation( wanted ); },
        ThrowsMessage<BadInput>( "cannot start /nonexistent/smbusd: No such file or directory" ) );
    wanted = options();
    wanted.hardware = folder_.file( "missing.json" );
    EXPECT_THAT( [ &wanted ] { Emulation emulation( wanted ); },
                 ThrowsMessage<BadInput>( wanted.hardware.string() +
                                          ": expected the emulated hardware's description" ) );
    wanted = options();
    wanted.socket = folder_.file( std::string( 120, 's' ) );
    EXPECT_THAT(
        [ &wanted ] { Emulation emulation( wanted ); },
        ThrowsMessage<BadInput>( wanted.socket + ": a socket's path has 1 to 107 characters" ) );
    ::setenv( "TMPDIR", "/nonexistent", 1 );
    EXPECT_THAT( [ this ] { Emulation emulation( options() ); },
                 ThrowsMessage<BadInput>( HasSubstr( "cannot make a folder /nonexistent/" ) ) );
}

TEST_F( EmulationTest, ASocketInUseIsLeftAlone ) {
    EmulationOptions wanted = options();
    wanted.socket = folder_.file( "s" );
    const Emulation first( wanted );
    EXPECT_THAT( [ &wanted ] { Emulation second( wanted ); },
                 ThrowsMessage<BadInput>( wanted.socket + ": a service listens there already" ) );
    EXPECT_TRUE( orvan::accepts( wanted.socket ) );
}

TEST_F( EmulationTest, TheServiceEndsWithASignalToThisProcess ) {
    for ( const int signal : { SIGINT, SIGTERM, SIGHUP, SIGABRT } ) {
        EXPECT_EXIT(
            {
                const Emulation emulation( options() );
                ::raise( signal );
            },
            testing::KilledBySignal( signal ), "" );
        EXPECT_TRUE( std::filesystem::is_empty( private_.path() ) );
        const std::vector<std::string> given = arguments();
        ASSERT_EQ( given.back().substr( 0, 4 ), "pid " );
        EXPECT_FALSE( lives( std::stoi( given.back().substr( 4 ) ) ) );
    }
}

TEST( Emulation, NothingAcceptsOnAMissingSocket ) {
    EXPECT_FALSE( orvan::accepts( "/nonexistent/socket" ) );
    EXPECT_FALSE( orvan::accepts( std::string( 200, 's' ) ) );
}

} // namespace
