#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/OrvanGeneric/Ham/SimHamFixture.h"

namespace {

namespace fs = std::filesystem;
using Utils::ExpectedValues;

class SimHamFileTest : public SimHamTest {};

TEST_F( SimHamFileTest, FileHoldsTheRegistersInAscendingOrderAndANewline ) {
    const ExpectedValues two = { { 0x20, { 0x1234, 2 } }, { 0x10, { 0x3, 1 } } };
    ham_.setDriverName( "Part", "one" );
    ham_.setExpected( &two );
    EXPECT_TRUE( ham_.simFileExists() );
    EXPECT_EQ( content( file() ), "031234\n" );
    EXPECT_EQ( ham_.offsets(), ( std::map<unsigned, size_t>{ { 0x10, 0 }, { 0x20, 2 } } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, "Created " + file() } } ) );
}

TEST_F( SimHamFileTest, NumbersAreLowerCaseAndTextStandsAsItIs ) {
    ready();
    EXPECT_EQ( content( file() ), fileAtFirst );
    EXPECT_EQ( ham_.offsets(),
               ( std::map<unsigned, size_t>{
                   { 0x10, 0 }, { 0x20, 2 }, { 0x30, 6 }, { 0x9A, 8 }, { 0x9E, 13 } } ) );
}

TEST_F( SimHamFileTest, NumberTakesExactlyTwoDigitsForEachByte ) {
    const ExpectedValues odd = {
        { 1, { 0x1FF, 1 } }, { 2, { 0xDEADBEEF, 4 } }, { 3, { 0x12, 6 } }, { 4, { 7, 0 } } };
    ham_.setDriverName( "Part", "one" );
    ham_.setExpected( &odd );
    EXPECT_EQ( content( file() ), "ffdeadbeef000000000012\n" );
    EXPECT_EQ( ham_.offsets(),
               ( std::map<unsigned, size_t>{ { 1, 0 }, { 2, 2 }, { 3, 10 }, { 4, 22 } } ) );
}

TEST_F( SimHamFileTest, TextOfAnotherLengthIsABrokenInvariant ) {
    ham_.setDriverName( "Part", "one" );
    const ExpectedValues shortText = { { 1, { "abc", 4 } } };
    EXPECT_DEATH( ham_.setExpected( &shortText ),
                  "OrvanGeneric/Ham/SimHam.*`size == val.valStr\\(\\).length\\(\\)'" );
    const ExpectedValues longText = { { 1, { "abc", 2 } } };
    EXPECT_DEATH( ham_.setExpected( &longText ), "size == val.valStr\\(\\).length\\(\\)" );
}

TEST_F( SimHamFileTest, FileNeedsADriverName ) {
    EXPECT_DEATH( ham_.setExpected( &registers ),
                  "OrvanGeneric/Ham/SimHam.*`!simFileName_.empty\\(\\)'" );
}

TEST_F( SimHamFileTest, FileIsNamedAfterDriverAndDevice ) {
    ham_.setDriverName( "Pmbus", "PSU1" );
    EXPECT_EQ( ham_.simFileName(), folder_ + "/Pmbus-PSU1" );
    ham_.setDriverName( "Pmbus", "" );
    EXPECT_EQ( ham_.simFileName(), folder_ + "/Pmbus" );
}

TEST_F( SimHamFileTest, FolderIsMadeWithItsParents ) {
    umask( 0022 );
    ASSERT_FALSE( fs::exists( base_ + "/some" ) );
    ready();
    for ( const std::string &folder : { base_ + "/some", folder_ } ) {
        struct stat status = {};
        ASSERT_EQ( stat( folder.c_str(), &status ), 0 );
        EXPECT_EQ( status.st_mode & 07777, 0755u ) << folder;
    }
}

TEST_F( SimHamFileTest, FolderIsTakenFromTheEnvironmentOnce ) {
    ham_.setDriverName( "Part", "one" );
    setenv( "ORVANLIB_SIMDIR", ( base_ + "/other" ).c_str(), 1 );
    ham_.setDriverName( "Part", "two" );
    EXPECT_EQ( ham_.simFileName(), folder_ + "/Part-two" );
}

