#include "OrvanGeneric/Ham/SimHam.h"

#include <filesystem>
#include <functional>
#include <sys/mman.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Topology.h"
#include "tests/OrvanGeneric/Ham/SimHamFixture.h"

namespace {

namespace fs = std::filesystem;
using Utils::ExpectedValues;

TEST_F( SimHamTest, Reads ) {
    ready();
    uint8_t byte = 0;
    EXPECT_EQ( ham_.read8( 0x30, &byte ), 0 );
    EXPECT_EQ( byte, 0xAB );
    uint16_t word = 0;
    EXPECT_EQ( ham_.read16( 0x20, &word ), 0 );
    EXPECT_EQ( word, 0x1234 );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, file() + " - Read ab from register 0x30" },
                                       { 5, file() + " - Read 1234 from register 0x20" } } ) );
}

TEST_F( SimHamTest, ReadSeesWhatAHarnessWrote ) {
    ready();
    uint8_t byte = 0;
    ham_.read8( 0x10, &byte );
    EXPECT_EQ( byte, 0x03 );
    harnessWrites( 0, "7F" );
    ham_.read8( 0x10, &byte );
    EXPECT_EQ( byte, 0x7F );
}

TEST_F( SimHamTest, ReadSeesAFileThatAHarnessPutInPlace ) {
    ready();
    std::ofstream( folder_ + "/new" ) << "55" << fileAtFirst.substr( 2 );
    fs::rename( folder_ + "/new", file() );
    uint8_t byte = 0;
    ham_.read8( 0x10, &byte );
    EXPECT_EQ( byte, 0x55 );
}

TEST_F( SimHamTest, NumberEndsAtTheFirstCharacterThatIsNoHexDigit ) {
    ready();
    uint8_t byte = 0;
    uint16_t word = 0;
    harnessWrites( 0, "4g" );
    ham_.read8( 0x10, &byte );
    EXPECT_EQ( byte, 0x4 );
    harnessWrites( 0, " 4" );
    ham_.read8( 0x10, &byte );
    EXPECT_EQ( byte, 0 );
    harnessWrites( 0, "-1" );
    ham_.read8( 0x10, &byte );
    EXPECT_EQ( byte, 0 );
    harnessWrites( 2, "ABx1" );
    ham_.read16( 0x20, &word );
    EXPECT_EQ( word, 0xAB );
    harnessWrites( 2, "0x12" );
    ham_.read16( 0x20, &word );
    EXPECT_EQ( word, 0 );
}

TEST_F( SimHamTest, ReadOfATextRegisterAsANumberTakesItsCharacters ) {
    ready();
    uint8_t byte = 0;
    EXPECT_EQ( ham_.read8( 0x9A, &byte ), 0 );
    EXPECT_EQ( byte, 0x0B ); // "B "
}

TEST_F( SimHamTest, BlockHasTheLengthAskedFor ) {
    ready();
    std::string block;
    EXPECT_EQ( ham_.read( 0x9A, 3, &block, false ), 0 );
    EXPECT_EQ( block, "B D" );
    EXPECT_EQ( ham_.read( 0x9A, 7, &block, true ), 0 );
    EXPECT_EQ( block, "B DPSab" );
}

TEST_F( SimHamTest, BlockWithoutALengthIsAsLongAsTheRegister ) {
    ready();
    std::string block;
    EXPECT_EQ( ham_.readBlock( 0x9A, &block ), 0 );
    EXPECT_EQ( block, "B DPS" );
    EXPECT_EQ( ham_.readBlock( 0x9E, &block ), 0 );
    EXPECT_EQ( block, "abc" );
}

TEST_F( SimHamTest, BlockEndsWithTheFile ) {
    ready();
    std::string block;
    ham_.read( 0x9E, 100, &block, false );
    EXPECT_EQ( block, "abcdef\n" );
    fs::resize_file( file(), 10 );
    ham_.readBlock( 0x9A, &block );
    EXPECT_EQ( block, "B " );
    ham_.readBlock( 0x9E, &block );
    EXPECT_EQ( block, "" );
}

TEST_F( SimHamTest, NumberBehindTheEndOfACutFileIsZero ) {
    ready();
    fs::resize_file( file(), 3 );
    uint16_t word = 7;
    EXPECT_EQ( ham_.read16( 0x20, &word ), 0 );
    EXPECT_EQ( word, 0x1 );
    uint8_t byte = 7;
    EXPECT_EQ( ham_.read8( 0x30, &byte ), 0 );
    EXPECT_EQ( byte, 0 );
}

