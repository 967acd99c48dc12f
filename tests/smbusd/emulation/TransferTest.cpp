// What every operation puts on the wire, byte for byte, and what faults make of it.
#include "smbusd/emulation/Transfer.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;
using Kind = smbusd::Fault::Kind;

const char *const supply = R"({ "name": "psu", "type": "commands", "address": "0x58", "commands": {
    "0x03": { "send": true },
    "0x10": { "byte": "0x00" },
    "0x20": { "byte": "0x17", "readOnly": true },
    "0x3B": { "word": "0x0000" },
    "0x79": { "word": "0x2C4B" },
    "0x9A": { "block": "ACME" } } })";
const char *const plainFile = R"({ "name": "file", "type": "registers", "address": "0x40",
    "registers": { "0x10": "0xA0", "0x11": "0xA1", "0x12": "0xA2" } })";
const char *const wideRom = R"({ "name": "rom", "type": "eeprom", "address": "0x50",
    "addressing": 16, "size": 8192, "data": [ 1, 2, 3, 4 ] })";

constexpr test::Place psu = testBus.at( 0x58 );
constexpr test::Place file = testBus.at( 0x40 );

class Transfer : public testing::Test {
  protected:
    /** The wire of a single operation. */
    std::string wireOf( const TransactionBuilder &builder ) {
        response = test.run( builder );
        EXPECT_EQ( test.wire.size(), 1u );
        return test.wire.empty() ? "" : test.wire.front();
    }
    std::string got() const {
        return response.responses_size() == 0 ? "none" : response.responses( 0 ).data();
    }
    std::string why() const {
        const size_t colon = response.reason().rfind( "): " );
        return colon == std::string::npos ? response.reason()
                                          : response.reason().substr( colon + 3 );
    }

    TestBoard test{
        TestBoard::withChips( std::string( supply ) + "," + plainFile + "," + wideRom ) };
    Smbus::TransactionResponse response;
};

TEST_F( Transfer, ReceiveByte ) {
    EXPECT_EQ( wireOf( TransactionBuilder().receiveByte( file ) ), "S 40 R A 00 N P" );
    EXPECT_EQ( got(), bytes( 0x00 ) );
}

TEST_F( Transfer, SendByte ) {
    EXPECT_EQ( wireOf( TransactionBuilder().sendByte( psu, 0x03 ) ), "S 58 W A 03 A P" );
    EXPECT_EQ( got(), "" );
    EXPECT_EQ( test.number( "psu", 3 ), 1u );
}

TEST_F( Transfer, SendByteSendsOnlyTheLowByteOfTheRegisterWord ) {
    EXPECT_EQ( wireOf( TransactionBuilder().sendByte( psu, 0x12345603 ) ), "S 58 W A 03 A P" );
}

TEST_F( Transfer, ReadByte ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x20, 1 ) ),
               "S 58 W A 20 A Sr 58 R A 17 N P" );
    EXPECT_EQ( got(), bytes( 0x17 ) );
}

TEST_F( Transfer, ReadWordIsLowByteFirst ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x79, 2 ) ),
               "S 58 W A 79 A Sr 58 R A 4B A 2C N P" );
    EXPECT_EQ( got(), bytes( 0x4B, 0x2C ) );
}

TEST_F( Transfer, WriteByte ) {
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x10, bytes( 0x80 ) ) ),
               "S 58 W A 10 A 80 A P" );
    EXPECT_EQ( test.number( "psu", 0x10 ), 0x80u );
}

TEST_F( Transfer, WriteWordSendsTheBytesAsTheyCome ) {
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x3B, bytes( 0x32, 0x01 ) ) ),
               "S 58 W A 3B A 32 A 01 A P" );
    EXPECT_EQ( test.number( "psu", 0x3B ), 0x0132u );
}

TEST_F( Transfer, I2cBlockRead ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( file, 0x10, 3 ) ),
               "S 40 W A 10 A Sr 40 R A A0 A A1 A A2 N P" );
    EXPECT_EQ( got(), bytes( 0xA0, 0xA1, 0xA2 ) );
}

TEST_F( Transfer, I2cBlockWrite ) {
    EXPECT_EQ( wireOf( TransactionBuilder().write( file, 0x20, bytes( 1, 2, 3 ) ) ),
               "S 40 W A 20 A 01 A 02 A 03 A P" );
    EXPECT_EQ( test.number( "file", 0x22 ), 3u );
}

