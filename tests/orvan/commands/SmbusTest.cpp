#include <gmock/gmock.h>

#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::ExitCode;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SmbusTest : public testing::Test {
  protected:
    SmbusTest() {
        board_.add( "smbus", "raw" );
        board_.add( "gpio", "line" );
        board_.session().use( "raw" );
        state_.calls.clear();
    }
    void expectBadInput( const std::string &line, const std::string &message ) {
        const test::Outcome outcome = board_.run( line );
        EXPECT_EQ( outcome.code, ExitCode::BadInput ) << line;
        EXPECT_EQ( outcome.errors, "error: " + message + "\n" );
        EXPECT_THAT( state_.calls, IsEmpty() ) << line;
    }
    /** Runs a line that must do @p call and print @p output. */
    void expect( const std::string &line, const std::string &call, const std::string &output ) {
        state_.calls.clear();
        const test::Outcome outcome = board_.run( line );
        EXPECT_EQ( outcome.code, ExitCode::Ok ) << line << ": " << outcome.errors;
        EXPECT_EQ( outcome.output, output ) << line;
        EXPECT_THAT( state_.calls, ElementsAre( call ) ) << line;
    }
    test::FakeBoard board_;
    FakeState &state_ = board_.state();
};

TEST_F( SmbusTest, EveryOperationTakesAndPrintsHexadecimal ) {
    state_.number = 0x1ab;
    state_.block = { 0x4d, 0x00, 0xff };
    expect( "smbus raw receive", "receive_byte", "ab\n" );
    expect( "smbus raw send 0x0f --yes", "send_byte f", "" );
    expect( "smbus raw read-byte 9a", "read_byte 9a", "ab\n" );
    expect( "smbus raw write-byte 9a 7 --yes", "write_byte 9a 7", "" );
    expect( "smbus raw read-word 79", "read_word 79", "01ab\n" );
    expect( "smbus raw write-word 79 BEEF --yes", "write_word 79 beef", "" );
    expect( "smbus raw block-read 9a", "block_read 9a", "4d 00 ff\n" );
    expect( "smbus raw block-write 9a 1 2 ff --yes", "block_write 9a 1 2 ff", "" );
    expect( "smbus raw i2c-read 0 3", "i2c_block_read 0 3", "4d 00 ff\n" );
    expect( "smbus raw i2c-write 10 aa bb --yes", "i2c_block_write 10 aa bb", "" );
    expect( "smbus raw process-call 1 1234 --yes", "process_call 1 1234", "01ab\n" );
}

TEST_F( SmbusTest, EveryWriteNeedsYes ) {
    for ( const std::string operation :
          { "send 1", "write-byte 1 2", "write-word 1 2", "block-write 1 2", "i2c-write 1 2",
            "process-call 1 2" } ) {
        expectBadInput( "smbus raw " + operation, operation.substr( 0, operation.find( ' ' ) ) +
                                                      " writes to the device; say --yes to do it" );
    }
}

TEST_F( SmbusTest, OperandsAreChecked ) {
    expectBadInput( "smbus raw read-byte 100",
                    "\"100\" is no command byte; expected hexadecimal, 0 to ff" );
    expectBadInput( "smbus raw read-byte 0x",
                    "\"0x\" is no command byte; expected hexadecimal, 0 to ff" );
    expectBadInput( "smbus raw write-byte 1 zz --yes",
                    "\"zz\" is no byte; expected hexadecimal, 0 to ff" );
    expectBadInput( "smbus raw write-word 1 10000 --yes",
                    "\"10000\" is no word; expected hexadecimal, 0 to ffff" );
    expectBadInput( "smbus raw read-byte", "read-byte takes: COMMAND" );
    expectBadInput( "smbus raw read-byte 1 2", "read-byte takes: COMMAND" );
    expectBadInput( "smbus raw receive 1", "receive takes: nothing" );
    expectBadInput( "smbus raw block-write 1 --yes", "block-write takes: COMMAND BYTE..." );
    std::string line = "smbus raw block-write 1 --yes";
    for ( int i = 0; i < 33; ++i ) {
        line += " 0";
    }
    expectBadInput( line, "block-write takes at most 32 bytes, not 33" );
    for ( const char *count : { "", " 0", " 256", " ff", " 3x" } ) {
        expectBadInput( std::string( "smbus raw i2c-read 1" ) + count,
                        "i2c-read takes: COMMAND COUNT; COUNT is decimal, 1 to 255" );
    }
    expectBadInput( "smbus raw dump 1", "dump takes no operands" );
    expectBadInput( "smbus raw peek",
                    "there is no operation \"peek\"; expected one of receive, send, read-byte, "
                    "write-byte, read-word, write-word, block-read, block-write, i2c-read, "
                    "i2c-write, process-call, dump" );
    expectBadInput( "smbus line receive",
                    "line is a gpio; raw access needs a peripheral of kind smbus" );
    expectBadInput( "smbus none receive", "the board has no peripheral \"none\"" );
}

