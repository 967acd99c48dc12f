/** The program, the library and the service together, on the project's boards. */
#include <filesystem>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"
#include "tests/support/Process.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class EmulatedBoardTest : public testing::Test {
  protected:
    EmulatedBoardTest() {
        ::unsetenv( "SIMULATION_VMID" );
        ::unsetenv( "PL_SMBUS_SOCKET" );
        ::setenv( "ORVANLIB_SIMDIR", folder_.file( "simulation" ).c_str(), 1 );
        ::setenv( "PATH", ( ORVAN_BIN_DIR ":" + std::string( ::getenv( "PATH" ) ) ).c_str(), 1 );
    }

    test::Finished orvan( const std::string &board, std::vector<std::string> words ) {
        words.insert( words.begin(), { ORVAN_BIN_DIR "/orvan", "--board",
                                       ORVAN_SOURCE_DIR "/boards/" + board, "--emulate" } );
        return test::runProgram( words );
    }

    /** `orvan shell` on @p script. */
    test::Finished shell( const std::string &board, const std::string &script ) {
        const std::string file = folder_.write( "script", script );
        return test::runProgram( { "/bin/sh", "-c",
                                   "exec " ORVAN_BIN_DIR "/orvan --board " ORVAN_SOURCE_DIR
                                   "/boards/" +
                                       board + " --emulate --skip-waits shell <" + file } );
    }

    void expectGood( const std::string &board, const std::string &script ) {
        const test::Finished run = shell( board, script );
        EXPECT_EQ( run.exitCode, 0 ) << run.output << run.errors;
        EXPECT_THAT( run.errors, IsEmpty() );
    }

    common::TemporaryFolder folder_;
};

TEST_F( EmulatedBoardTest, EveryLineOfTheGpioBoardIsShown ) {
    const test::Finished run = orvan( "mirelund-gpio", { "show" } );
    EXPECT_EQ( run.exitCode, 0 ) << run.errors;
    EXPECT_THAT( run.errors, IsEmpty() );
    EXPECT_EQ( std::count( run.output.begin(), run.output.end(), '\n' ), 61 );
    EXPECT_THAT(
        run.output,
        AllOf( HasSubstr( "plain-out0      1      GenericPCA9555  scd accel 0 bus 0, 0x20\n" ),
               HasSubstr( "plain-in1       0      GenericPCA9555  scd accel 0 bus 0, 0x20\n" ),
               HasSubstr( "deep-b-in3      0      GenericPCA9555  scd accel 1 bus 0, "
                          "mux 0x70 ch 0x04, mux 0x71 ch 0x08, 0x20\n" ) ) );
}

TEST_F( EmulatedBoardTest, LinesReadBackAndTheChipsAgree ) {
    for ( const std::string chip : { "plain", "mux-a", "mux-b", "deep-a", "deep-b", "i2c",
                                     "i2c-sim", "ioport", "celestica", "plm", "sccspi" } ) {
        expectGood( "mirelund-gpio",
                    "set " + chip + "-out0 off\nexpect " + chip + "-out0 0\n! smbusctl read " +
                        chip + " 2 | grep -q 0xFE\nset " + chip + "-out0 on\nexpect " + chip +
                        "-out0 1\n! smbusctl read " + chip + " 2 | grep -q 0xFF\n" );
    }
}

TEST_F( EmulatedBoardTest, ChipsOfOneAddressBehindDifferentChannelsStayApart ) {
    expectGood( "mirelund-gpio", "set mux-a-out1 off\nexpect mux-b-out1 1\nset deep-b-out1 off\n"
                                 "expect deep-a-out1 1\n! smbusctl read mux-b 2 | grep -q 0xFF\n"
                                 "! smbusctl read deep-a 2 | grep -q 0xFF\n" );
}

TEST_F( EmulatedBoardTest, InputsAreReadAsTheyAre ) {
    expectGood( "mirelund-gpio", "expect deep-b-in0 0\n! smbusctl set deep-b p10 1\n"
                                 "expect deep-b-in0 1\n" );
}

TEST_F( EmulatedBoardTest, AChipThatDoesNotAnswerIsAFailedReading ) {
    const test::Finished run =
        shell( "mirelund-gpio", "get plain-in0\n! smbusctl fault inject plain nack >/dev/null\n"
                                "expect plain-in0 failed\n! smbusctl fault clear >/dev/null\n"
                                "get plain-in0\n" );
    EXPECT_EQ( run.exitCode, 0 ) << run.errors;
    EXPECT_EQ( run.output, "1\n1\n" );
}

TEST_F( EmulatedBoardTest, ModulesAreSeenAtTheNextPoll ) {
    expectGood( "mirelund-frontpanel",
                "expect xcvr1 present 1\n! smbusctl unplug xcvr1\nexpect xcvr1 present 1\n"
                "wait --ticks 1\nexpect xcvr1 present 0\nset xcvr2 txdisable on\n"
                "wait --ticks 1\nexpect xcvr2 txdisable 1\n" );
}

TEST_F( EmulatedBoardTest, InSimulationTheFilesAreTheDevices ) {
    ::setenv( "SIMULATION_VMID", "1", 1 );
    const test::Finished line = orvan( "mirelund-gpio", { "get", "plain-in0" } );
    EXPECT_EQ( line.output, "0\n" );
    EXPECT_EQ( line.exitCode, 0 );
    EXPECT_EQ( orvan( "mirelund-cooling", { "get", "inlet", "temperature" } ).output, "40.0 C\n" );
    EXPECT_TRUE( std::filesystem::exists( folder_.file( "simulation/MirelundPsoc-psoc" ) ) );
}

TEST_F( EmulatedBoardTest, TheServicesMistakesAreItsOwnToReport ) {
    const common::TemporaryFolder board;
    for ( const char *name : { "topology.json", "peripherals.json" } ) {
        std::filesystem::copy( std::string( ORVAN_SOURCE_DIR "/boards/mirelund-gpio/" ) + name,
                               board.file( name ) );
    }
    board.write( "hardware.json", "[]" );
    const test::Finished run = test::runProgram(
        { ORVAN_BIN_DIR "/orvan", "--board", board.path(), "--emulate", "show" } );
    EXPECT_EQ( run.exitCode, 2 );
    EXPECT_THAT( run.errors,
                 AllOf( HasSubstr( "hardware.json" ), HasSubstr( "before it listened" ) ) );
}

} // namespace
