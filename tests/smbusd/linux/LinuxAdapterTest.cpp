#include "smbusd/linux/LinuxAdapter.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/support/FakeKernel.h"
#include "tests/support/OperationOf.h"
#include "tests/support/SmbusClient.h"

namespace {

using smbusd::AdapterSpec;
using smbusd::Operation;
using smbusd::Outcome;
using smbusd::Result;
using test::bytes;
using test::operationOf;
using test::readOf;
using test::withPec;
using Kind = smbusd::Operation::Kind;

class LinuxAdapterTest : public testing::Test {
  protected:
    LinuxAdapterTest() { kernel.add( 1, "host" ); }

    Result perform( const Operation &operation, bool force = false ) {
        const auto calls = kernel.calls();
        const auto adapter =
            smbusd::makeLinuxAdapter( std::make_unique<smbusd::AdapterHold>(
                                          AdapterSpec{ AdapterSpec::By::Number, 1, "", force },
                                          "bus", calls, std::make_shared<smbusd::AdapterClaims>() ),
                                      calls );
        const Result result = adapter->perform( operation );
        EXPECT_TRUE( kernel.openFiles.empty() ) << "left open";
        return result;
    }
    /** The text of a refusal that never reaches the wire. */
    std::string refusal( const Operation &operation ) {
        const Result result = perform( operation );
        EXPECT_EQ( result.outcome, Outcome::Failed );
        EXPECT_FALSE( result.withoutEffect() );
        EXPECT_TRUE( kernel.smbusCalls.empty() );
        EXPECT_TRUE( kernel.messages.empty() );
        return result.text();
    }
    /** The kernel brings this block, its count first. */
    void bring( const std::string &block ) {
        kernel.smbus = [ block ]( i2c_smbus_data &data ) {
            std::copy( block.begin(), block.end(), data.block );
            return 0;
        };
    }