TEST_F( SmbusTest, AFailureIsNamed ) {
    state_.status = PL_STATUS_FAILED;
    const test::Outcome outcome = board_.run( "smbus raw read-word 8b" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.output, "" );
    EXPECT_EQ( outcome.errors, "raw read-word: failed\n" );
}

TEST_F( SmbusTest, Json ) {
    state_.number = 0x10;
    state_.block = { 1, 255 };
    EXPECT_EQ( board_.run( "smbus raw read-byte a0 --json" ).output,
               R"({"name":"raw","operation":"read-byte","command":160,"status":"ok","value":16})"
               "\n" );
    EXPECT_EQ(
        board_.run( "smbus raw block-read 1 --json" ).output,
        R"({"name":"raw","operation":"block-read","command":1,"status":"ok","bytes":[1,255]})"
        "\n" );
    state_.status = PL_STATUS_TRANSPORT;
    EXPECT_EQ( board_.run( "smbus raw receive --json" ).output,
               R"({"name":"raw","operation":"receive","status":"transport"})"
               "\n" );
}

TEST_F( SmbusTest, DumpShowsEveryRegisterOrThatItDoesNotAnswer ) {
    state_.number = 'A';
    state_.byteStatus = []( unsigned char command ) {
        return command % 16 == 15 || command >= 0xf0 ? PL_STATUS_FAILED : PL_STATUS_OK;
    };
    const test::Outcome outcome = board_.run( "smbus raw dump" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    std::string expected =
        "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n";
    for ( const char digit : std::string( "0123456789abcde" ) ) {
        expected += digit;
        expected += "0: 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 XX    AAAAAAAAAAAAAAAX\n";
    }
    expected += "f0: XX XX XX XX XX XX XX XX XX XX XX XX XX XX XX XX    XXXXXXXXXXXXXXXX\n";
    EXPECT_EQ( outcome.output, expected );
}

TEST_F( SmbusTest, ADumpWithoutAnyAnswerFails ) {
    state_.status = PL_STATUS_FAILED;
    const test::Outcome outcome = board_.run( "smbus raw dump" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "raw: no register answers\n" );
}

TEST_F( SmbusTest, DumpJsonHasNullForNoAnswer ) {
    state_.number = 7;
    state_.byteStatus = []( unsigned char command ) {
        return command == 1 ? PL_STATUS_FAILED : PL_STATUS_OK;
    };
    EXPECT_THAT( board_.run( "smbus raw dump --json" ).output,
                 HasSubstr( R"({"name":"raw","operation":"dump","bytes":[7,null,7,7,)" ) );
}

TEST_F( SmbusTest, WhatTheLibraryThrowsIsAFailure ) {
    state_.throwOnCall = true;
    const test::Outcome outcome = board_.run( "smbus raw receive" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ(
        outcome.errors,
        "error: the library threw fake::FakeNotImplemented: Not implemented receive_byte\n" );
}

TEST_F( SmbusTest, HexadecimalMayHaveItsPrefixInCapitals ) {
    expect( "smbus raw read-byte 0X9A", "read_byte 9a", "00\n" );
    expect( "smbus raw read-byte 00000ff", "read_byte ff", "00\n" );
    state_.calls.clear();
    expectBadInput( "smbus raw read-byte -- -1",
                    "\"-1\" is no command byte; expected hexadecimal, 0 to ff" );
}

TEST_F( SmbusTest, TheLongestOperandsAreTaken ) {
    std::string block;
    for ( int i = 0; i < 32; ++i ) {
        block += " 1";
    }
    expect( "smbus raw block-write 0 --yes" + block, "block_write 0" + block, "" );
    for ( int i = 32; i < 255; ++i ) {
        block += " 1";
    }
    expect( "smbus raw i2c-write 0 --yes" + block, "i2c_block_write 0" + block, "" );
    state_.calls.clear();
    expectBadInput( "smbus raw i2c-write 0 --yes 1" + block,
                    "i2c-write takes at most 255 bytes, not 256" );
    state_.block.assign( 255, 0x5a );
    std::string bytes = "5a";
    for ( int i = 1; i < 255; ++i ) {
        bytes += " 5a";
    }
    expect( "smbus raw i2c-read 0 255", "i2c_block_read 0 255", bytes + "\n" );
}

TEST_F( SmbusTest, ALengthBeyondTheBufferIsCut ) {
    state_.block.assign( 255, 1 );
    state_.blockLength = 1000;
    std::string bytes = "01";
    for ( int i = 1; i < 255; ++i ) {
        bytes += " 01";
    }
    expect( "smbus raw block-read 0", "block_read 0", bytes + "\n" );
}

TEST_F( SmbusTest, AnEmptyBlockIsAnEmptyLine ) {
    expect( "smbus raw block-read 0", "block_read 0", "\n" );
}

TEST_F( SmbusTest, AFailedBlockReadShowsNoBytes ) {
    state_.block = { 1, 2 };
    state_.status = PL_STATUS_FAILED;
    const test::Outcome outcome = board_.run( "smbus raw block-read 0" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.output, "" );
    EXPECT_EQ( outcome.errors, "raw block-read: failed\n" );
    EXPECT_EQ( board_.run( "smbus raw block-read 0 --json" ).output,
               R"({"name":"raw","operation":"block-read","command":0,"status":"failed"})"
               "\n" );
}

TEST_F( SmbusTest, AWriteInJsonHasNoValue ) {
    EXPECT_EQ( board_.run( "smbus raw send 1 --yes --json" ).output,
               R"({"name":"raw","operation":"send","status":"ok"})"
               "\n" );
}

TEST_F( SmbusTest, ADumpShowsOtherBytesThanPrintableAsciiAsDots ) {
    const auto line = [ this ]( int value ) {
        state_.number = value;
        const std::string output = board_.run( "smbus raw dump" ).output;
        const std::size_t start = output.find( "00:" );
        return output.substr( start, output.find( '\n', start ) - start );
    };
    const std::string sixteen = "4d 4d 4d 4d 4d 4d 4d 4d 4d 4d 4d 4d 4d 4d 4d 4d";
    EXPECT_EQ( line( 'M' ), "00: " + sixteen + "    MMMMMMMMMMMMMMMM" );
    for ( const int value : { 0x00, 0x1f, 0x7f, 0xff } ) {
        EXPECT_TRUE( line( value ).ends_with( "    ................" ) ) << value;
    }
    EXPECT_TRUE( line( 0x20 ).ends_with( std::string( 20, ' ' ) ) );
    EXPECT_TRUE( line( 0x7e ).ends_with( "    ~~~~~~~~~~~~~~~~" ) );
}

TEST_F( SmbusTest, HelpListsEveryOperation ) {
    const std::string help = board_.run( "smbus --help" ).output;
    EXPECT_THAT( help, HasSubstr( "  send BYTE                   Send a byte (needs --yes)\n" ) );
    EXPECT_THAT( help, HasSubstr( "  read-byte COMMAND           Read a byte\n" ) );
    EXPECT_THAT( help, HasSubstr( "  dump                        Read all 256 registers byte by "
                                  "byte; XX: no answer" ) );
}

} // namespace