TEST_F( Transfer, BlockReadTakesTheCountFromTheDevice ) {
    EXPECT_EQ( wireOf( TransactionBuilder().blockRead( psu, 0x9A ) ),
               "S 58 W A 9A A Sr 58 R A 04 A 41 A 43 A 4D A 45 N P" );
    EXPECT_EQ( got(), "ACME" );
}

TEST_F( Transfer, BlockWriteSendsTheCount ) {
    EXPECT_EQ( wireOf( TransactionBuilder().blockWrite( psu, 0x9A, "HI" ) ),
               "S 58 W A 9A A 02 A 48 A 49 A P" );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( psu, 0x9A ) ), "HI" );
}

TEST_F( Transfer, ProcessCall ) {
    EXPECT_EQ( wireOf( TransactionBuilder().processCall( psu, 0x79, bytes( 0x34, 0x12 ) ) ),
               "S 58 W A 79 A 34 A 12 A Sr 58 R A 34 A 12 N P" );
    EXPECT_EQ( got(), bytes( 0x34, 0x12 ) );
}

TEST_F( Transfer, SeveralRegisterBytesGoHighByteFirst ) {
    test::Place rom = testBus.at( 0x50 );
    rom.registerSize = 2;
    EXPECT_EQ( wireOf( TransactionBuilder().read( rom, 0x0102, 1 ) ),
               "S 50 W A 01 A 02 A Sr 50 R A FF N P" );
    EXPECT_EQ( wireOf( TransactionBuilder().read( rom, 0x0002, 2 ) ),
               "S 50 W A 00 A 02 A Sr 50 R A 03 A 04 N P" );
    rom.registerSize = 3;
    EXPECT_EQ( wireOf( TransactionBuilder().write( rom, 0xFF010203, bytes( 9 ) ) ),
               "S 50 W A 01 A 02 A 03 A 09 A P" );
}

TEST_F( Transfer, MissingDeviceIsNotAcknowledged ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( testBus.at( 0x33 ), 0, 1 ).retries( 0 ) ),
               "S 33 W N P" );
    EXPECT_EQ( why(), "address not acknowledged" );
}

TEST_F( Transfer, RefusedCommandIsNotAcknowledged ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x55, 1 ) ), "S 58 W A 55 N P" );
    EXPECT_EQ( why(), "byte 1 behind the address (0x55) not acknowledged" );
}

// Packet error codes, worked out bit by bit with CRC-8, polynomial 0x07.

TEST_F( Transfer, PecOfAReadCoversBothAddressBytes ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x79, 2, true ) ),
               "S 58 W A 79 A Sr 58 R A 4B A 2C A DC N P" );
    EXPECT_EQ( got(), bytes( 0x4B, 0x2C ) );
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x20, 1, true ) ),
               "S 58 W A 20 A Sr 58 R A 17 A E4 N P" );
}

TEST_F( Transfer, PecOfABlockReadCoversTheCount ) {
    EXPECT_EQ( wireOf( TransactionBuilder().blockRead( psu, 0x9A, true ) ),
               "S 58 W A 9A A Sr 58 R A 04 A 41 A 43 A 4D A 45 A DB N P" );
    EXPECT_EQ( got(), "ACME" );
}

TEST_F( Transfer, PecOfWrites ) {
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x10, bytes( 0x80 ), true ) ),
               "S 58 W A 10 A 80 A 34 A P" );
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x3B, bytes( 0x32, 0x00 ), true ) ),
               "S 58 W A 3B A 32 A 00 A 46 A P" );
    EXPECT_EQ( wireOf( TransactionBuilder().sendByte( psu, 0x03, true ) ), "S 58 W A 03 A 46 A P" );
    EXPECT_EQ( wireOf( TransactionBuilder().blockWrite( psu, 0x9A, "HI", true ) ),
               "S 58 W A 9A A 02 A 48 A 49 A D6 A P" );
    EXPECT_EQ( test.number( "psu", 0x10 ), 0x80u );
    EXPECT_EQ( test.number( "psu", 0x3B ), 0x32u );
    EXPECT_EQ( test.number( "psu", 0x03 ), 1u );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( psu, 0x9A ) ), "HI" );
}

