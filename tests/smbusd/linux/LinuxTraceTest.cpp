#include "smbusd/linux/LinuxTrace.h"

#include <gtest/gtest.h>

#include "tests/support/OperationOf.h"
#include "tests/support/SmbusClient.h"

namespace {

using smbusd::linuxTrace;
using smbusd::Outcome;
using smbusd::Result;
using test::bytes;
using test::operationOf;
using test::withPec;
using Kind = smbusd::Operation::Kind;

Result brought( std::string data ) {
    return { Outcome::Done, std::move( data ), {} };
}

TEST( LinuxTrace, ShowsWhatMustHaveBeenOnTheWire ) {
    EXPECT_EQ( linuxTrace( operationOf( Kind::ReadWord, 0x8B ), brought( bytes( 1, 2 ) ) ),
               "S 58 W A 8B A Sr 58 R A 01 A 02 N P" );
    EXPECT_EQ( linuxTrace( operationOf( Kind::ReceiveByte, 0 ), brought( bytes( 1 ) ) ),
               "S 58 R A 01 N P" );
    EXPECT_EQ( linuxTrace( operationOf( Kind::SendByte, 3 ), {} ), "S 58 W A 03 A P" );
    EXPECT_EQ( linuxTrace( operationOf( Kind::BlockWrite, 0x9A, "HI" ), {} ),
               "S 58 W A 9A A 02 A 48 A 49 A P" );
    EXPECT_EQ( linuxTrace( operationOf( Kind::BlockRead, 0x9A ), brought( "HI" ) ),
               "S 58 W A 9A A Sr 58 R A 02 A 48 A 49 N P" );
    EXPECT_EQ(
        linuxTrace( operationOf( Kind::ProcessCall, 5, bytes( 1, 2 ) ), brought( bytes( 3, 4 ) ) ),
        "S 58 W A 05 A 01 A 02 A Sr 58 R A 03 A 04 N P" );
    smbusd::Operation wide = operationOf( Kind::WriteByte, 0x1234, "a" );
    wide.registerSize = 2;
    EXPECT_EQ( linuxTrace( wide, {} ), "S 58 W A 12 A 34 A 61 A P" );
    EXPECT_EQ( linuxTrace( operationOf( Kind::ReadByte, 1 ), { Outcome::AddressNack, {}, "why" } ),
               "S 58 W (why)" );
    EXPECT_EQ( linuxTrace( operationOf( Kind::ReceiveByte, 0 ), { Outcome::AddressNack, {}, {} } ),
               "S 58 R (address not acknowledged)" );
}

TEST( LinuxTrace, ShowsPacketErrorCodes ) {
    // CRC-8 with the polynomial x^8 + x^2 + x + 1 over all bytes from the first address on:
    // B0 20 17 -> 21; B0 8B B1 00 D3 -> CC; B0 03 -> 46; B1 5A -> DB; B0 9A 02 48 49 -> D6;
    // B0 9A B1 02 48 49 -> 62; B0 05 01 02 B1 03 04 -> 99.
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::WriteByte, 0x20, bytes( 0x17 ) ) ), {} ),
               "S 58 W A 20 A 17 A 21 A P" );
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::ReadWord, 0x8B ) ),
                           brought( bytes( 0x00, 0xD3 ) ) ),
               "S 58 W A 8B A Sr 58 R A 00 A D3 A CC N P" );
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::SendByte, 3 ) ), {} ),
               "S 58 W A 03 A 46 A P" );
    EXPECT_EQ(
        linuxTrace( withPec( operationOf( Kind::ReceiveByte, 0 ) ), brought( bytes( 0x5A ) ) ),
        "S 58 R A 5A A DB N P" );
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::BlockWrite, 0x9A, "HI" ) ), {} ),
               "S 58 W A 9A A 02 A 48 A 49 A D6 A P" );
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::BlockRead, 0x9A ) ), brought( "HI" ) ),
               "S 58 W A 9A A Sr 58 R A 02 A 48 A 49 A 62 N P" );
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::ProcessCall, 5, bytes( 1, 2 ) ) ),
                           brought( bytes( 3, 4 ) ) ),
               "S 58 W A 05 A 01 A 02 A Sr 58 R A 03 A 04 A 99 N P" );
    // The kernel adds none to an I2C block.
    EXPECT_EQ( linuxTrace( withPec( operationOf( Kind::I2cBlockWrite, 5, "abc" ) ), {} ),
               "S 58 W A 05 A 61 A 62 A 63 A P" );
}

} // namespace