    test::FakeKernel kernel;
};

TEST_F( LinuxAdapterTest, EveryOperationIsTheKernelsOfThatKind ) {
    struct Case {
        Operation operation;
        char direction;
        int size;
        std::string brought; ///< what the kernel puts where its answer goes
        std::string data;    ///< what comes of it
    };
    const std::vector<Case> cases = {
        { operationOf( Kind::ReceiveByte, 0 ), I2C_SMBUS_READ, I2C_SMBUS_BYTE, bytes( 0x5A ),
          bytes( 0x5A ) },
        { readOf( Kind::ReadByte, 7, 1 ), I2C_SMBUS_READ, I2C_SMBUS_BYTE_DATA, bytes( 0x5A ),
          bytes( 0x5A ) },
        { readOf( Kind::ReadWord, 7, 2 ), I2C_SMBUS_READ, I2C_SMBUS_WORD_DATA, bytes( 0x34, 0x12 ),
          bytes( 0x34, 0x12 ) },
        { readOf( Kind::I2cBlockRead, 7, 3 ), I2C_SMBUS_READ, I2C_SMBUS_I2C_BLOCK_DATA,
          bytes( 3, 1, 2, 9 ), bytes( 1, 2, 9 ) },
        { operationOf( Kind::BlockRead, 7 ), I2C_SMBUS_READ, I2C_SMBUS_BLOCK_DATA,
          bytes( 2, 0x48, 0x49 ), "HI" },
        { operationOf( Kind::ProcessCall, 7, "ab" ), I2C_SMBUS_WRITE, I2C_SMBUS_PROC_CALL,
          bytes( 0x34, 0x12 ), bytes( 0x34, 0x12 ) },
        { operationOf( Kind::SendByte, 7 ), I2C_SMBUS_WRITE, I2C_SMBUS_BYTE, "", "" },
        { operationOf( Kind::WriteByte, 7, "a" ), I2C_SMBUS_WRITE, I2C_SMBUS_BYTE_DATA, "", "" },
        { operationOf( Kind::WriteWord, 7, "ab" ), I2C_SMBUS_WRITE, I2C_SMBUS_WORD_DATA, "", "" },
        { operationOf( Kind::I2cBlockWrite, 7, "abc" ), I2C_SMBUS_WRITE, I2C_SMBUS_I2C_BLOCK_DATA,
          "", "" },
        { operationOf( Kind::BlockWrite, 7, "abc" ), I2C_SMBUS_WRITE, I2C_SMBUS_BLOCK_DATA, "",
          "" },
    };
    for ( const Case &c : cases ) {
        SCOPED_TRACE( smbusd::kindName( c.operation.kind ) );
        kernel.smbusCalls.clear();
        kernel.settings.clear();
        bring( c.brought );
        const Result result = perform( c.operation );
        EXPECT_EQ( result.outcome, Outcome::Done ) << result.text();
        EXPECT_EQ( result.data, c.data );
        ASSERT_EQ( kernel.smbusCalls.size(), 1u );
        const auto &call = kernel.smbusCalls[ 0 ];
        EXPECT_EQ( call.direction, c.direction );
        EXPECT_EQ( call.size, c.size );
        EXPECT_EQ( call.command, c.operation.reg );
        const std::vector<std::pair<unsigned long, unsigned long>> addressed = {
            { I2C_SLAVE, 0x58 } };
        EXPECT_EQ( kernel.settings, addressed );
    }
}

TEST_F( LinuxAdapterTest, WhatIsWrittenGoesAsTheKernelWantsIt ) {
    perform( operationOf( Kind::WriteByte, 1, bytes( 0xFE ) ) );
    perform( operationOf( Kind::WriteWord, 1, bytes( 0x34, 0x12 ) ) );
    perform( operationOf( Kind::ProcessCall, 1, bytes( 0xFF, 0x80 ) ) );
    perform( operationOf( Kind::BlockWrite, 1, std::string( 32, 'x' ) ) );
    perform( operationOf( Kind::I2cBlockWrite, 1, "abc" ) );
    ASSERT_EQ( kernel.smbusCalls.size(), 5u );
    EXPECT_EQ( kernel.smbusCalls[ 0 ].data.byte, 0xFE );
    EXPECT_EQ( kernel.smbusCalls[ 1 ].data.word, 0x1234 );
    EXPECT_EQ( kernel.smbusCalls[ 2 ].data.word, 0x80FF );
    EXPECT_EQ( kernel.smbusCalls[ 3 ].data.block[ 0 ], 32 );
    EXPECT_EQ( kernel.smbusCalls[ 3 ].data.block[ 32 ], 'x' );
    EXPECT_EQ( kernel.smbusCalls[ 4 ].data.block[ 0 ], 3 );
    EXPECT_EQ( kernel.smbusCalls[ 4 ].data.block[ 3 ], 'c' );
    // How long an I2C block read is, the kernel must be told.
    bring( bytes( 5, 1, 2, 3, 4, 5 ) );
    perform( readOf( Kind::I2cBlockRead, 1, 5 ) );
    EXPECT_EQ( kernel.smbusCalls[ 5 ].data.block[ 0 ], 5 );
}

TEST_F( LinuxAdapterTest, PacketErrorCodesAreAskedForWhereTheyGoAlong ) {
    const auto asked = [ this ] {
        return std::count( kernel.settings.begin(), kernel.settings.end(),
                           std::pair<unsigned long, unsigned long>( I2C_PEC, 1 ) );
    };
    perform( withPec( operationOf( Kind::WriteByte, 1, "a" ) ) );
    EXPECT_EQ( asked(), 1 );
    perform( withPec( operationOf( Kind::I2cBlockWrite, 1, "abc" ) ) );
    EXPECT_EQ( asked(), 1 );
    kernel.pecError = EINVAL;
    kernel.smbusCalls.clear();
    EXPECT_EQ( refusal( withPec( operationOf( Kind::WriteByte, 1, "a" ) ) ),
               "EINVAL (Invalid argument)" );
}

TEST_F( LinuxAdapterTest, RefusesByNameWhatTheAdapterCannotDo ) {
    struct Case {
        Operation operation;
        unsigned long lacking;
        const char *name;
    };
    const std::vector<Case> cases = {
        { operationOf( Kind::ReceiveByte, 0 ), I2C_FUNC_SMBUS_READ_BYTE, "receive byte" },
        { readOf( Kind::ReadByte, 1, 1 ), I2C_FUNC_SMBUS_READ_BYTE_DATA, "read byte" },
        { readOf( Kind::ReadWord, 1, 2 ), I2C_FUNC_SMBUS_READ_WORD_DATA, "read word" },
        { readOf( Kind::I2cBlockRead, 1, 32 ), I2C_FUNC_SMBUS_READ_I2C_BLOCK, "I2C block read" },
        { operationOf( Kind::SendByte, 0 ), I2C_FUNC_SMBUS_WRITE_BYTE, "send byte" },
        { operationOf( Kind::WriteByte, 1, "a" ), I2C_FUNC_SMBUS_WRITE_BYTE_DATA, "write byte" },
        { operationOf( Kind::WriteWord, 1, "ab" ), I2C_FUNC_SMBUS_WRITE_WORD_DATA, "write word" },
        { operationOf( Kind::I2cBlockWrite, 1, "abc" ), I2C_FUNC_SMBUS_WRITE_I2C_BLOCK,
          "I2C block write" },
        { operationOf( Kind::ProcessCall, 1, "ab" ), I2C_FUNC_SMBUS_PROC_CALL, "process call" },
        { operationOf( Kind::BlockRead, 1 ), I2C_FUNC_SMBUS_READ_BLOCK_DATA, "block read" },
        { operationOf( Kind::BlockWrite, 1, "a" ), I2C_FUNC_SMBUS_WRITE_BLOCK_DATA, "block write" },
        { withPec( readOf( Kind::ReadByte, 1, 1 ) ), I2C_FUNC_SMBUS_PEC, "packet error codes" },
        { readOf( Kind::I2cBlockRead, 1, 33 ), I2C_FUNC_I2C,
          "plain I2C messages, which an I2C block of 33 bytes needs" },
    };
    for ( const Case &c : cases ) {
        kernel.offered = test::everyFunction & ~c.lacking;
        EXPECT_EQ( refusal( c.operation ),
                   fmt::format( "the adapter /dev/i2c-1 (\"host\") offers no {}", c.name ) );
    }
    Operation wide = readOf( Kind::ReadByte, 0x1234, 1 );
    wide.registerSize = 2;
    kernel.offered = test::everyFunction & ~static_cast<unsigned long>( I2C_FUNC_I2C );
    EXPECT_EQ( refusal( wide ), "the adapter /dev/i2c-1 (\"host\") offers no plain I2C messages, "
                                "which a register of 2 bytes needs" );
    kernel.functionsError = EIO;
    EXPECT_EQ( refusal( wide ), "EIO (Input/output error)" );
}

TEST_F( LinuxAdapterTest, LeavesADeviceAloneThatADriverOfTheKernelUses ) {
    kernel.bind( 1, 0x58, "pmbus" );
    Operation wide = readOf( Kind::ReadByte, 0x1234, 1 );
    wide.registerSize = 2;
    const std::string forty( 40, 'x' );
    for ( const Operation &operation :
          { readOf( Kind::ReadByte, 1, 1 ), operationOf( Kind::I2cBlockWrite, 0, forty ),
            readOf( Kind::I2cBlockRead, 0, 40 ), wide } ) {
        EXPECT_EQ( refusal( operation ),
                   "the kernel's driver pmbus uses the device: EBUSY (Device or resource busy); "
                   "the bus would need \"force\": true" );
    }
}

TEST_F( LinuxAdapterTest, ADriverWithoutANameHoldsADeviceToo ) {
    kernel.held.insert( 0x58 ); // behind a mux that the kernel runs, say
    EXPECT_EQ( refusal( readOf( Kind::ReadByte, 1, 1 ) ),
               "the kernel's driver uses the device: EBUSY (Device or resource busy); the bus "
               "would need \"force\": true" );
}

TEST_F( LinuxAdapterTest, UsesItAllTheSameWhenForced ) {
    kernel.bind( 1, 0x58, "pmbus" );
    EXPECT_EQ( perform( operationOf( Kind::WriteByte, 1, "a" ), true ).outcome, Outcome::Done );
    EXPECT_EQ( kernel.settings.front().first, static_cast<unsigned long>( I2C_SLAVE_FORCE ) );
    const std::string forty( 40, 'x' );
    EXPECT_EQ( perform( operationOf( Kind::I2cBlockWrite, 1, forty ), true ).outcome,
               Outcome::Done );
    EXPECT_EQ( kernel.messages.size(), 1u );
}

TEST_F( LinuxAdapterTest, ABlockThatIsNotWhatWasAskedForIsAnError ) {
    bring( bytes( 2, 1, 2 ) );
    Result result = perform( readOf( Kind::I2cBlockRead, 1, 5 ) );
    EXPECT_EQ( result.outcome, Outcome::BadBlock );
    EXPECT_EQ( result.text(), "5 bytes were asked for and 2 came" );
    for ( const int count : { 0, 33, 255 } ) {
        bring( bytes( count ) );
        result = perform( operationOf( Kind::BlockRead, 1 ) );
        EXPECT_EQ( result.outcome, Outcome::BadBlock );
        EXPECT_EQ( result.text(), fmt::format( "block count out of range: {}", count ) );
    }
    bring( bytes( 32 ) );
    EXPECT_EQ( perform( operationOf( Kind::BlockRead, 1 ) ).data.size(), 32u );
}

TEST_F( LinuxAdapterTest, LongBlocksAndWideRegistersArePlainMessages ) {
    kernel.read = std::string( 40, 'r' );
    Result result = perform( readOf( Kind::I2cBlockRead, 0x10, 40 ) );
    EXPECT_EQ( result.data, std::string( 40, 'r' ) );
    ASSERT_EQ( kernel.messages.size(), 2u );
    EXPECT_EQ( kernel.messages[ 0 ].data, bytes( 0x10 ) );
    EXPECT_FALSE( kernel.messages[ 0 ].read );
    EXPECT_TRUE( kernel.messages[ 1 ].read );
    EXPECT_EQ( kernel.messages[ 1 ].address, 0x58u );

    kernel.messages.clear();
    Operation wide = operationOf( Kind::WriteWord, 0x1234, "ab" );
    wide.registerSize = 2;
    EXPECT_EQ( perform( wide ).outcome, Outcome::Done );
    ASSERT_EQ( kernel.messages.size(), 1u );
    EXPECT_EQ( kernel.messages[ 0 ].data, bytes( 0x12, 0x34, 0x61, 0x62 ) );

    kernel.messages.clear();
    wide = operationOf( Kind::BlockWrite, 0x1234, "ab" );
    wide.registerSize = 2;
    perform( wide );
    EXPECT_EQ( kernel.messages.at( 0 ).data, bytes( 0x12, 0x34, 2, 0x61, 0x62 ) );

    kernel.messagesAnswer = 1;
    EXPECT_EQ( perform( readOf( Kind::I2cBlockRead, 0, 40 ) ).text(),
               "1 of 2 messages went through" );
    kernel.messagesAnswer = -ENXIO;
    EXPECT_EQ( perform( readOf( Kind::I2cBlockRead, 0, 40 ) ).outcome, Outcome::AddressNack );
}

TEST_F( LinuxAdapterTest, TheKernelsMessagesEndAt8192BytesRegisterIncluded ) {
    const std::string fits( 8191, 'x' );
    EXPECT_EQ( perform( operationOf( Kind::I2cBlockWrite, 0, fits ) ).outcome, Outcome::Done );
    EXPECT_EQ( kernel.messages.at( 0 ).length, 8192u );
    EXPECT_EQ( perform( readOf( Kind::I2cBlockRead, 0, 8192 ) ).data.size(), 8192u );

    kernel.messages.clear();
    const std::string tooLong( 8192, 'x' );
    EXPECT_EQ( refusal( operationOf( Kind::I2cBlockWrite, 0, tooLong ) ),
               "a kernel adapter writes at most 8191 bytes behind the register, not 8192" );
    Operation wide = operationOf( Kind::I2cBlockWrite, 0, fits );
    wide.registerSize = 2;
    EXPECT_EQ( refusal( wide ),
               "a kernel adapter writes at most 8190 bytes behind the register, not 8191" );
    EXPECT_EQ( refusal( readOf( Kind::I2cBlockRead, 0, 8193 ) ),
               "a kernel adapter reads at most 8192 bytes, not 8193" );
}

TEST_F( LinuxAdapterTest, WhatTheKernelDoesOnlyWithARegisterOfOneByte ) {
    Operation wide = operationOf( Kind::BlockRead, 0x1234 );
    wide.registerSize = 2;
    EXPECT_EQ( refusal( wide ), "the kernel does a block read only with a register of 1 byte" );
    wide = withPec( operationOf( Kind::WriteByte, 0x1234, "a" ) );
    wide.registerSize = 2;
    EXPECT_EQ( refusal( wide ), "the kernel does a write byte with a packet error code only with "
                                "a register of 1 byte" );
}

TEST_F( LinuxAdapterTest, ErrorsOfTheKernelAreWhatTheyMeanForTheOperation ) {
    kernel.smbus = []( i2c_smbus_data & ) { return -ETIMEDOUT; };
    const Result result = perform( readOf( Kind::ReadByte, 1, 1 ) );
    EXPECT_EQ( result.outcome, Outcome::TimedOut );
    EXPECT_EQ( result.text(), "timed out: ETIMEDOUT (Connection timed out)" );
}

TEST_F( LinuxAdapterTest, AnAdapterThatIsNotThereFailsTheOperation ) {
    kernel.remove( 1 );
    EXPECT_EQ( refusal( readOf( Kind::ReadByte, 1, 1 ) ),
               "/dev/i2c-1: ENOENT (No such file or directory)" );
}

TEST( RunningKernel, KnowsWhatIsAnAdapterAndWhatIsNot ) {
    const auto kernel = smbusd::runningKernel();
    const int fd = kernel->open( "/dev/null" );
    ASSERT_GE( fd, 0 );
    EXPECT_FALSE( kernel->adapterNumber( fd ) );
    unsigned long functions = 0;
    EXPECT_LT( kernel->functions( fd, &functions ), 0 );
    EXPECT_EQ( errno, ENOTTY );
    kernel->close( fd );
    EXPECT_LT( kernel->open( "/dev/i2c-none" ), 0 );
    EXPECT_EQ( kernel->sysfs, "/sys" );
}

} // namespace