TEST_F( Transfer, PecOfAProcessCallStandsOnlyBehindTheAnswer ) {
    EXPECT_EQ( wireOf( TransactionBuilder().processCall( psu, 0x79, bytes( 0x34, 0x12 ), true ) ),
               "S 58 W A 79 A 34 A 12 A Sr 58 R A 34 A 12 A 8D N P" );
    EXPECT_EQ( got(), bytes( 0x34, 0x12 ) );
}

TEST_F( Transfer, I2cBlocksCarryNoPec ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( file, 0x10, 3, true ) ),
               "S 40 W A 10 A Sr 40 R A A0 A A1 A A2 N P" );
    EXPECT_EQ( wireOf( TransactionBuilder().write( file, 0x20, bytes( 1, 2, 3 ), true ) ),
               "S 40 W A 20 A 01 A 02 A 03 A P" );
}

TEST_F( Transfer, DeviceWithoutPecAnswersDataWhereTheMasterWantsACode ) {
    EXPECT_EQ( wireOf( TransactionBuilder().read( file, 0x10, 1, true ) ),
               "S 40 W A 10 A Sr 40 R A A0 A A1 N P" );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( response.responses_size(), 0 );
}

// Faults.

TEST_F( Transfer, FaultNackAtTheAddress ) {
    test.inject( Kind::Nack, "psu", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x20, 1 ).retries( 0 ) ), "S 58 W N P" );
    EXPECT_EQ( why(), "address not acknowledged" );
}

TEST_F( Transfer, FaultNackAtTheDataKeepsTheByteFromTheChip ) {
    smbusd::Fault fault;
    fault.target = "psu";
    fault.atData = true;
    fault.times = 1;
    test.hardware.faults.inject( fault );
    EXPECT_EQ( wireOf( TransactionBuilder().sendByte( psu, 0x03 ) ), "S 58 W A 03 N P" );
    EXPECT_EQ( why(), "byte 1 behind the address (0x03) not acknowledged" );
    EXPECT_EQ( test.number( "psu", 0x03 ), 0u );
}

TEST_F( Transfer, FaultBadPecSpoilsTheCodeOfARead ) {
    test.inject( Kind::BadPec, "psu", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x79, 2, true ) ),
               "S 58 W A 79 A Sr 58 R A 4B A 2C A 23 N P" );
    EXPECT_EQ( why(), "packet error code 0x23, where 0xDC was expected" );
    EXPECT_EQ( response.responses_size(), 0 );
}

TEST_F( Transfer, FaultBadPecMakesTheDeviceRefuseAWrite ) {
    test.inject( Kind::BadPec, "psu", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x10, bytes( 0x80 ), true ) ),
               "S 58 W A 10 A 80 A CB N P" );
    EXPECT_EQ( why(), "packet error code 0xCB not acknowledged" );
    EXPECT_EQ( test.number( "psu", 0x10 ), 0u );
    EXPECT_TRUE( test.logged( "packet error code 0xCB of command 0x10, where 0x34 was expected" ) );
}

TEST_F( Transfer, FaultBadPecWaitsForAnOperationWithPec ) {
    test.inject( Kind::BadPec, "psu", 1 );
    EXPECT_EQ( test.data( TransactionBuilder().read( psu, 0x79, 2 ) ), bytes( 0x4B, 0x2C ) );
    EXPECT_EQ( test.hardware.faults.faults().size(), 1u );
}

TEST_F( Transfer, FaultShortBlockLeavesBytesOut ) {
    test.inject( Kind::ShortBlock, "psu", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().blockRead( psu, 0x9A ) ),
               "S 58 W A 9A A Sr 58 R A 03 A 41 A 43 A 4D N P" );
    EXPECT_FALSE( response.failed() );
    EXPECT_EQ( got(), "ACM" );
}

TEST_F( Transfer, FaultShortBlockIsNoticedByPec ) {
    test.inject( Kind::ShortBlock, "psu", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().blockRead( psu, 0x9A, true ) ),
               "S 58 W A 9A A Sr 58 R A 03 A 41 A 43 A 4D A 45 N P" );
    EXPECT_EQ( why(), "packet error code 0x45, where 0x63 was expected" );
}

