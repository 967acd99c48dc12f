#include "OrvanGeneric/Drivers/FruReader.h"

#include <gtest/gtest.h>

#include "tests/support/AssertionFailure.h"
#include "tests/support/EepromHam.h"
#include "tests/support/FakeHost.h"

namespace {

using Drivers::FruReader;
using Log = std::vector<std::string>;

/** A type/length byte of 8-bit ASCII and its text. */
std::string field( const std::string &text ) {
    return static_cast<char>( 0xC0 | text.size() ) + text;
}

/** A header that adds up to zero, and a product area at 8. */
std::string image( const std::string &fields ) {
    const std::string header( "\x01\x00\x00\x00\x01\x00\x00\xFE", 8 );
    const std::string area( "\x01\x08\x19", 3 );
    return header + area + fields;
}

const std::string sample = field( "DELTA" ) + field( "DPS550AB6A" ) + field( "0123456789" ) +
                           field( "S0F" ) + field( "GTVD1615001656" );

class FruReaderTest : public testing::Test {
  protected:
    pl_status read( bool allowInvalidChecksum = false ) {
        serial = "old";
        product = "old";
        return FruReader( &ham, 1, allowInvalidChecksum ).read( serial, product );
    }

    FakeHost &host = FakeHost::instance();
    EepromHam ham;
    std::string serial;
    std::string product;
};

TEST_F( FruReaderTest, ReadsTheProductAreasNameAndSerialNumber ) {
    ham.image = image( sample );
    EXPECT_EQ( read(), PL_STATUS_OK );
    EXPECT_EQ( product, "DPS550AB6A" );
    EXPECT_EQ( serial, "GTVD1615001656" );
}

TEST_F( FruReaderTest, TrafficIsTheHeaderInOneBatchThenTheFields ) {
    ham.image = image( sample );
    read();
    const Log expected = { "prepare",    "read8 0x00",   "read8 0x01", "read8 0x02", "read8 0x03",
                           "read8 0x05", "read8 0x06",   "read8 0x07", "read8 0x04", "execute", //
                           "prepare",    "read8 0x0b",   "execute", // manufacturer
                           "prepare",    "read8 0x11",   "execute", // product name
                           "prepare",    "read 0x12 10", "execute", //
                           "prepare",    "read8 0x1c",   "execute", // part number
                           "prepare",    "read8 0x27",   "execute", // version
                           "prepare",    "read8 0x2b",   "execute", // serial number
                           "prepare",    "read 0x2c 14", "execute" };
    EXPECT_EQ( ham.log, expected );
}

TEST_F( FruReaderTest, TypeLengthBytesAreTraced ) {
    ham.image = image( sample );
    read();
    EXPECT_EQ( host.traces, ( Traces{ { 0, "Type code 3 (val 0xc5) at offset 11" },
                                      { 0, "Type code 3 (val 0xca) at offset 17" },
                                      { 0, "Type code 3 (val 0xca) at offset 28" },
                                      { 0, "Type code 3 (val 0xc3) at offset 39" },
                                      { 0, "Type code 3 (val 0xce) at offset 43" } } ) );
}

TEST_F( FruReaderTest, AreaLiesWhereTheHeaderSays ) {
    // At 3 * 8 = 24.
    ham.image = std::string( "\x01\x00\x01\x02\x03\x00\x00\xF9", 8 ) + std::string( 16, '\x55' ) +
                std::string( "\x01\x08\x19", 3 ) + sample;
    EXPECT_EQ( read(), PL_STATUS_OK );
    EXPECT_EQ( product, "DPS550AB6A" );
    EXPECT_EQ( ham.log[ 11 ], "read8 0x1b" );
}

TEST_F( FruReaderTest, UnreadableHeaderIsTracedAndReturned ) {
    ham.image = image( sample );
    ham.statuses = { 4 };
    EXPECT_EQ( read(), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host.traces, ( Traces{ { 0, "PsuSlot1: Error reading common header" } } ) );
    EXPECT_EQ( ham.log.size(), 10u );
}

TEST_F( FruReaderTest, HeaderMustAddUpToZeroUnlessAllowed ) {
    ham.image = image( sample );
    ham.image[ 7 ] = '\xFF';
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( host.traces, ( Traces{ { 0, "PsuSlot1: Common header checksum error" } } ) );
    host.traces.clear();
    EXPECT_EQ( read( true ), PL_STATUS_OK );
    EXPECT_EQ( host.traces.front(), ( Trace{ 0, "PsuSlot1: Common header checksum error" } ) );
    EXPECT_EQ( serial, "GTVD1615001656" );
}

TEST_F( FruReaderTest, NoProductArea ) {
    ham.image = std::string( "\x01\x00\x00\x00\x00\x00\x00\xFF", 8 );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( ham.log.size(), 10u );
}

TEST_F( FruReaderTest, AreaBeyondTheImage ) {
    ham.image = std::string( "\x01\x00\x00\x00\x20\x00\x00\xDF", 8 ); // at 256
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( ham.log.size(), 10u );
}

TEST_F( FruReaderTest, ErasedEeprom ) {
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( read( true ), PL_STATUS_NOT_PRESENT ); // the area would be at 2040
}

TEST_F( FruReaderTest, FieldsEndEarly ) {
    ham.image = image( field( "DELTA" ) + field( "DPS550AB6A" ) + "\xC1" );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    ham.image = image( field( "DELTA" ) + "\xC1" );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
}

TEST_F( FruReaderTest, UnreadableTypeLengthByte ) {
    ham.image = image( sample );
    ham.statuses = { 0, 0, 6 };
    EXPECT_EQ( read(), PL_STATUS_FAILED );
    EXPECT_EQ( host.traces.back(), ( Trace{ 0, "Error reading type/length byte" } ) );
}

TEST_F( FruReaderTest, UnreadableField ) {
    ham.image = image( sample );
    ham.statuses = { 0, 0, 0, 6 };
    EXPECT_EQ( read(), PL_STATUS_FAILED );
    EXPECT_EQ( host.traces.back(), ( Trace{ 0, "Error reading product info field" } ) );
}

TEST_F( FruReaderTest, FieldThatComesShort ) {
    ham.image = image( sample );
    ham.readableEnd = 50; // in the middle of the serial number
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( host.traces.back(), ( Trace{ 0, "Error reading product info field" } ) );
}

TEST_F( FruReaderTest, OtherTypeCodesAbort ) {
    const auto failure = assertionFailure( "OrvanGeneric/Drivers/FruReader.cpp",
                                           "type == 3 && \"Expected type code 3 (8-bit ASCII)\"" );
    for ( const char *typeLength : { "\x05", "\x45", "\x85" } ) {
        ham.image = image( typeLength + std::string( "DELTA" ) + sample );
        EXPECT_DEATH( read(), failure );
    }
}

TEST_F( FruReaderTest, EmptyFieldsAreNotRead ) {
    ham.image = image( field( "" ) + field( "" ) + field( "" ) + field( "" ) + field( "77" ) );
    EXPECT_EQ( read(), PL_STATUS_OK );
    EXPECT_EQ( product, "" );
    EXPECT_EQ( serial, "77" );
}

TEST_F( FruReaderTest, FieldsUpToTheImagesEndAreReadAndNoneBeyond ) {
    // Four fields of 46 bytes from 11 on, then the serial number's length at 199.
    std::string fields;
    for ( int i = 0; i < 4; ++i ) {
        fields += field( std::string( 46, 'x' ) );
    }
    ham.image = image( fields + field( std::string( 56, 's' ) ) );
    ASSERT_EQ( ham.image.size(), 256u );
    EXPECT_EQ( read(), PL_STATUS_OK );
    EXPECT_EQ( serial, std::string( 56, 's' ) );
    ham.image[ 199 ] = static_cast<char>( 0xC0 | 57 );
    ham.takeLog();
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( ham.log[ ham.log.size() - 2 ], "read8 0xc7" );
}

TEST_F( FruReaderTest, TypeLengthByteBeyondTheImage ) {
    // The fourth field ends with the image.
    std::string fields;
    for ( int i = 0; i < 3; ++i ) {
        fields += field( std::string( 60, 'x' ) );
    }
    ham.image = image( fields + field( std::string( 61, 'x' ) ) );
    ASSERT_EQ( ham.image.size(), 256u );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( ham.log[ ham.log.size() - 2 ], "read8 0xc2" ); // the fourth field's
}

} // namespace
