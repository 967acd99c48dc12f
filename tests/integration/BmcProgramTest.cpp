/** The board with a BMC as a person at the host program meets it. */
#include <filesystem>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include "common/TemporaryFolder.h"
#include "tests/integration/EmulatedBoard.h"
#include "tests/support/Process.h"

namespace {

const std::string board = ORVAN_SOURCE_DIR "/boards/mirelund-bmc";
const std::string console = ORVAN_SOURCE_DIR "/scripts/bmc-console";

test::Finished orvan( const std::vector<std::string> &words, const std::string &folder = board ) {
    std::vector<std::string> command = { ORVAN_BIN_DIR "/orvan", "--board", folder, "--emulate" };
    command.insert( command.end(), words.begin(), words.end() );
    return test::runProgram( command );
}

/** `orvan shell` with these lines. */
test::Finished shell( const std::string &lines, const std::string &folder = board ) {
    return test::runProgram( { ORVAN_BIN_DIR "/orvan", "--board", folder, "--emulate", "shell" },
                             lines );
}

TEST( BmcProgram, ShowListsTheWholeBoard ) {
    const test::Finished shown = orvan( { "show", "--json" } );
    ASSERT_EQ( shown.exitCode, 0 ) << shown.errors;
    rapidjson::Document rows;
    rows.Parse( shown.output );
    ASSERT_FALSE( rows.HasParseError() );
    std::map<std::string, int> kinds;
    for ( const auto &row : rows.GetArray() ) {
        ++kinds[ row[ "kind" ].GetString() ];
    }
    EXPECT_EQ( kinds, ( std::map<std::string, int>{
                          { "fan", 3 }, { "psu", 2 }, { "slot", 3 }, { "temp_sensor", 2 } } ) );
}

TEST( BmcProgram, SupplyShowsWhatItTakesAndGives ) {
    EXPECT_EQ( orvan( { "get", "psu1" } ).output,
               "powergood 1\nvin 230.00 V\niin 1.100 A\npin 260.0 W\n"
               "vout 12.000 V\niout 20.00 A\npout 240.0 W\nefficiency 92.3 %\n" );
}

TEST( BmcProgram, ConsoleChangesWhatIsShown ) {
    // A copy of the board that keeps no list of readings.
    common::TemporaryFolder copy;
    std::filesystem::copy( board, copy.path(), std::filesystem::copy_options::recursive );
    std::string peripherals = fileText( copy.file( "peripherals.json" ) );
    const std::string fruId = "\"fruId\": \"1\"";
    for ( size_t at = 0; ( at = peripherals.find( fruId, at ) ) != std::string::npos; ++at ) {
        peripherals.insert( at, "\"ipmiCacheAge\": 0, " ), at += fruId.size() + 20;
    }
    copy.write( "peripherals.json", peripherals );

    const test::Finished finished = shell( "get fan1 rpm\n"
                                           "! " +
                                               console +
                                               " sensor_set_value 0x20 0 21 50 0\n"
                                               "get fan1 rpm\n",
                                           copy.path() );
    EXPECT_EQ( finished.exitCode, 0 ) << finished.errors;
    EXPECT_EQ( finished.output, "10000 rpm\n5000 rpm\n" );
}

TEST( BmcProgram, ConsolesRefusalIsAFailure ) {
    const test::Finished finished = shell( "! " + console + " sensor_set_value 0x20 0 99 1 0\n" );
    EXPECT_EQ( finished.exitCode, 1 );
    EXPECT_THAT( finished.output, testing::HasSubstr( "Unable to set sensor value" ) );
}

TEST( BmcProgram, FansCannotBeSet ) {
    const test::Finished finished = orvan( { "set", "fan1", "rpm", "9000" } );
    EXPECT_EQ( finished.exitCode, 2 );
    EXPECT_EQ( finished.errors, "error: nothing can be set on fan1, a fan\n" );
}

} // namespace
