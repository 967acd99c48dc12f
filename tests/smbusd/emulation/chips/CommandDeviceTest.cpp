#include "smbusd/emulation/chips/CommandDevice.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

constexpr test::Place place = testBus.at( 0x58 );

std::string chipWith( const std::string &commands, const std::string &more = "" ) {
    return R"({ "name": "d", "type": "commands", "address": "0x58", )" + more +
           R"("commands": { )" + commands + " } }";
}

std::string messageOf( const std::string &commands ) {
    try {
        TestBoard test( TestBoard::withChips( chipWith( commands ) ) );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

class CommandDevice : public testing::Test {
  protected:
    bool fails( const TransactionBuilder &builder ) { return test.run( builder ).failed(); }
    std::string block( uint32_t reg ) {
        const auto content = std::get<std::vector<uint8_t>>( test.chip( "d" ).peek( reg ) );
        return { content.begin(), content.end() };
    }

    TestBoard test{ TestBoard::withChips( chipWith( R"(
        "0x03": { "send": true },
        "0x10": { "byte": "0x80" },
        "0x79": { "word": "0x2C4B", "readOnly": true },
        "0x9A": { "block": "ACME" },
        "0x9B": { "block": [ 1, 2 ], "readOnly": true } )" ) ) };
};

TEST_F( CommandDevice, HoldsWhatIsWritten ) {
    test.run( TransactionBuilder()
                  .write( place, 0x10, bytes( 0x12 ) )
                  .blockWrite( place, 0x9A, "other" ) );
    EXPECT_EQ( test.number( "d", 0x10 ), 0x12u );
    EXPECT_EQ( block( 0x9A ), "other" );
    test.chip( "d" ).reset();
    EXPECT_EQ( test.number( "d", 0x10 ), 0x80u );
    EXPECT_EQ( block( 0x9A ), "ACME" );
}

TEST_F( CommandDevice, RefusesWhatACommandDoesNotTake ) {
    EXPECT_TRUE( fails( TransactionBuilder().write( place, 0x10, bytes( 1, 2, 3 ) ) ) );
    EXPECT_TRUE( fails( TransactionBuilder().write( place, 0x79, bytes( 1, 2 ) ) ) );
    EXPECT_TRUE( test.logged( "commands \"d\": write to the read-only command 0x79" ) );
    EXPECT_TRUE( fails( TransactionBuilder().blockWrite( place, 0x9B, "a" ) ) );
    EXPECT_TRUE( fails( TransactionBuilder().read( place, 0x55, 1 ) ) );
    EXPECT_TRUE( test.logged( "commands \"d\": command 0x55 is not known" ) );
    EXPECT_EQ( test.number( "d", 0x10 ), 0x80u );
    EXPECT_EQ( test.number( "d", 0x79 ), 0x2C4Bu );
}

TEST_F( CommandDevice, IgnoresWritesThatEndTooEarly ) {
    TestBoard words( TestBoard::withChips( chipWith( R"("0x3B": { "word": 5 })" ) ) );
    EXPECT_FALSE( words.run( TransactionBuilder().write( place, 0x3B, bytes( 1 ) ) ).failed() );
    EXPECT_EQ( words.number( "d", 0x3B ), 5u );
    EXPECT_TRUE( words.logged( "commands \"d\": only 1 of 2 data byte(s) for command 0x3B" ) );
    // A block whose count promises more than comes, sent as plain bytes.
    test.run( TransactionBuilder().write( place, 0x9A, bytes( 5, 'a', 'b' ) ) );
    EXPECT_EQ( block( 0x9A ), "ACME" );
    EXPECT_TRUE( test.logged( "commands \"d\": only 3 of 6 data byte(s) for command 0x9A" ) );
}

TEST_F( CommandDevice, RefusesBlocksThatAreTooLong ) {
    EXPECT_TRUE( fails( TransactionBuilder().write( place, 0x9A, bytes( 33, 'a', 'b' ) ) ) );
    EXPECT_TRUE(
        test.logged( "commands \"d\": block of 33 bytes for command 0x9A, which takes 1 to 32" ) );
}

TEST_F( CommandDevice, AByteWriteWithWrongPecIsNotAcknowledgedAndHasNoEffect ) {
    // Sent as a word: the second byte stands where the packet error code would; 0x34 is right
    // behind 0xB0 0x10 0x80.
    EXPECT_TRUE( fails( TransactionBuilder().write( place, 0x10, bytes( 0x81, 0x34 ) ) ) );
    EXPECT_EQ( test.number( "d", 0x10 ), 0x80u );
    test.chip( "d" ).poke( 0x10, uint32_t{ 0 } );
    EXPECT_FALSE( fails( TransactionBuilder().write( place, 0x10, bytes( 0x80, 0x34 ) ) ) );
    EXPECT_EQ( test.number( "d", 0x10 ), 0x80u );
}

TEST_F( CommandDevice, AReceiveByteBeforeAnyCommandBringsAnIdleLine ) {
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place ) ), bytes( 0xFF ) );
}

TEST_F( CommandDevice, AReceiveByteOfAWordEndsWithAPacketErrorCode ) {
    // 0xAC is the code after 0xB1 0x4B; the word's high byte, 0x2C, is not read.
    test.run( TransactionBuilder().sendByte( place, 0x79 ) );
    EXPECT_EQ( test.data( TransactionBuilder().receiveByte( place, true ) ), bytes( 0x4B ) );
}

TEST_F( CommandDevice, ABlockOfNoBytesIsRefused ) {
    EXPECT_TRUE( fails( TransactionBuilder().write( place, 0x9A, bytes( 0 ) ) ) );
    EXPECT_EQ( block( 0x9A ), "ACME" );
}

TEST_F( CommandDevice, SendsAreCounted ) {
    test.run( TransactionBuilder().sendByte( place, 3 ).sendByte( place, 3 ) );
    EXPECT_EQ( test.number( "d", 3 ), 2u );
    // Naming a command that reads is no send, and has no effect.
    EXPECT_FALSE( fails( TransactionBuilder().sendByte( place, 0x79 ) ) );
    EXPECT_TRUE( fails( TransactionBuilder().read( place, 3, 1 ) ) );
    EXPECT_EQ( test.number( "d", 3 ), 2u ) << "a read is no send";
    EXPECT_TRUE( test.logged( "commands \"d\": read of the write-only command 0x03" ) );
}

TEST_F( CommandDevice, BehindItsAnswerItSaysNothing ) {
    // Four bytes of a word: its two, the packet error code, and the idle line.
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x79, 4 ) ),
               bytes( 0x4B, 0x2C, 0xDC, 0xFF ) );
}

