// Raw SMBus through the built library, the real client and a real service: every operation, and what
// becomes of it under every fault.

#include <cstdlib>
#include <cstring>

#include <gmock/gmock.h>

#include "tests/integration/EmulatedBoard.h"

namespace {

using testing::HasSubstr;

class SmbusProxyTest : public testing::Test {
  protected:
    SmbusProxyTest() {
        // What the client waits for a service that has stopped answering.
        setenv( "PL_SMBUS_TIMEOUT_MS", "300", 1 );
        for ( const char *name : { "psu", "bytes", "words", "rom", "nobody" } ) {
            endpoints_[ name ] = board_.add<pl_smbus>( name );
        }
    }

    pl_smbus *at( const char *name ) { return endpoints_.at( name ); }
    pl_status readByte( const char *name, unsigned char command, unsigned char *value ) {
        return at( name )->ops->read_byte( at( name ), command, value );
    }
    pl_status readBlock( const char *name, unsigned char command, std::string *block ) {
        unsigned char data[ 255 ];
        unsigned int length = 0;
        const pl_status status = at( name )->ops->block_read( at( name ), command, data, &length );
        if ( status == PL_STATUS_OK ) {
            block->assign( reinterpret_cast<char *>( data ), length );
        }
        return status;
    }
    pl_status readI2c( const char *name, unsigned char command, unsigned length,
                       std::string *bytes ) {
        bytes->assign( length, '?' );
        return at( name )->ops->i2c_block_read(
            at( name ), command, reinterpret_cast<unsigned char *>( bytes->data() ), length );
    }
    void inject( const std::vector<std::string> &fault ) {
        std::vector<std::string> words = { "fault", "inject" };
        words.insert( words.end(), fault.begin(), fault.end() );
        board_.ctl( words );
    }
    /** Everything reads as it did before there was a fault. */
    void expectHealthy() {
        board_.ctl( { "fault", "clear" } );
        unsigned char value = 0;
        EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_OK );
        EXPECT_EQ( value, 0x42 );
        std::string block;
        EXPECT_EQ( readBlock( "psu", 0x9A, &block ), PL_STATUS_OK );
        EXPECT_EQ( block, "DPS550AB6A" );
        EXPECT_EQ( readI2c( "rom", 0, 7, &block ), PL_STATUS_OK );
        EXPECT_EQ( block, "TlvInfo" );
    }

    EmulatedBoard board_{ "mirelund-smbus" };
    std::map<std::string, pl_smbus *> endpoints_;
};