TEST_F( SimHamTest, FileThatAHarnessRemovedIsMadeAgain ) {
    ready().write8( 0x10, 0x77, false );
    fs::remove( file() );
    uint8_t byte = 7;
    EXPECT_EQ( ham_.read8( 0x10, &byte ), 0 );
    EXPECT_EQ( byte, 0x03 );
    EXPECT_EQ( content( file() ), fileAtFirst );
    fs::remove_all( folder_ );
    EXPECT_EQ( ham_.write8( 0x30, 0x5A, false ), 0 );
    EXPECT_EQ( content( file() ), "0312345aB DPSabcdef\n" );
}

TEST_F( SimHamTest, FileThatCannotBeMadeAgainReadsAsZeroAndTakesNoWrites ) {
    ready();
    fs::remove_all( folder_ );
    fs::create_symlink( base_ + "/nowhere", folder_ );
    uint8_t byte = 7;
    EXPECT_EQ( ham_.read8( 0x10, &byte ), 0 );
    EXPECT_EQ( byte, 0 );
    EXPECT_EQ( host_.texts( 0 ),
               ( std::vector<std::string>{ "cannot create simulation file " + file() +
                                           ": No such file or directory" } ) );
    EXPECT_EQ( ham_.write8( 0x10, 1, false ), 0 );
    EXPECT_EQ( host_.texts( 0 ).back(), warning( "Part", "0x10" ) );
}

TEST_F( SimHamTest, ALinkInPlaceOfTheFileIsNotFollowed ) {
    ready();
    const std::string target = base_ + "/target";
    std::ofstream( target ) << "somebody's";
    fs::remove( file() );
    fs::create_symlink( target, file() );
    const std::string trace = "cannot use simulation file " + file() + ": it is a symbolic link";
    uint8_t byte = 7;
    EXPECT_EQ( ham_.read8( 0x10, &byte ), 0 );
    EXPECT_EQ( byte, 0 );
    EXPECT_EQ( ham_.write8( 0x10, 1, false ), 0 );
    EXPECT_EQ( host_.texts( 0 ), ( std::vector<std::string>{ trace, trace } ) );
    ham_.setExpected( &registers );
    EXPECT_FALSE( ham_.simFileExists() );
    EXPECT_EQ( host_.texts( 0 ).back(),
               "cannot create simulation file " + file() + ": it is a symbolic link" );
    EXPECT_EQ( content( target ), "somebody's" );
}

TEST_F( SimHamTest, AFifoOrAFolderInPlaceOfTheFileIsLeftAlone ) {
    ready();
    fs::remove( file() );
    ASSERT_EQ( mkfifo( file().c_str(), 0600 ), 0 );
    const std::string trace = "cannot use simulation file " + file() + ": ";
    uint8_t byte = 7;
    EXPECT_EQ( ham_.read8( 0x10, &byte ), 0 );
    EXPECT_EQ( byte, 0 );
    EXPECT_EQ( ham_.write8( 0x10, 1, false ), 0 );
    fs::remove( file() );
    fs::create_directory( file() );
    EXPECT_EQ( ham_.read8( 0x10, &byte ), 0 );
    EXPECT_EQ( ham_.write8( 0x10, 1, false ), 0 );
    EXPECT_EQ( host_.texts( 0 ), ( std::vector<std::string>{ trace + "it is not a regular file",
                                                             trace + "it is not a regular file",
                                                             trace + "it is not a regular file",
                                                             trace + "Is a directory" } ) );
}

TEST_F( SimHamTest, ReadOfAnUnexpectedRegisterFailsAndWarns ) {
    ready();
    uint8_t byte = 7;
    EXPECT_EQ( ham_.read8( 0x11, &byte ), 4 );
    EXPECT_EQ( byte, 7 );
    EXPECT_TRUE( host_.traces.empty() );
    EXPECT_EQ( ham_.get8( 0 ), 0 );
    EXPECT_EQ( ham_.get16( 0 ), 0 );
    EXPECT_EQ( ham_.getBlock( 0, 4 ), "" );
    const Trace warned{ 0, warning( "Part", "0x11" ) };
    EXPECT_EQ( host_.traces, ( Traces{ warned, warned, warned } ) );
}