TEST( SimHamFile, DefaultFolderIsBelowTmp ) {
    unsetenv( "ORVANLIB_SIMDIR" );
    const bool wasThere = fs::exists( "/tmp/OrvanSimulationDevices" );
    Ham::SimHam ham;
    const std::string label = "of-test-" + std::to_string( getpid() );
    ham.setDriverName( "Part", label );
    const std::string file = "/tmp/OrvanSimulationDevices/Part-" + label;
    EXPECT_EQ( ham.simFileName(), file );
    ham.setExpected( &registers );
    EXPECT_EQ( content( file ), fileAtFirst );
    fs::remove( file );
    if ( !wasThere ) {
        rmdir( "/tmp/OrvanSimulationDevices" );
    }
}

TEST( SimHamFile, AnEmptyFolderNameCountsAsNone ) {
    setenv( "ORVANLIB_SIMDIR", "", 1 );
    Ham::SimHam ham;
    ham.setDriverName( "Part", "one" );
    EXPECT_EQ( ham.simFileName(), "/tmp/OrvanSimulationDevices/Part-one" );
}

TEST_F( SimHamFileTest, NewTableReplacesTheFile ) {
    ready();
    const ExpectedValues other = { { 5, { 0x7F, 1 } } };
    ham_.setExpected( &other );
    EXPECT_EQ( content( file() ), "7f\n" );
    EXPECT_EQ( ham_.offsets(), ( std::map<unsigned, size_t>{ { 5, 0 } } ) );
}

TEST_F( SimHamFileTest, FileOfAnEarlierRunIsReplaced ) {
    fs::create_directories( folder_ );
    std::ofstream( file() ) << "something much longer than the new file will be\nand more\n";
    ready();
    EXPECT_EQ( content( file() ), fileAtFirst );
}

TEST_F( SimHamFileTest, CreateSimFileWritesTheFileAnew ) {
    ready().write8( 0x10, 0xFF, false );
    ham_.createSimFile();
    EXPECT_EQ( content( file() ), fileAtFirst );
}

TEST_F( SimHamFileTest, EmptyOrNoTableMeansNoFile ) {
    const ExpectedValues none;
    ham_.setDriverName( "Part", "one" );
    for ( const ExpectedValues *table :
          { &none, static_cast<const ExpectedValues *>( nullptr ) } ) {
        ham_.setExpected( table );
        EXPECT_FALSE( ham_.simFileExists() );
        EXPECT_FALSE( ham_.isAddrSimulated() );
        EXPECT_FALSE( fs::exists( file() ) );
    }
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( SimHamFileTest, FolderThatCannotBeMadeMeansNoFile ) {
    std::ofstream( base_ + "/some" ) << "a file where the folder should be";
    ham_.setDriverName( "Part", "one" );
    ham_.setExpected( &registers );
    EXPECT_FALSE( ham_.simFileExists() );
    EXPECT_THAT( host_.texts( 0 ), testing::ElementsAre( testing::HasSubstr( file() ) ) );
    EXPECT_TRUE( host_.texts( 5 ).empty() );
    uint8_t value = 7;
    EXPECT_EQ( ham_.read8( 0x10, &value ), 0 );
    EXPECT_EQ( value, 0 );
    EXPECT_EQ( host_.texts( 0 ).back(), warning( "Part", "0x10" ) );
}

TEST_F( SimHamFileTest, NameWithASlashMeansNoFile ) {
    ham_.setDriverName( "Part", "../one" );
    ham_.setExpected( &registers );
    EXPECT_FALSE( ham_.simFileExists() );
    EXPECT_THAT( host_.texts( 0 ), testing::ElementsAre( testing::HasSubstr( "'../one'" ) ) );
    EXPECT_FALSE( fs::exists( base_ + "/some" ) );
}

} // namespace