TEST_F( SmbusProxyTest, ReceiveByteContinuesWhereTheDeviceStands ) {
    ASSERT_EQ( at( "bytes" )->ops->send_byte( at( "bytes" ), 0x00 ), PL_STATUS_OK );
    unsigned char value = 0;
    EXPECT_EQ( at( "bytes" )->ops->receive_byte( at( "bytes" ), &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x5A );
    EXPECT_EQ( at( "bytes" )->ops->receive_byte( at( "bytes" ), &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0xA5 );
}

TEST_F( SmbusProxyTest, SendByteReachesACommandWithoutData ) {
    EXPECT_EQ( at( "psu" )->ops->send_byte( at( "psu" ), 0x03 ), PL_STATUS_OK );
}

TEST_F( SmbusProxyTest, BytesAreReadAndWritten ) {
    EXPECT_EQ( at( "bytes" )->ops->write_byte( at( "bytes" ), 0x20, 0x99 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "bytes", 0x20 ), 0x99u );
    unsigned char value = 0;
    EXPECT_EQ( readByte( "bytes", 0x20, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x99 );
}

TEST_F( SmbusProxyTest, WordsTravelLowByteFirst ) {
    EXPECT_EQ( at( "psu" )->ops->write_word( at( "psu" ), 0x3B, 0x0064 ), PL_STATUS_OK );
    EXPECT_EQ( board_.peek( "psu", 0x3B ), 0x0064u );
    unsigned short value = 0;
    EXPECT_EQ( at( "psu" )->ops->read_word( at( "psu" ), 0x8B, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x1800 );
}

TEST_F( SmbusProxyTest, BlocksAreReadAndWritten ) {
    std::string block;
    EXPECT_EQ( readBlock( "psu", 0x9E, &block ), PL_STATUS_OK );
    EXPECT_EQ( block, "GTVD1615001656" );
    const unsigned char data[] = { 'n', 'e', 'w', 0, 0xFF };
    EXPECT_EQ( at( "psu" )->ops->block_write( at( "psu" ), 0xB0, data, sizeof( data ) ),
               PL_STATUS_OK );
    EXPECT_EQ( readBlock( "psu", 0xB0, &block ), PL_STATUS_OK );
    EXPECT_EQ( block, std::string( "new\0\xFF", 5 ) );
}

TEST_F( SmbusProxyTest, I2cBlocksAreReadAndWritten ) {
    std::string bytes;
    EXPECT_EQ( readI2c( "rom", 0, 9, &bytes ), PL_STATUS_OK );
    EXPECT_EQ( bytes, std::string( "TlvInfo\0\x01", 9 ) );
    const unsigned char data[] = { 0xDE, 0xAD };
    EXPECT_EQ( at( "rom" )->ops->i2c_block_write( at( "rom" ), 0x40, data, 2 ), PL_STATUS_OK );
    EXPECT_EQ( readI2c( "rom", 0x40, 2, &bytes ), PL_STATUS_OK );
    EXPECT_EQ( bytes, "\xDE\xAD" );
}

TEST_F( SmbusProxyTest, AProcessCallWritesAWordAndReadsOneBack ) {
    unsigned short reply = 0;
    EXPECT_EQ( at( "words" )->ops->process_call( at( "words" ), 0x05, 0x4321, &reply ),
               PL_STATUS_OK );
    // A plain register has nothing to process: it answers what it was given.
    EXPECT_EQ( reply, 0x4321 );
    EXPECT_EQ( board_.peek( "words", 0x05 ), 0x4321u );
}

TEST_F( SmbusProxyTest, ADeviceThatIsNotThereFailsEveryOperation ) {
    const pl_smbus_ops &ops = *at( "nobody" )->ops;
    pl_smbus *nobody = at( "nobody" );
    unsigned char byte = 0xEE;
    unsigned short word = 0xEEEE;
    std::string block = "unchanged";
    const unsigned char data[] = { 1 };
    EXPECT_EQ( ops.receive_byte( nobody, &byte ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.send_byte( nobody, 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.read_byte( nobody, 1, &byte ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.write_byte( nobody, 1, 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.read_word( nobody, 1, &word ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.write_word( nobody, 1, 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( readBlock( "nobody", 1, &block ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.block_write( nobody, 1, data, 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.i2c_block_read( nobody, 1, &byte, 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.i2c_block_write( nobody, 1, data, 1 ), PL_STATUS_FAILED );
    EXPECT_EQ( ops.process_call( nobody, 1, 1, &word ), PL_STATUS_FAILED );
    EXPECT_EQ( byte, 0xEE );
    EXPECT_EQ( word, 0xEEEE );
    EXPECT_EQ( block, "unchanged" );
    expectHealthy();
}

TEST_F( SmbusProxyTest, AMissingAcknowledgeFailsAtOnceSinceNothingIsRepeated ) {
    for ( const char *where : { "address", "data" } ) {
        inject( { "bytes", "nack", "--times", "1", "--at", where } );
        unsigned char value = 0xEE;
        EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_FAILED ) << where;
        EXPECT_EQ( value, 0xEE );
        EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_OK ) << where;
        EXPECT_EQ( value, 0x42 );
    }
    expectHealthy();
}

TEST_F( SmbusProxyTest, LostArbitrationFailsAtOnceToo ) {
    inject( { "bytes", "arbitration-lost", "--times", "1" } );
    unsigned char value;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_FAILED );
    expectHealthy();
}

TEST_F( SmbusProxyTest, ABadPacketErrorCodeHarmsNobodyWhoDoesNotAskForIt ) {
    inject( { "psu", "bad-pec" } );
    unsigned char value = 0;
    EXPECT_EQ( readByte( "psu", 0x20, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x17 );
    expectHealthy();
}

TEST_F( SmbusProxyTest, AShortBlockIsDeliveredAsItCameButNotWhereTheLengthWasAsked ) {
    inject( { "psu", "short-block", "--times", "1" } );
    std::string block;
    EXPECT_EQ( readBlock( "psu", 0x9A, &block ), PL_STATUS_OK );
    EXPECT_EQ( block, "DPS550AB6" );
    inject( { "rom", "short-block", "--times", "1" } );
    EXPECT_EQ( readI2c( "rom", 0, 7, &block ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( block, "???????" );
    expectHealthy();
}

TEST_F( SmbusProxyTest, AHeldClockFails ) {
    inject( { "bytes", "clock-hold", "--ms", "1" } );
    unsigned char value;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_FAILED );
    expectHealthy();
}

TEST_F( SmbusProxyTest, AStuckBusFailsEveryDeviceOnIt ) {
    inject( { "service-bus", "stuck-bus" } );
    unsigned char value;
    std::string block;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_FAILED );
    EXPECT_EQ( readBlock( "psu", 0x9A, &block ), PL_STATUS_FAILED );
    expectHealthy();
}

TEST_F( SmbusProxyTest, AFlippedBitCannotBeNoticedAndIsDeliveredAndCounted ) {
    inject( { "bytes", "flip-bit", "--bit", "0", "--times", "1" } );
    unsigned char value = 0;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x43 );
    EXPECT_THAT( board_.ctl( { "--json", "counters", "bytes" } ), HasSubstr( "\"faults\":1" ) );
    expectHealthy();
}

TEST_F( SmbusProxyTest, ADelayIsWaitedFor ) {
    inject( { "bytes", "delay", "--ms", "1", "--times", "1" } );
    unsigned char value = 0;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x42 );
    expectHealthy();
}

TEST_F( SmbusProxyTest, ADroppedConnectionCostsOneCall ) {
    inject( { "bytes", "drop-connection", "--times", "1" } );
    unsigned char value;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_OK );
    expectHealthy();
}

TEST_F( SmbusProxyTest, AServiceThatStopsAnsweringCostsOneDeadline ) {
    inject( { "bytes", "stop-answering", "--times", "1" } );
    unsigned char value;
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( readByte( "bytes", 0x10, &value ), PL_STATUS_OK );
    expectHealthy();
}

} // namespace