TEST_F( SimHamTest, DeviceWithoutAFileReadsZeroWithSuccessAndAWarning ) {
    ham_.setDriverName( "GenericPCA9555", "" );
    ham_.setExpected( nullptr );
    uint8_t byte = 7;
    uint16_t word = 7;
    std::string block = "old";
    EXPECT_EQ( ham_.read8( 0xAB, &byte ), 0 );
    EXPECT_EQ( ham_.read16( 0xAB, &word ), 0 );
    EXPECT_EQ( ham_.read( 0xAB, 2, &block, false ), 0 );
    EXPECT_EQ( byte, 0 );
    EXPECT_EQ( word, 0 );
    EXPECT_EQ( block, "" );
    const Trace warned{ 0, warning( "GenericPCA9555", "0xab" ) };
    EXPECT_EQ( host_.traces, ( Traces{ warned, warned, warned } ) );
}

TEST_F( SimHamTest, IdsCountUpWithinABatch ) {
    ready();
    ham_.prepare();
    EXPECT_EQ( ham_.addRead8( 0x10 ), 0u );
    EXPECT_EQ( ham_.addRead16( 0x20 ), 1u );
    EXPECT_EQ( ham_.addRead( 0x9A, 2, false ), 2u );
    EXPECT_EQ( ham_.addReadBlock( 0x9A ), 3u );
    EXPECT_EQ( ham_.execute(), 0 );
    ham_.prepare();
    EXPECT_EQ( ham_.addRead8( 0x30 ), 0u );
}

TEST_F( SimHamTest, GetsFindTheRegistersOfTheirIdsInAnyOrder ) {
    ready();
    ham_.prepare();
    ham_.addRead8( 0x10 );
    ham_.addRead16( 0x20 );
    ham_.addReadBlock( 0x9A );
    ham_.addRead8( 0x30 );
    ASSERT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( ham_.get8( 3 ), 0xAB );
    EXPECT_EQ( ham_.getBlock( 2, 0 ), "B DPS" );
    EXPECT_EQ( ham_.get16( 1 ), 0x1234 );
    EXPECT_EQ( ham_.get8( 0 ), 0x03 );
    EXPECT_EQ( ham_.get8( 3 ), 0xAB );
}

TEST_F( SimHamTest, PrepareDoesNotStartTheIdsAnew ) {
    ready();
    EXPECT_EQ( ham_.addRead8( 0x10 ), 0u );
    ham_.prepare();
    EXPECT_EQ( ham_.addRead8( 0x30 ), 1u );
    ham_.execute();
    EXPECT_EQ( ham_.get8( 0 ), 0x03 );
}

TEST_F( SimHamTest, BatchIsJudgedByItsLastRegister ) {
    ready();
    ham_.addRead8( 0x11 );
    ham_.addRead8( 0x10 );
    EXPECT_EQ( ham_.execute(), 0 );
    ham_.addRead8( 0x10 );
    ham_.addRead8( 0x11 );
    EXPECT_EQ( ham_.execute(), 4 );
}

TEST_F( SimHamTest, GetDoesNotChangeWhatTheNextExecuteJudges ) {
    ready();
    ham_.addRead8( 0x11 );
    ham_.addRead8( 0x10 );
    ham_.execute();
    ham_.get8( 0 );
    EXPECT_EQ( ham_.execute(), 0 );
}

TEST_F( SimHamTest, GetMakesItsRegisterTheCurrentOne ) {
    ready();
    ham_.addRead8( 0x11 );
    ham_.addRead8( 0x10 );
    EXPECT_TRUE( ham_.isAddrSimulated() );
    ham_.get8( 0 );
    EXPECT_FALSE( ham_.isAddrSimulated() );
    ham_.get8( 1 );
    EXPECT_TRUE( ham_.isAddrSimulated() );
}

TEST_F( SimHamTest, SavedRegisterDecidesWhetherTheAddressIsSimulated ) {
    ready().saveReg( 0x9E );
    EXPECT_TRUE( ham_.isAddrSimulated() );
    ham_.saveReg( 0x9F );
    EXPECT_FALSE( ham_.isAddrSimulated() );
}

TEST_F( SimHamTest, ExecuteOfADeviceWithoutAFileSucceeds ) {
    ham_.setDriverName( "Part", "one" );
    ham_.setExpected( nullptr );
    ham_.addRead8( 0x11 );
    EXPECT_EQ( ham_.execute(), 0 );
}

