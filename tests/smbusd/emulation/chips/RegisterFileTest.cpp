#include "smbusd/emulation/chips/RegisterFile.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x40 );

TestBoard boardWith( const std::string &options ) {
    return TestBoard( TestBoard::withChips(
        R"({ "name": "r", "type": "registers", "address": "0x40", )" + options + "}" ) );
}

std::string messageOf( const std::string &options ) {
    try {
        boardWith( options );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

TEST( RegisterFile, BytesGoOnToTheNextRegisterAndAroundTheEnd ) {
    TestBoard test = boardWith( R"("count": 4, "registers": { "0": 10, "3": 13 })" );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 3, 3 ) ), bytes( 13, 10, 0 ) );
    test.run( TransactionBuilder().write( place, 3, bytes( 1, 2 ) ) );
    EXPECT_EQ( test.number( "r", 3 ), 1u );
    EXPECT_EQ( test.number( "r", 0 ), 2u );
}

TEST( RegisterFile, WordsTravelInTheirByteOrder ) {
    TestBoard low = boardWith( R"("width": 16, "registers": { "1": "0x1234" })" );
    EXPECT_EQ( low.data( TransactionBuilder().read( place, 1, 2 ) ), bytes( 0x34, 0x12 ) );
    TestBoard high =
        boardWith( R"("width": 16, "byteOrder": "high-first", "registers": { "1": "0x1234" })" );
    EXPECT_EQ( high.data( TransactionBuilder().read( place, 1, 2 ) ), bytes( 0x12, 0x34 ) );
    high.run( TransactionBuilder().write( place, 1, bytes( 0xAB, 0xCD, 0x00, 0x01 ) ) );
    EXPECT_EQ( high.number( "r", 1 ), 0xABCDu );
    EXPECT_EQ( high.number( "r", 2 ), 0x0001u );
}

TEST( RegisterFile, AWordWrittenInPartIsLoggedAndStays ) {
    TestBoard test = boardWith( R"("width": 16, "registers": { "1": "0x1234" })" );
    test.run( TransactionBuilder().write( place, 1, bytes( 0xFF ) ) );
    EXPECT_EQ( test.number( "r", 1 ), 0x1234u );
    EXPECT_TRUE( test.logged( "registers \"r\": register 0x01 was written only in part" ) );
    // The next access starts with a whole word.
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 1, 2 ) ), bytes( 0x34, 0x12 ) );
}

TEST( RegisterFile, WritesToReadOnlyRegistersAreLoggedAndIgnored ) {
    TestBoard test = boardWith( R"("registers": { "5": 7 }, "readOnly": [ 5 ])" );
    EXPECT_FALSE( test.run( TransactionBuilder().write( place, 5, bytes( 9 ) ) ).failed() );
    EXPECT_EQ( test.number( "r", 5 ), 7u );
    EXPECT_TRUE( test.logged( "registers \"r\": write of 0x9 to the read-only register 0x05" ) );
    test.chip( "r" ).poke( 5, uint32_t{ 8 } ); // behind the bus's back it can be changed
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 5, 1 ) ), bytes( 8 ) );
}

TEST( RegisterFile, RegistersThatDoNotExistAreNotAcknowledged ) {
    TestBoard test = boardWith( R"("count": 16)" );
    EXPECT_FALSE( test.run( TransactionBuilder().read( place, 15, 1 ) ).failed() );
    EXPECT_TRUE( test.run( TransactionBuilder().read( place, 16, 1 ) ).failed() );
    EXPECT_EQ( test.wire.front(), "S 40 W A 10 N P" );
    EXPECT_TRUE( test.logged( "registers \"r\": register 0x10 does not exist" ) );
    EXPECT_THROW( test.chip( "r" ).peek( 16 ), smbusd::ChipError );
    EXPECT_THROW( test.chip( "r" ).poke( 16, uint32_t{ 0 } ), smbusd::ChipError );
}

TEST( RegisterFile, AProcessCallAnswersWhatTheRegisterHoldsThen ) {
    TestBoard test = boardWith( R"("width": 16)" );
    EXPECT_EQ( test.data( TransactionBuilder().processCall( place, 4, bytes( 0x11, 0x22 ) ) ),
               bytes( 0x11, 0x22 ) );
    EXPECT_EQ( test.number( "r", 4 ), 0x2211u );
}

