/** The program on the fake library and service: options, exit codes, what reaches which stream. */
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"
#include "tests/support/Process.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class ProgramTest : public testing::Test {
  protected:
    ProgramTest() {
        folder_.write( "topology.json", R"([{"type":"I2C","ham":"OrvanSmbus","id":0,)"
                                        R"("devices":[{"did":1}]}])" );
        peripherals( R"([{"kind":"gpio","name":"line","description":)" + device( "x" ) + "}]" );
        folder_.write( "hardware.json", "{}" );
        ::unsetenv( "PL_SMBUS_SOCKET" );
    }

    static std::string device( const std::string &name ) {
        return R"({"name":")" + name +
               R"(","did":1,"driver":"GenericPCA9555","address":{"address":32},)"
               R"("driverArgs":{"bank-io-0":0,"bank-io-1":0,"bank":0,"bit":0}})";
    }
    void peripherals( const std::string &text ) { folder_.write( "peripherals.json", text ); }

    test::Finished orvan( std::vector<std::string> words ) {
        words.insert( words.begin(), { ORVAN_BIN_DIR "/orvan", "--board", folder_.path(),
                                       "--library", ORVAN_LIB_DIR "/orvan_fake_library.so" } );
        return test::runProgram( words );
    }
    test::Finished emulated( std::vector<std::string> words ) {
        words.insert( words.begin(),
                      { "--emulate", "--service", ORVAN_BIN_DIR "/orvan_fake_service" } );
        return orvan( words );
    }

    common::TemporaryFolder folder_;
};

TEST_F( ProgramTest, ShowsABoard ) {
    const test::Finished run = emulated( { "show" } );
    EXPECT_EQ( run.exitCode, 0 );
    EXPECT_EQ( run.output, "gpio  value  driver          where\n"
                           "line  0      GenericPCA9555  I2C bus 0, 0x20\n" );
    EXPECT_THAT( run.errors, IsEmpty() );
}

TEST_F( ProgramTest, TracesGoToStandardErrorUpToTheirLevel ) {
    const test::Finished quiet = emulated( { "--trace", "0", "get", "line" } );
    EXPECT_EQ( quiet.errors, "trace 0: pl_gpio_add\n" );
    EXPECT_EQ( quiet.output, "0\n" );
    EXPECT_THAT( emulated( { "--trace", "5", "get", "line" } ).errors,
                 HasSubstr( "trace 5: device {" ) );
}

TEST_F( ProgramTest, HelpTellsTheCommandsAndExitCodes ) {
    const test::Finished run = orvan( { "--help" } );
    EXPECT_EQ( run.exitCode, 0 );
    for ( const char *word : { "show", "get", "set", "expect", "wait", "smbus", "poweroff",
                               "powercycle", "shell", "check", "--emulate", "Exit codes" } ) {
        EXPECT_THAT( run.output, HasSubstr( word ) );
    }
    EXPECT_THAT( orvan( { "smbus", "--help" } ).output, HasSubstr( "process-call COMMAND WORD" ) );
}

TEST_F( ProgramTest, ABadCommandLineEndsWith2 ) {
    const std::vector<std::vector<std::string>> lines = {
        {}, { "paint" }, { "get" }, { "--trace", "8", "show" }, { "--control", "c", "show" } };
    for ( const auto &line : lines ) {
        const test::Finished run = orvan( line );
        EXPECT_EQ( run.exitCode, 2 );
        EXPECT_THAT( run.errors, testing::Not( IsEmpty() ) );
    }
    EXPECT_EQ( test::runProgram( { ORVAN_BIN_DIR "/orvan", "show" } ).exitCode, 2 );
}

TEST_F( ProgramTest, ABadBoardEndsWith2AndNothingIsDone ) {
    peripherals( R"([{"kind":"gpio","name":"line"},{}])" );
    const test::Finished run = emulated( { "--trace", "7", "show" } );
    EXPECT_EQ( run.exitCode, 2 );
    EXPECT_EQ( run.errors, folder_.file( "peripherals.json" ) +
                               ": at /0: {\"kind\":\"gpio\",\"name\":\"line\"}; expected the key "
                               "\"description\": an object: the device description, or for "
                               "\"smbus\" a \"label\" and an \"address\"\n" );
    EXPECT_FALSE( std::filesystem::exists( folder_.file( "arguments" ) ) ) << "no service started";
}