TEST_F( SimHamTest, BareByteFormsDoNothing ) {
    ready().addRead8( 0x10 );
    EXPECT_EQ( ham_.addRecvByte(), 0u );
    ham_.addSendByte( 5, true );
    ham_.init();
    ham_.prepare();
    EXPECT_EQ( ham_.execute(), 0 );
    EXPECT_EQ( content( file() ), fileAtFirst );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( SimHamTest, WritesNumbersInPlace ) {
    ready();
    EXPECT_EQ( ham_.write8( 0x30, 0x0C, false ), 0 );
    EXPECT_EQ( ham_.write16( 0x20, 0xFE, true ), 0 );
    EXPECT_EQ( content( file() ), "0300fe0cB DPSabcdef\n" );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, file() + " - Wrote 0c to register 0x30" },
                                       { 5, file() + " - Wrote 00fe to register 0x20" } } ) );
}

TEST_F( SimHamTest, WriteHappensWhenItIsAdded ) {
    ready().addWrite8( 0x10, 0x99, false );
    EXPECT_EQ( content( file() ).substr( 0, 2 ), "99" );
}

TEST_F( SimHamTest, WriteTakesAnIdOfItsBatch ) {
    ready().addWrite8( 0x10, 0x99, false );
    EXPECT_EQ( ham_.addRead8( 0x30 ), 1u );
    ham_.execute();
    EXPECT_EQ( ham_.get8( 1 ), 0xAB );
}