TEST_F( Transfer, FaultShortBlockCutsI2cBlocksToo ) {
    smbusd::Fault fault;
    fault.kind = Kind::ShortBlock;
    fault.target = "file";
    fault.missing = 2;
    fault.times = 1;
    test.hardware.faults.inject( fault );
    EXPECT_EQ( wireOf( TransactionBuilder().read( file, 0x10, 3 ) ),
               "S 40 W A 10 A Sr 40 R A A0 N P" );
    EXPECT_EQ( got(), bytes( 0xA0 ) );
}

TEST_F( Transfer, FaultShortBlockLeavesBytesAndWordsAlone ) {
    test.inject( Kind::ShortBlock, "psu" );
    EXPECT_EQ( test.data( TransactionBuilder().read( psu, 0x79, 2 ) ), bytes( 0x4B, 0x2C ) );
    EXPECT_EQ( test.hardware.faults.faults()[ 0 ].hits, 0u );
}

TEST_F( Transfer, BlockCountsThatCannotBeAreRefused ) {
    smbusd::Fault fault;
    fault.kind = Kind::ShortBlock;
    fault.target = "psu";
    fault.missing = 4;
    fault.times = 1;
    test.hardware.faults.inject( fault );
    wireOf( TransactionBuilder().blockRead( psu, 0x9A ) );
    EXPECT_EQ( why(), "block count 0, where 1 to 32 was expected" );
    // A register file knows no blocks: what stands at the register is taken for the count.
    wireOf( TransactionBuilder().blockRead( file, 0x10 ) );
    EXPECT_EQ( why(), "block count 160, where 1 to 32 was expected" );
}

TEST_F( Transfer, FaultFlipBitIsDeliveredCountedAndLogged ) {
    smbusd::Fault fault;
    fault.kind = Kind::FlipBit;
    fault.target = "psu";
    fault.bit = 2;
    fault.times = 1;
    test.hardware.faults.inject( fault );
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x79, 2 ) ),
               "S 58 W A 79 A Sr 58 R A 4F A 2C N P" );
    EXPECT_EQ( got(), bytes( 0x4F, 0x2C ) );
    EXPECT_EQ( test.chip( "psu" ).counters.faults, 1u );
    EXPECT_TRUE(
        test.logged( "bus \"bus\": 1 injected fault(s) of \"psu\" take effect on read word "
                     "at register 0x79 of 0x58" ) );
}

TEST_F( Transfer, FaultFlipBitIsNoticedByPec ) {
    smbusd::Fault fault;
    fault.kind = Kind::FlipBit;
    fault.target = "psu";
    fault.bit = 2;
    fault.times = 1;
    test.hardware.faults.inject( fault );
    wireOf( TransactionBuilder().read( psu, 0x79, 2, true ) );
    EXPECT_EQ( why(), "packet error code 0xDC, where 0x88 was expected" );
}

TEST_F( Transfer, FaultFlipBitReachesTheChipOnAWrite ) {
    smbusd::Fault fault;
    fault.kind = Kind::FlipBit;
    fault.target = "psu";
    fault.byte = 1;
    fault.bit = 7;
    test.hardware.faults.inject( fault );
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x3B, bytes( 0x32, 0x01 ) ) ),
               "S 58 W A 3B A 32 A 81 A P" );
    EXPECT_EQ( test.number( "psu", 0x3B ), 0x8132u );
    // A byte write has no data byte 1.
    EXPECT_EQ( wireOf( TransactionBuilder().write( psu, 0x10, bytes( 0x02 ) ) ),
               "S 58 W A 10 A 02 A P" );
}

TEST_F( Transfer, FaultStuckBusLetsNothingThrough ) {
    test.inject( Kind::StuckBus, "bus", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x79, 2 ) ), "(bus stuck)" );
    EXPECT_EQ( why(), "bus stuck: the data line is held low" );
}

TEST_F( Transfer, FaultArbitrationLostEndsBeforeTheAddress ) {
    test.inject( Kind::ArbitrationLost, "bus", 1 );
    EXPECT_EQ( wireOf( TransactionBuilder().read( psu, 0x79, 2 ).retries( 0 ) ),
               "(arbitration lost)" );
    EXPECT_EQ( why(), "arbitration lost" );
}

} // namespace