TEST_F( ProgramTest, ABoardThatIsNotThereEndsWith2 ) {
    const test::Finished run =
        test::runProgram( { ORVAN_BIN_DIR "/orvan", "--board", "/nonexistent", "show" } );
    EXPECT_EQ( run.exitCode, 2 );
    EXPECT_EQ( run.errors, "/nonexistent: expected a board folder\n" );
}

TEST_F( ProgramTest, CheckBringsNothingUp ) {
    const test::Finished run = emulated( { "check" } );
    EXPECT_EQ( run.exitCode, 0 );
    EXPECT_EQ( run.output, folder_.path() + ": good, 1 peripherals\n" );
    EXPECT_FALSE( std::filesystem::exists( folder_.file( "arguments" ) ) );
}

TEST_F( ProgramTest, AServiceThatFailsEndsWith2 ) {
    folder_.write( "exits.json", "{}" );
    std::filesystem::remove( folder_.file( "hardware.json" ) );
    const test::Finished run = emulated( { "show" } );
    EXPECT_EQ( run.exitCode, 2 );
    EXPECT_EQ( run.errors, "error: " + folder_.file( "hardware.json" ) +
                               ": expected the emulated hardware's description\n" );
}

TEST_F( ProgramTest, ALibraryThatIsNotThereEndsWith2 ) {
    const test::Finished run = test::runProgram(
        { ORVAN_BIN_DIR "/orvan", "--board", folder_.path(), "--emulate", "--service",
          ORVAN_BIN_DIR "/orvan_fake_service", "--library", "/nonexistent.so", "show" } );
    EXPECT_EQ( run.exitCode, 2 );
    EXPECT_THAT( run.errors, HasSubstr( "error: cannot load the driver library: " ) );
}

TEST_F( ProgramTest, WithoutAServiceItSaysWhereOneIsMissing ) {
    const test::Finished run = orvan( { "--socket", folder_.file( "none.sock" ), "get", "line" } );
    EXPECT_EQ( run.exitCode, 0 ) << "the fake library needs none";
    EXPECT_EQ( run.errors, "no SMBus service at " + folder_.file( "none.sock" ) +
                               " yet; the library waits up to 30 s for it\n" );
}

TEST_F( ProgramTest, WhatATimerThrowsFailsTheRun ) {
    peripherals( R"([{"kind":"gpio","name":"line","description":)" + device( "throwing timer" ) +
                 "}]" );
    const test::Finished run = emulated( { "--skip-waits", "show" } );
    EXPECT_EQ( run.exitCode, 1 );
    EXPECT_EQ( run.errors, "error: a timer of the library threw fake::FakeNotImplemented: Not "
                           "implemented tick\n" );
}

TEST_F( ProgramTest, AnAssertionOfTheLibraryEndsItAndItsService ) {
    peripherals( R"([{"kind":"gpio","name":"line","description":)" + device( "abort" ) + "}]" );
    const test::Finished run = emulated( { "show" } );
    EXPECT_EQ( run.signal, SIGABRT );
    EXPECT_THAT( run.errors, HasSubstr( "Assertion `no' failed" ) );
    std::ifstream file( folder_.file( "arguments" ) );
    std::string line;
    for ( std::string next; std::getline( file, next ); ) {
        line = next;
    }
    ASSERT_EQ( line.substr( 0, 4 ), "pid " );
    EXPECT_NE( ::kill( std::stoi( line.substr( 4 ) ), 0 ), 0 );
}

TEST_F( ProgramTest, ItOffersTheHostsServicesAndNothingElse ) {
    const test::Finished run =
        test::runProgram( { "/usr/bin/nm", "-D", "--defined-only", ORVAN_BIN_DIR "/orvan" } );
    std::set<std::string> own;
    std::istringstream lines( run.output );
    for ( std::string address, type, name; lines >> address >> type >> name; ) {
        if ( name.rfind( "pl_", 0 ) == 0 || name.find( "orvan" ) != std::string::npos ) {
            own.insert( name );
        }
    }
    EXPECT_THAT( own,
                 testing::ElementsAre( "pl_fd_watcher_add", "pl_fd_watcher_delete", "pl_timer_add",
                                       "pl_timer_delete", "pl_timer_set", "pl_trace" ) );
}

} // namespace