TEST_F( SimHamTest, WriteOfAnotherWidthThanTheRegistersDoesNothing ) {
    ready();
    EXPECT_EQ( ham_.write8( 0x20, 1, false ), 0 );
    EXPECT_EQ( ham_.write8( 0x9E, 1, false ), 0 );
    EXPECT_EQ( ham_.write16( 0x10, 1, false ), 0 );
    EXPECT_EQ( content( file() ), fileAtFirst );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( SimHamTest, WriteOfAnUnexpectedRegisterWarnsAndFails ) {
    ready();
    EXPECT_EQ( ham_.write8( 0x11, 1, false ), 4 );
    EXPECT_EQ( ham_.write16( 0x11, 1, false ), 4 );
    EXPECT_EQ( ham_.write( 0x11, "ab", 2, false ), 4 );
    EXPECT_EQ( ham_.writeBlock( 0x11, "ab", 2, false ), 4 );
    EXPECT_EQ( content( file() ), fileAtFirst );
    const Trace warned{ 0, warning( "Part", "0x11" ) };
    EXPECT_EQ( host_.traces, ( Traces{ warned, warned, warned, warned } ) );
}

TEST_F( SimHamTest, DeviceWithoutAFileTakesWritesWithAWarning ) {
    ham_.setDriverName( "GenericPCA9555", "" );
    ham_.setExpected( nullptr );
    EXPECT_EQ( ham_.write8( 6, 0xFF, false ), 0 );
    EXPECT_EQ( ham_.write16( 6, 0xFF, false ), 0 );
    EXPECT_EQ( ham_.writeBlock( 6, "x", 1, false ), 0 );
    const Trace warned{ 0, warning( "GenericPCA9555", "0x6" ) };
    EXPECT_EQ( host_.traces, ( Traces{ warned, warned, warned } ) );
}

TEST_F( SimHamTest, BlockWriteReplacesATextOfItsLength ) {
    ready();
    EXPECT_EQ( ham_.writeBlock( 0x9A, "Hello", 5, false ), 0 );
    EXPECT_EQ( content( file() ), "031234abHelloabcdef\n" );
    EXPECT_EQ( ham_.write( 0x9A, "World", 5, true ), 0 );
    EXPECT_EQ( content( file() ), "031234abWorldabcdef\n" );
    EXPECT_EQ( host_.traces, ( Traces{ { 5, file() + " - Wrote Hello to register 0x9a" },
                                       { 5, file() + " - Wrote World to register 0x9a" } } ) );
}

TEST_F( SimHamTest, BlockWriteOfAnotherLengthOrToANumberDoesNothing ) {
    ready();
    EXPECT_EQ( ham_.writeBlock( 0x9A, "Hell", 4, false ), 0 );
    EXPECT_EQ( ham_.writeBlock( 0x9A, "Hello!", 6, false ), 0 );
    EXPECT_EQ( ham_.write( 0x9E, "abc", 3, false ), 0 );
    EXPECT_EQ( ham_.write( 0x9E, "abcdef", 6, false ), 0 );
    EXPECT_EQ( content( file() ), fileAtFirst );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( SimHamTest, WriteIntoACutFileMakesItWholeAgain ) {
    ready();
    fs::resize_file( file(), 1 );
    EXPECT_EQ( ham_.write8( 0x30, 0x5A, false ), 0 );
    EXPECT_EQ( fs::file_size( file() ), fileAtFirst.size() );
    EXPECT_EQ( content( file() ).substr( 0, 8 ), std::string( "0\0\0\0\0\0", 6 ) + "5a" );
}

TEST_F( SimHamTest, WriteLeavesWhatAHarnessAppended ) {
    ready();
    harnessWrites( fileAtFirst.size(), "# note\n" );
    EXPECT_EQ( ham_.write8( 0x10, 0x04, false ), 0 );
    EXPECT_EQ( content( file() ), "04" + fileAtFirst.substr( 2 ) + "# note\n" );
}

TEST_F( SimHamTest, NumberWrittenOverAShortTextAtTheEndStaysWithinTheFile ) {
    // The file fills its page, so that a character more would be outside the mapping.
    const std::string filler( 4093, 'x' );
    const ExpectedValues text = { { 1, { filler, 4093 } }, { 2, { "ab", 2 } } };
    ham_.setDriverName( "Part", "one" );
    ham_.setExpected( &text );
    EXPECT_EQ( ham_.write16( 2, 0x1234, false ), 0 );
    EXPECT_EQ( content( file() ), filler + "123" );
}

/** Takes address space until nothing of half a mebibyte is left in one piece. */
void fillAddressSpace() {
    for ( size_t size = size_t{ 1 } << 30; size >= size_t{ 1 } << 19; size /= 2 ) {
        while ( mmap( nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1,
                      0 ) != MAP_FAILED ) {
        }
    }
}

TEST_F( SimHamTest, AFileThatCannotBeMappedIsABrokenInvariant ) {
    constexpr size_t size = size_t{ 1 } << 20;
    const ExpectedValues large = { { 1, { std::string( size, 'x' ), size } }, { 2, { 0, 1 } } };
    ham_.setDriverName( "Part", "one" );
    ham_.setExpected( &large );
    EXPECT_DEATH( ( fillAddressSpace(), ham_.write8( 2, 1, false ) ),
                  "OrvanGeneric/Ham/SimHam.*`mm != \\(\\(void \\*\\) -1\\)'" );
}

TEST_F( SimHamTest, FileAccessNeedsAFileAndAnExpectedRegister ) {
    ready().saveReg( 0x11 );
    EXPECT_DEATH( ham_.writeToFile( "00" ), "`isAddrSimulated\\(\\)'" );
    EXPECT_DEATH( ham_.readFromFile( 2 ), "`isAddrSimulated\\(\\)'" );
    ham_.setExpected( nullptr );
    EXPECT_DEATH( ham_.writeToFile( "00" ), "`simFileExists" );
    EXPECT_DEATH( ham_.readFromFile( 2 ), "`simFileExists" );
}

TEST_F( SimHamTest, WideOperationsAndProcessCallsAreNotOffered ) {
    ready();
    const auto missing = []( const char *name, const std::function<void()> &call ) {
        try {
            call();
            ADD_FAILURE() << name << " is offered";
        } catch ( const Component::NotImplementedException &exception ) {
            EXPECT_EQ( exception.what(), std::string( "Not implemented " ) + name );
        }
    };
    missing( "addRead32", [ & ] { ham_.addRead32( 0x10 ); } );
    missing( "addWrite32", [ & ] { ham_.addWrite32( 0x10, 1, false ); } );
    missing( "get32", [ & ] { ham_.get32( 0 ); } );
    missing( "addProcessCall", [ & ] { ham_.addProcessCall( 0x10, 1 ); } );
}

TEST( SimHamFactory, MakesAHamWithoutLookingForTheDevice ) {
    const Topology::Topology empty;
    static Ham::Ham *ham = Ham::SimHam::create( empty, Drivers::DriverArgs() );
    ASSERT_NE( dynamic_cast<Ham::SimHam *>( ham ), nullptr );
    EXPECT_TRUE( FakeHost::instance().traces.empty() );
    EXPECT_EQ( static_cast<Ham::SimHam *>( ham )->simFileName(), "" );
}

} // namespace