TEST_F( CommandDevice, CanBeChangedBehindTheBus ) {
    smbusd::Chip &chip = test.chip( "d" );
    chip.poke( 0x79, uint32_t{ 0x1234 } );
    chip.poke( 0x9B, std::vector<uint8_t>{ 'x' } );
    chip.poke( 0x03, uint32_t{ 0 } );
    EXPECT_EQ( test.data( TransactionBuilder().read( place, 0x79, 2 ) ), bytes( 0x34, 0x12 ) );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( place, 0x9B ) ), "x" );
    EXPECT_THROW( chip.poke( 0x10, uint32_t{ 256 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( 0x9A, uint32_t{ 1 } ), smbusd::ChipError );
    EXPECT_THROW( chip.poke( 0x9A, std::vector<uint8_t>{} ), smbusd::ChipError );
    EXPECT_THROW( chip.peek( 0x55 ), smbusd::ChipError );
    EXPECT_THROW( chip.peek( 0x103 ), smbusd::ChipError );
    const auto list = chip.registers();
    ASSERT_EQ( list.size(), 5u );
    EXPECT_EQ( list[ 0 ].name, "times sent" );
    EXPECT_EQ( list[ 3 ].width, 0u );
    EXPECT_TRUE( list[ 4 ].readOnly );
}

TEST( CommandDeviceConfig, CanDoWithoutPec ) {
    TestBoard test(
        TestBoard::withChips( chipWith( R"("0x10": { "byte": 1 })", R"("pec": false, )" ) ) );
    EXPECT_TRUE( test.run( TransactionBuilder().write( place, 0x10, bytes( 2 ), true ) ).failed() );
    EXPECT_EQ( test.number( "d", 0x10 ), 1u );
    EXPECT_TRUE( test.logged( "commands \"d\": more than 1 data byte(s) for command 0x10" ) );
    EXPECT_FALSE( test.run( TransactionBuilder().write( place, 0x10, bytes( 2 ) ) ).failed() );
}

TEST( CommandDeviceConfig, RefusesWrongCommands ) {
    EXPECT_EQ( messageOf( R"("0x10": {})" ),
               "hardware.json: at /buses/0/chips/0/commands/0x10: {}; expected exactly one of "
               "\"byte\", \"word\", \"block\" and \"send\"" );
    EXPECT_EQ(
        messageOf( R"("0x10": { "byte": 256 })" ),
        "hardware.json: at /buses/0/chips/0/commands/0x10/byte: 256; expected a whole number "
        "from 0 to 255 (or as text: \"0xFF\")" );
    EXPECT_EQ(
        messageOf( R"("0x10": { "block": "" })" ),
        "hardware.json: at /buses/0/chips/0/commands/0x10/block: \"\"; expected a block of 1 to "
        "32 bytes" );
    EXPECT_EQ( messageOf( R"("0x10": { "send": false })" ),
               "hardware.json: at /buses/0/chips/0/commands/0x10/send: false; expected true, or no "
               "\"send\"" );
    EXPECT_EQ( messageOf( R"("0x100": { "byte": 1 })" ).substr( 0, 51 ),
               "hardware.json: at /buses/0/chips/0/commands/0x100: " );
}

} // namespace
