#include "smbusd/emulation/chips/Eeprom.h"

#include <gtest/gtest.h>

#include "common/TemporaryFolder.h"
#include "tests/support/TestBoard.h"

namespace {

using namespace std::chrono_literals;
using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place small = testBus.at( 0x50 );

test::Place large() {
    test::Place place = small;
    place.registerSize = 2;
    return place;
}

std::string chipWith( const std::string &options ) {
    return R"({ "name": "rom", "type": "eeprom", "address": "0x50")" +
           ( options.empty() ? "" : ", " + options ) + "}";
}

TestBoard boardWith( const std::string &options, const std::string &folder = "." ) {
    return TestBoard( TestBoard::withChips( chipWith( options ) ), folder );
}

std::string messageOf( const std::string &options, const std::string &folder = "." ) {
    try {
        boardWith( options, folder );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

TEST( Eeprom, IsDeliveredErased ) {
    TestBoard test = boardWith( "" );
    EXPECT_EQ( test.data( TransactionBuilder().read( small, 0xFE, 2 ) ), bytes( 0xFF, 0xFF ) );
    EXPECT_EQ( test.chip( "rom" ).registers().size(), 256u );
}

TEST( Eeprom, ReadsGoOnAndAroundTheEndOfTheMemory ) {
    TestBoard test = boardWith( R"("data": [ 1, 2, 3 ])" );
    EXPECT_EQ( test.data( TransactionBuilder().read( small, 0xFF, 4 ) ), bytes( 0xFF, 1, 2, 3 ) );
    test.run( TransactionBuilder().read( small, 0, 1 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( small ) ), bytes( 2 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( small ) ), bytes( 3 ) );
}

TEST( Eeprom, WritesWrapWithinThePage ) {
    TestBoard test = boardWith( "" ); // pages of 8 bytes
    test.run( TransactionBuilder().write( small, 0x0E, bytes( 1, 2, 3, 4 ) ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( small, 0x08, 8 ) ),
               bytes( 3, 4, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2 ) );
    EXPECT_EQ( test.number( "rom", 0x10 ), 0xFFu );
}

TEST( Eeprom, MoreThanAPageOverwritesItsOwnBeginning ) {
    TestBoard test = boardWith( R"("pageSize": 4)" );
    test.run( TransactionBuilder().write( small, 0, bytes( 1, 2, 3, 4, 5, 6 ) ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( small, 0, 5 ) ), bytes( 5, 6, 3, 4, 0xFF ) );
}

TEST( Eeprom, SixteenBitAddressesGoHighByteFirst ) {
    TestBoard test = boardWith( R"("addressing": 16, "size": 4096)" );
    test.run( TransactionBuilder().write( large(), 0x0123, bytes( 0xAA ) ) );
    EXPECT_EQ( test.number( "rom", 0x123 ), 0xAAu );
    EXPECT_EQ( test.data( TransactionBuilder().read( large(), 0x0123, 1 ) ), bytes( 0xAA ) );
    // Addresses beyond the size come around.
    EXPECT_EQ( test.data( TransactionBuilder().read( large(), 0xF123, 1 ) ), bytes( 0xAA ) );
    EXPECT_EQ( test.data( TransactionBuilder().read( large(), 0x0FFF, 2 ) ), bytes( 0xFF, 0xFF ) );
}

TEST( Eeprom, SixteenBitPagesHave32Bytes ) {
    TestBoard test = boardWith( R"("addressing": 16)" );
    EXPECT_EQ( test.chip( "rom" ).registers().size(), 8192u );
    test.run( TransactionBuilder().write( large(), 0x013F, bytes( 1, 2 ) ) );
    EXPECT_EQ( test.number( "rom", 0x13F ), 1u );
    EXPECT_EQ( test.number( "rom", 0x120 ), 2u );
}

TEST( Eeprom, IsBusyDuringTheWriteCycle ) {
    TestBoard test = boardWith( R"("writeCycleMs": 5)" );
    test.run( TransactionBuilder().write( small, 0, bytes( 1 ) ) );
    EXPECT_TRUE( test.run( TransactionBuilder().read( small, 0, 1 ).retries( 0 ) ).failed() );
    test.scheduler.advance( 4ms );
    EXPECT_TRUE( test.run( TransactionBuilder().read( small, 0, 1 ).retries( 0 ) ).failed() );
    test.scheduler.advance( 1ms );
    EXPECT_EQ( test.data( TransactionBuilder().read( small, 0, 1 ) ), bytes( 1 ) );
}

TEST( Eeprom, StoresOnlyAtTheStop ) {
    TestBoard test = boardWith( "" );
    test.data( TransactionBuilder().processCall( small, 0, bytes( 1, 2 ) ) );
    EXPECT_EQ( test.number( "rom", 0 ), 0xFFu );
}

TEST( Eeprom, WriteProtectionKeepsTheContent ) {
    TestBoard test = boardWith( R"("data": [ 7 ], "inputs": { "wp": 1 })" );
    EXPECT_FALSE( test.run( TransactionBuilder().write( small, 0, bytes( 9 ) ) ).failed() );
    EXPECT_EQ( test.number( "rom", 0 ), 7u );
    EXPECT_TRUE(
        test.logged( "eeprom \"rom\": write of 1 byte(s) at 0x00 while write-protected" ) );
    test.chip( "rom" ).setInput( "wp", 0 );
    test.run( TransactionBuilder().write( small, 0, bytes( 9 ) ) );
    EXPECT_EQ( test.number( "rom", 0 ), 9u );
    EXPECT_EQ( test.chip( "rom" ).inputs().at( 0 ).name, "wp" );
    EXPECT_THROW( test.chip( "rom" ).setInput( "wp", 2 ), smbusd::ChipError );
    EXPECT_THROW( test.chip( "rom" ).setInput( "p00", 1 ), smbusd::ChipError );
}

TEST( Eeprom, LosesNothingWithoutPower ) {
    TestBoard test = boardWith( "" );
    test.run( TransactionBuilder().write( small, 4, bytes( 9 ) ) );
    test.chip( "rom" ).reset();
    EXPECT_EQ( test.number( "rom", 4 ), 9u );
}

TEST( Eeprom, TakesAnImageFile ) {
    const common::TemporaryFolder folder;
    folder.write( "rom.bin", std::string( "\0\x12\xFF", 3 ) );
    TestBoard test = boardWith( R"("image": "rom.bin")", folder.path() );
    EXPECT_EQ( test.data( TransactionBuilder().read( small, 0, 4 ) ),
               bytes( 0, 0x12, 0xFF, 0xFF ) );
    folder.write( "big.bin", std::string( 257, 'x' ) );
    EXPECT_EQ(
        messageOf( R"("image": "big.bin")", folder.path() ),
        "hardware.json: at /buses/0/chips/0/image: \"big.bin\"; expected at most 256 bytes, the "
        "EEPROM's size, not 257" );
    EXPECT_EQ(
        messageOf( R"("image": "none.bin")", "/nowhere" ),
        "hardware.json: at /buses/0/chips/0/image: \"none.bin\"; expected a file that can be "
        "read, relative to this one (/nowhere/none.bin cannot)" );
}

TEST( Eeprom, RefusesWrongOptions ) {
    EXPECT_EQ( messageOf( R"("addressing": 12)" ),
               "hardware.json: at /buses/0/chips/0/addressing: 12; expected 8 or 16" );
    EXPECT_EQ(
        messageOf( R"("size": 100)" ),
        "hardware.json: at /buses/0/chips/0/size: 100; expected a power of two, at most 256" );
    EXPECT_EQ(
        messageOf( R"("size": 512)" ),
        "hardware.json: at /buses/0/chips/0/size: 512; expected a whole number from 1 to 256 "
        "(or as text: \"0x100\")" );
    EXPECT_EQ(
        messageOf( R"("pageSize": 512)" ),
        "hardware.json: at /buses/0/chips/0/pageSize: 512; expected a whole number from 1 to "
        "256 (or as text: \"0x100\")" );
    EXPECT_EQ(
        messageOf( R"("data": [ 256 ])" ),
        "hardware.json: at /buses/0/chips/0/data/0: 256; expected a whole number from 0 to 255 "
        "(or as text: \"0xFF\")" );
    EXPECT_EQ(
        messageOf( R"("data": [], "image": "x")" ),
        "hardware.json: at /buses/0/chips/0/data: []; expected either \"image\" or \"data\"" );
    TestBoard test = boardWith( "" );
    EXPECT_THROW( test.chip( "rom" ).peek( 256 ), smbusd::ChipError );
    EXPECT_THROW( test.chip( "rom" ).poke( 256, uint32_t{ 0 } ), smbusd::ChipError );
    test.chip( "rom" ).poke( 255, uint32_t{ 3 } );
    EXPECT_EQ( test.number( "rom", 255 ), 3u );
}

} // namespace
