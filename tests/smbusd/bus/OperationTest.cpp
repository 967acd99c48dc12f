#include "smbusd/bus/Operation.h"

#include <gtest/gtest.h>

#include "tests/support/SmbusClient.h"

namespace {

using smbusd::Operation;
using test::bytes;
using test::Place;
using test::TransactionBuilder;
using Kind = smbusd::Operation::Kind;

constexpr Place place = { Smbus::SCD, 0x00000300, 0x55, 0x2A, 0x58 };

std::string parse( const TransactionBuilder &builder, Operation &operation ) {
    return smbusd::parseOperation( builder.request().requests( 0 ), operation );
}

Operation parsed( const TransactionBuilder &builder ) {
    Operation operation;
    EXPECT_EQ( parse( builder, operation ), "" );
    return operation;
}

std::string refusal( const TransactionBuilder &builder ) {
    Operation operation;
    return parse( builder, operation );
}

TEST( Operation, TakesTheAddressFieldsApart ) {
    // High word: address 0x58, bus 0x2A at bit 7, accelerator 0x55 at bit 14, two register bytes at
    // bit 25; flag, time-outs and delays set all around them.
    Smbus::Request request;
    request.set_type( Smbus::READ );
    request.set_length( 1 );
    request.set_mastertype( Smbus::SCD );
    request.set_pciaddress( 0x00000300 );
    const uint32_t fields =
        0xF8000000u | 0x04000000u | 0x01C00000u | 0x00200000u | 0x55u << 14 | 0x2Au << 7 | 0x58u;
    request.set_address( uint64_t{ fields } << 32 | 0x1234 );

    const smbusd::BusKey key = smbusd::busKeyOf( request );
    EXPECT_EQ( key.master, Smbus::SCD );
    EXPECT_EQ( key.pci, 0x300u );
    EXPECT_EQ( key.accelerator, 0x55 );
    EXPECT_EQ( key.bus, 0x2A );
    Operation operation;
    EXPECT_EQ( smbusd::parseOperation( request, operation ), "" );
    EXPECT_EQ( operation.address, 0x58 );
    EXPECT_EQ( operation.reg, 0x1234u );
    EXPECT_EQ( operation.registerSize, 2u );
}

TEST( Operation, IgnoresThePciAddressOfOtherMasters ) {
    Place i2c = place;
    i2c.master = Smbus::I2C;
    const TransactionBuilder builder = TransactionBuilder().read( i2c, 0, 1 );
    EXPECT_EQ( smbusd::busKeyOf( builder.request().requests( 0 ) ).pci, 0u );
}

TEST( Operation, TakesNoRegisterBytesAsOne ) {
    Place none = place;
    none.registerSize = 0;
    EXPECT_EQ( parsed( TransactionBuilder().read( none, 5, 1 ) ).registerSize, 1u );
    none.registerSize = 3;
    EXPECT_EQ( parsed( TransactionBuilder().read( none, 5, 1 ) ).registerSize, 3u );
}

TEST( Operation, KindFollowsFromTypeAndLength ) {
    EXPECT_EQ( parsed( TransactionBuilder().receiveByte( place ) ).kind, Kind::ReceiveByte );
    EXPECT_EQ( parsed( TransactionBuilder().read( place, 1, 1 ) ).kind, Kind::ReadByte );
    EXPECT_EQ( parsed( TransactionBuilder().read( place, 1, 2 ) ).kind, Kind::ReadWord );
    EXPECT_EQ( parsed( TransactionBuilder().read( place, 1, 3 ) ).kind, Kind::I2cBlockRead );
    EXPECT_EQ( parsed( TransactionBuilder().sendByte( place, 1 ) ).kind, Kind::SendByte );
    EXPECT_EQ( parsed( TransactionBuilder().write( place, 1, "a" ) ).kind, Kind::WriteByte );
    EXPECT_EQ( parsed( TransactionBuilder().write( place, 1, "ab" ) ).kind, Kind::WriteWord );
    EXPECT_EQ( parsed( TransactionBuilder().write( place, 1, "abc" ) ).kind, Kind::I2cBlockWrite );
    EXPECT_EQ( parsed( TransactionBuilder().processCall( place, 1, "ab" ) ).kind,
               Kind::ProcessCall );
    EXPECT_EQ( parsed( TransactionBuilder().blockRead( place, 1 ) ).kind, Kind::BlockRead );
    EXPECT_EQ( parsed( TransactionBuilder().blockWrite( place, 1, "ab" ) ).kind, Kind::BlockWrite );
}

TEST( Operation, PecGoesWithEverySmbusOperationAndNoI2cBlock ) {
    EXPECT_TRUE( parsed( TransactionBuilder().read( place, 1, 2, true ) ).usesPec() );
    EXPECT_FALSE( parsed( TransactionBuilder().read( place, 1, 2, false ) ).usesPec() );
    EXPECT_FALSE( parsed( TransactionBuilder().read( place, 1, 3, true ) ).usesPec() );
    EXPECT_FALSE( parsed( TransactionBuilder().write( place, 1, "abc", true ) ).usesPec() );
    EXPECT_TRUE( parsed( TransactionBuilder().blockWrite( place, 1, "abc", true ) ).usesPec() );
}

TEST( Operation, RefusesDataThatContradictTheLength ) {
    EXPECT_EQ( refusal( TransactionBuilder().add( place, Smbus::WRITE, 0, 2, "abc" ) ),
               "the length is 2, but 3 bytes of data are there" );
    EXPECT_EQ( refusal( TransactionBuilder().add( place, Smbus::WRITE, 0, 0, "a" ) ),
               "the length is 0, but 1 bytes of data are there" );
    EXPECT_EQ( refusal( TransactionBuilder().add( place, Smbus::PROCESS_CALL, 0, 2, "a" ) ),
               "the length is 2, but 1 bytes of data are there" );
}

TEST( Operation, RefusesLengthsThatTheBusDoesNotKnow ) {
    EXPECT_EQ( refusal( TransactionBuilder().add( place, Smbus::PROCESS_CALL, 0, 1, "a" ) ),
               "a process call moves 2 bytes, not 1" );
    EXPECT_EQ( refusal( TransactionBuilder().add( place, Smbus::BLOCK_READ, 0, 4 ) ),
               "a block read has the length 0, not 4: the device says how much comes" );
    EXPECT_EQ( refusal( TransactionBuilder().blockWrite( place, 0, std::string( 33, 'x' ) ) ),
               "a block has at most 32 bytes, not 33" );
    EXPECT_EQ( refusal( TransactionBuilder().blockWrite( place, 0, std::string( 32, 'x' ) ) ), "" );
    EXPECT_EQ( refusal( TransactionBuilder().read( place, 0, 8193 ) ),
               "an operation moves at most 8192 bytes, not 8193" );
    EXPECT_EQ( refusal( TransactionBuilder().read( place, 0, 0xFFFFFFFF ) ),
               "an operation moves at most 8192 bytes, not 4294967295" );
}

TEST( Operation, DescribesItselfInWords ) {
    EXPECT_EQ( smbusd::describe( parsed( TransactionBuilder().read( place, 0x8B, 2 ) ) ),
               "read word at register 0x8B of 0x58" );
    EXPECT_EQ( smbusd::describe( parsed( TransactionBuilder().sendByte( place, 0x103 ) ) ),
               "send byte 0x03 to 0x58" );
    EXPECT_EQ( smbusd::describe( parsed( TransactionBuilder().receiveByte( place ) ) ),
               "receive byte from 0x58" );
    EXPECT_EQ( smbusd::describe( smbusd::BusKey{ Smbus::SCD, 0x300, 1, 2 } ),
               "SCD 0x00000300 accelerator 1 bus 2" );
    EXPECT_EQ( smbusd::describe( smbusd::BusKey{ Smbus::I2C, 0, 0, 4 } ),
               "I2C accelerator 0 bus 4" );
}

} // namespace
