#include "OrvanGeneric/Drivers/TlvReader.h"

#include <gtest/gtest.h>

#include "tests/support/AssertionFailure.h"
#include "tests/support/EepromHam.h"

namespace {

using Log = std::vector<std::string>;

constexpr const char *file = "OrvanGeneric/Drivers/TlvReader.cpp";

std::string field( char type, const std::string &value ) {
    return std::string{ type, static_cast<char>( value.size() ) } + value;
}
std::string header( unsigned length ) {
    return std::string( "TlvInfo\0\x01", 9 ) +
           std::string{ static_cast<char>( length >> 8 ), static_cast<char>( length ) };
}
std::string image( const std::string &fields ) {
    return header( static_cast<unsigned>( fields.size() ) ) + fields;
}

const std::string model = field( 0x22, "PWR-500" );
const std::string serial = field( 0x23, "SN42" );
const std::string vendor = field( 0x2D, "Emerson" );
const std::string checksum = field( '\xFE', "\x01\x02\x03\x04" );

class TlvReaderTest : public testing::Test {
  protected:
    pl_status read() {
        serialRead.clear();
        modelRead.clear();
        return Drivers::readTlvInfo( &ham, serialRead, modelRead );
    }
    void expectBoth( const std::string &content ) {
        ham.image = content;
        EXPECT_EQ( read(), PL_STATUS_OK );
        EXPECT_EQ( modelRead, "PWR-500" );
        EXPECT_EQ( serialRead, "SN42" );
    }

    EepromHam ham;
    std::string serialRead;
    std::string modelRead;
};

TEST_F( TlvReaderTest, FindsSerialAndModelInAnyOrder ) {
    expectBoth( image( model + serial + checksum ) );
    expectBoth( image( serial + vendor + model + checksum ) );
    expectBoth( image( vendor + field( 0x21, "" ) + serial + model ) );
}

TEST_F( TlvReaderTest, StopsWhenBothAreFound ) {
    expectBoth( image( vendor + model + serial + checksum ) );
    EXPECT_EQ( ham.log, ( Log{ "prepare", "read 0x00 11", "execute", //
                               "prepare", "read 0x0b 2", "execute",  // the vendor's type and length
                               "prepare", "read 0x14 2", "execute",  //
                               "prepare", "read 0x16 7", "execute",  // the model
                               "prepare", "read 0x1d 2", "execute",  //
                               "prepare", "read 0x1f 4", "execute" } ) );
}

TEST_F( TlvReaderTest, MissingFieldIsNotPresent ) {
    ham.image = image( vendor + serial + checksum );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( serialRead, "SN42" );
    ham.image = image( vendor + model + checksum );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    ham.image = image( "" );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
}

TEST_F( TlvReaderTest, FieldsBehindTheAreaDoNotCount ) {
    ham.image = header( static_cast<unsigned>( serial.size() ) ) + serial + model;
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
}

TEST_F( TlvReaderTest, FieldThatBeginsInTheAreaIsReadWhole ) {
    expectBoth( header( static_cast<unsigned>( serial.size() ) + 1 ) + serial + model );
}

TEST_F( TlvReaderTest, EmptyFieldsAreNotReadAndTheSearchGoesOn ) {
    expectBoth( image( field( 0x22, "" ) + serial + model ) );
    EXPECT_EQ( ham.log[ 4 ], "read 0x0b 2" );
    EXPECT_EQ( ham.log[ 7 ], "read 0x0d 2" );
    ham.image = image( field( 0x22, "" ) + serial );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
}

TEST_F( TlvReaderTest, LowByteOfTheLengthCountsAsSigned ) {
    // 0x01F0 is 256 - 16: the area ends at 251, where a model may begin before but not at.
    const std::string filler = field( 0x2D, std::string( 231, 'x' ) );
    ASSERT_EQ( 11 + filler.size() + serial.size(), 250u );
    expectBoth( header( 0x1F0 ) + filler + serial + model );
    ham.image = header( 0x1F0 ) + field( 0x2D, std::string( 232, 'x' ) ) + serial + model;
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    // 0x00F5 is -11: the area ends at 0.
    ham.image = header( 0xF5 ) + serial + model;
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    // 0x0080 is -128: 65536 - 117 is the end.
    expectBoth( header( 0x80 ) + serial + model );
}

TEST_F( TlvReaderTest, SearchEndsThoughTheAreaIsFarLargerThanTheMemory ) {
    // 0xFFF4 is -256 - 12: the area ends at 65279. Erased fields have 257 bytes each.
    ham.image = header( 0xFFF4 );
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( ham.log.size() / 3, 1u + 254u ); // the last begins at 11 + 253 * 257 = 65032
}

TEST_F( TlvReaderTest, UnreadableHeaderIsNotPresent ) {
    ham.image = image( model + serial );
    ham.statuses = { 6 };
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    ham.readableEnd = 10;
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
}

TEST_F( TlvReaderTest, OtherHeadersAbort ) {
    const struct {
        size_t at;
        char byte;
        const char *expression;
    } cases[] = {
        { 0, 't', "header.substr( 0, 7 ) == \"TlvInfo\"" },
        { 6, 'p', "header.substr( 0, 7 ) == \"TlvInfo\"" },
        { 7, ' ', "header[ 7 ] == '\\0'" },
        { 8, '\x02', "header[ 8 ] == '\\x01'" },
    };
    for ( const auto &[ at, byte, expression ] : cases ) {
        ham.image = image( model + serial );
        ham.image[ at ] = byte;
        EXPECT_DEATH( read(), assertionFailure( file, expression ) ) << at;
    }
}

TEST_F( TlvReaderTest, UnreadableTypeAndLengthAbort ) {
    const auto failure = assertionFailure( file, "res == PL_STATUS_OK" );
    ham.image = image( model + serial );
    ham.statuses = { 0, 6 };
    EXPECT_DEATH( read(), failure );
    ham.statuses.clear();
    ham.readableEnd = 12; // half a type and length
    EXPECT_DEATH( read(), failure );
}

TEST_F( TlvReaderTest, UnreadableValueLeavesTheSupplyUnidentified ) {
    ham.image = image( model + serial );
    ham.statuses = { 0, 0, 4 }; // header, type and length, then the model
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
    ham.image = image( serial + model );
    ham.statuses.clear();
    ham.readableEnd = ham.image.size() - 1; // all but the model's last character
    EXPECT_EQ( read(), PL_STATUS_NOT_PRESENT );
}

} // namespace