TEST( RegisterFile, ReceiveByteGoesOnWhereTheLastAccessEnded ) {
    TestBoard test = boardWith( R"("registers": { "8": 8, "9": 9, "10": 10 })" );
    test.run( TransactionBuilder().sendByte( place, 8 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 8 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 9 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 10 ) );
}

TEST( RegisterFile, ResetBringsBackTheFirstValues ) {
    TestBoard test = boardWith( R"("fill": "0xEE", "registers": { "1": 1 })" );
    test.run( TransactionBuilder().write( place, 0, bytes( 5, 5 ) ) );
    test.chip( "r" ).reset();
    EXPECT_EQ( test.number( "r", 0 ), 0xEEu );
    EXPECT_EQ( test.number( "r", 1 ), 1u );
}

TEST( RegisterFile, ListsItsRegisters ) {
    TestBoard test = boardWith( R"("width": 16, "count": 3, "readOnly": [ 1 ])" );
    const auto list = test.chip( "r" ).registers();
    ASSERT_EQ( list.size(), 3u );
    EXPECT_EQ( list[ 1 ].number, 1u );
    EXPECT_EQ( list[ 1 ].width, 2u );
    EXPECT_TRUE( list[ 1 ].readOnly );
    EXPECT_FALSE( list[ 2 ].readOnly );
}

TEST( RegisterFile, RefusesWrongOptions ) {
    EXPECT_EQ( messageOf( R"("width": 12)" ),
               "hardware.json: at /buses/0/chips/0/width: 12; expected 8 or 16" );
    EXPECT_EQ( messageOf( R"("byteOrder": "big")" ),
               "hardware.json: at /buses/0/chips/0/byteOrder: \"big\"; expected \"low-first\" or "
               "\"high-first\"" );
    EXPECT_EQ(
        messageOf( R"("registers": { "0x100": 0 })" ),
        "hardware.json: at /buses/0/chips/0/registers/0x100: 0; expected a key from 0 to 255 "
        "(or \"0xFF\")" );
    EXPECT_EQ(
        messageOf( R"("registers": { "1": 256 })" ),
        "hardware.json: at /buses/0/chips/0/registers/1: 256; expected a whole number from 0 "
        "to 255 (or as text: \"0xFF\")" );
    EXPECT_EQ(
        messageOf( R"("count": 4, "readOnly": [ 4 ])" ),
        "hardware.json: at /buses/0/chips/0/readOnly/0: 4; expected a whole number from 0 to 3 "
        "(or as text: \"0x3\")" );
    EXPECT_EQ( messageOf( R"("count": 0)" ),
               "hardware.json: at /buses/0/chips/0/count: 0; expected a whole number from 1 to 256 "
               "(or as text: \"0x100\")" );
}

/** A register file with a life of its own: register 1 counts how often register 0 was written. */
class CountingFile : public smbusd::RegisterFile {
  public:
    using RegisterFile::RegisterFile;
    int writes = 0;

  protected:
    uint32_t valueOf( uint32_t reg ) const override {
        return reg == 1 ? static_cast<uint32_t>( writes ) << 8 | 0x5A : stored( reg );
    }
    void written( uint32_t reg ) override { writes += reg == 0 ? 1 : 0; }
};

TEST( RegisterFile, DerivedChipsComputeWhatIsReadAndActOnWrites ) {
    TestBoard board( TestBoard::withChips( "" ) );
    CountingFile chip( { "c", "counting", 0x40, board.scheduler, board.log, board.hardware },
                       { .width = 2, .highFirst = true, .count = 4, .fill = 0 } );
    chip.start( false );
    for ( const uint8_t byte : std::initializer_list<uint8_t>{ 0x00, 0x12, 0x34 } ) {
        EXPECT_TRUE( chip.write( byte ) );
    }
    chip.stop();
    EXPECT_EQ( chip.writes, 1 );
    chip.start( false );
    chip.write( 1 );
    chip.start( true );
    const uint8_t high = chip.read();
    chip.writes = 9; // within a word nothing changes
    EXPECT_EQ( high, 0x01 );
    EXPECT_EQ( chip.read(), 0x5A );
    chip.stop();
}

} // namespace
