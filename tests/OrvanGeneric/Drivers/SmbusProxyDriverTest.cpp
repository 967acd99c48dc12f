#include "OrvanGeneric/Drivers/SmbusProxyDriver.h"

#include <cstring>
#include <memory>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Log = std::vector<std::string>;
using Pauses = std::vector<unsigned>;

/** A proxy that pauses 5 ms after reads and 7 ms after writes. */
class SmbusProxyDriverTest : public testing::Test {
  protected:
    SmbusProxyDriverTest() {
        args_.driverArgs = { { "localReadDelayMs", "5" }, { "localWriteDelayMs", "7" } };
        driver_.reset( Drivers::SmbusProxyDriver::create( args_, &ham_ ) );
        driver_->hamIs( &ham_ );
        endpoint_ = endpoint( args_ );
        proxy_ = endpoint_->record();
    }

    using Endpoint = Drivers::SmbusProxyDriver::SmbusProxy;

    std::unique_ptr<Endpoint> endpoint( const Drivers::DriverArgs &args ) {
        return std::unique_ptr<Endpoint>(
            static_cast<Endpoint *>( driver_->newSmbusProxy( args ) ) );
    }

    FakeTime time_;
    Drivers::DriverArgs args_;
    ScriptedHam ham_;
    std::unique_ptr<Component::HardwareDevice> driver_;
    std::unique_ptr<Endpoint> endpoint_;
    pl_smbus *proxy_;
};

const Pauses readPause = { 5000 };
const Pauses writePause = { 7000 };

TEST_F( SmbusProxyDriverTest, RawTransfersAreNeverRepeated ) {
    EXPECT_TRUE( ham_.retrySet );
    EXPECT_EQ( ham_.retryCount, 0u );
}

TEST_F( SmbusProxyDriverTest, DelaysAreTracedInMicroseconds ) {
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "setting read delay of 5000 useconds\n" },
                         { 0, "setting write delay of 7000 useconds\n" } } ) );
}

TEST_F( SmbusProxyDriverTest, WithoutDelayArgumentsNothingPauses ) {
    FakeHost::instance().traces.clear();
    endpoint_ = endpoint( Drivers::DriverArgs() );
    pl_smbus *proxy = endpoint_->record();
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "setting read delay of 0 useconds\n" },
                         { 0, "setting write delay of 0 useconds\n" } } ) );
    unsigned char value;
    EXPECT_EQ( proxy->ops->read_byte( proxy, 1, &value ), PL_STATUS_OK );
    EXPECT_TRUE( FakeTime::microsleeps.empty() );
}

TEST_F( SmbusProxyDriverTest, ADelayThatIsNoNumberThrows ) {
    args_.driverArgs[ "localReadDelayMs" ] = "soon";
    EXPECT_THROW( driver_->newSmbusProxy( args_ ), std::invalid_argument );
}

TEST_F( SmbusProxyDriverTest, ReceiveByte ) {
    ham_.receivedByte = 0x5A;
    unsigned char value = 0;
    EXPECT_EQ( proxy_->ops->receive_byte( proxy_, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x5A );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "recvByte", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, SendByte ) {
    EXPECT_EQ( proxy_->ops->send_byte( proxy_, 0x03 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "sendByte 0x03", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, writePause );
}

TEST_F( SmbusProxyDriverTest, ReadByte ) {
    ham_.bytes[ 0x20 ] = 0x17;
    unsigned char value = 0;
    EXPECT_EQ( proxy_->ops->read_byte( proxy_, 0x20, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x17 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x20", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, WriteByte ) {
    EXPECT_EQ( proxy_->ops->write_byte( proxy_, 0x10, 0x80 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x10 0x80", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, writePause );
}

TEST_F( SmbusProxyDriverTest, ReadWord ) {
    ham_.words[ 0x8B ] = 0x1800;
    unsigned short value = 0;
    EXPECT_EQ( proxy_->ops->read_word( proxy_, 0x8B, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0x1800 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read16 0x8b", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, WriteWord ) {
    EXPECT_EQ( proxy_->ops->write_word( proxy_, 0x3B, 0x0064 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x3b 0x0064", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, writePause );
}

TEST_F( SmbusProxyDriverTest, BlockReadCopiesWhateverCame ) {
    ham_.blocks[ 0x9A ] = std::string( "PS\0A", 4 );
    unsigned char data[ 255 ];
    std::memset( data, 0xEE, sizeof( data ) );
    unsigned int length = 0;
    EXPECT_EQ( proxy_->ops->block_read( proxy_, 0x9A, data, &length ), PL_STATUS_OK );
    EXPECT_EQ( length, 4u );
    EXPECT_EQ( std::memcmp( data, "PS\0A\xEE", 5 ), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "readBlock 0x9a", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, BlockReadOf255BytesFits ) {
    ham_.blocks[ 1 ] = std::string( 255, 'x' );
    unsigned char data[ 255 ];
    unsigned int length = 0;
    EXPECT_EQ( proxy_->ops->block_read( proxy_, 1, data, &length ), PL_STATUS_OK );
    EXPECT_EQ( length, 255u );
    EXPECT_EQ( data[ 254 ], 'x' );
}

TEST_F( SmbusProxyDriverTest, BlockReadBeyondTheHostsBufferFailsAndWritesNothing ) {
    ham_.blocks[ 1 ] = std::string( 256, 'x' );
    unsigned char data[ 255 ] = { 0xEE };
    unsigned int length = 77;
    EXPECT_EQ( proxy_->ops->block_read( proxy_, 1, data, &length ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( length, 77u );
    EXPECT_EQ( data[ 0 ], 0xEE );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, FailedBlockReadWritesNeitherDataNorLength ) {
    ham_.blocks[ 1 ] = "abc";
    ham_.statuses = { 6 };
    unsigned char data[ 255 ] = { 0xEE };
    unsigned int length = 77;
    EXPECT_EQ( proxy_->ops->block_read( proxy_, 1, data, &length ), PL_STATUS_FAILED );
    EXPECT_EQ( length, 77u );
    EXPECT_EQ( data[ 0 ], 0xEE );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, BlockWrite ) {
    const unsigned char data[] = { 1, 2, 0xFF };
    EXPECT_EQ( proxy_->ops->block_write( proxy_, 0x10, data, sizeof( data ) ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "writeBlock 0x10 0102ff", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, writePause );
}

TEST_F( SmbusProxyDriverTest, I2cBlockRead ) {
    ham_.blocks[ 0x00 ] = "TlvInfo";
    unsigned char data[ 7 ] = {};
    EXPECT_EQ( proxy_->ops->i2c_block_read( proxy_, 0, data, 7 ), PL_STATUS_OK );
    EXPECT_EQ( std::memcmp( data, "TlvInfo", 7 ), 0 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read 0x00 7", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, readPause );
}

TEST_F( SmbusProxyDriverTest, ShortI2cBlockReadAnswersFourWithoutPauseAndCopy ) {
    ham_.blocks[ 0 ] = "1234567";
    unsigned char data[ 8 ] = { 0xEE };
    EXPECT_EQ( proxy_->ops->i2c_block_read( proxy_, 0, data, 8 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( data[ 0 ], 0xEE );
    EXPECT_TRUE( FakeTime::microsleeps.empty() );
}

TEST_F( SmbusProxyDriverTest, LongI2cBlockReadAnswersFourWithoutPauseAndCopy ) {
    ham_.blocks[ 0 ] = "123456789";
    unsigned char data[ 8 ] = { 0xEE };
    EXPECT_EQ( proxy_->ops->i2c_block_read( proxy_, 0, data, 8 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( data[ 0 ], 0xEE );
    EXPECT_TRUE( FakeTime::microsleeps.empty() );
}

TEST_F( SmbusProxyDriverTest, FailedI2cBlockReadAnswersFourInPlaceOfTheHamsStatus ) {
    ham_.blocks[ 0 ] = "12345678";
    ham_.statuses = { 6 };
    unsigned char data[ 8 ] = { 0xEE };
    EXPECT_EQ( proxy_->ops->i2c_block_read( proxy_, 0, data, 8 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( data[ 0 ], 0xEE );
    EXPECT_TRUE( FakeTime::microsleeps.empty() );
}

TEST_F( SmbusProxyDriverTest, I2cBlockWrite ) {
    const unsigned char data[] = { 0xAB };
    EXPECT_EQ( proxy_->ops->i2c_block_write( proxy_, 0x40, data, 1 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write 0x40 ab", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, writePause );
}

TEST_F( SmbusProxyDriverTest, ProcessCallPausesLikeAWrite ) {
    ham_.words[ 0x05 ] = 0xBEEF;
    unsigned short reply = 0;
    EXPECT_EQ( proxy_->ops->process_call( proxy_, 0x05, 0x1234, &reply ), PL_STATUS_OK );
    EXPECT_EQ( reply, 0xBEEF );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "processCall 0x05 0x1234", "execute" } ) );
    EXPECT_EQ( FakeTime::microsleeps, writePause );
}

TEST_F( SmbusProxyDriverTest, EveryOtherOperationPausesAndReturnsTheStatusOfAFailure ) {
    const pl_smbus_ops &ops = *proxy_->ops;
    unsigned char byte = 0xEE;
    unsigned short word = 0xEEEE;
    const unsigned char data[] = { 1 };
    ham_.statuses = { 4, 4, 4, 4, 4, 4, 4, 4, 4 };
    EXPECT_EQ( ops.receive_byte( proxy_, &byte ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.read_byte( proxy_, 1, &byte ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.read_word( proxy_, 1, &word ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( FakeTime::microsleeps, ( Pauses{ 5000, 5000, 5000 } ) );
    FakeTime::microsleeps.clear();
    EXPECT_EQ( ops.send_byte( proxy_, 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.write_byte( proxy_, 1, 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.write_word( proxy_, 1, 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.block_write( proxy_, 1, data, 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.i2c_block_write( proxy_, 1, data, 1 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ops.process_call( proxy_, 1, 1, &word ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( FakeTime::microsleeps, Pauses( 6, 7000 ) );
    EXPECT_EQ( byte, 0xEE );
    EXPECT_EQ( word, 0xEEEE );
}

TEST_F( SmbusProxyDriverTest, QuickCommandAndBlockProcessCallAreNotOffered ) {
    unsigned char byte = 0;
    try {
        proxy_->ops->quick_command( proxy_, 0 );
        FAIL();
    } catch ( const Component::NotImplementedException &e ) {
        EXPECT_STREQ( e.what(), "Not implemented quickCommand" );
    }
    try {
        proxy_->ops->block_process_call( proxy_, 1, &byte, 1, &byte, &byte );
        FAIL();
    } catch ( const Component::NotImplementedException &e ) {
        EXPECT_STREQ( e.what(), "Not implemented blockProcessCall" );
    }
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_TRUE( FakeTime::microsleeps.empty() );
}

TEST( SmbusProxyDriverDeathTest, WithoutAHamItAborts ) {
    EXPECT_DEATH( Drivers::SmbusProxyDriver::create( Drivers::DriverArgs(), nullptr ),
                  "Assertion `ham' failed" );
}

} // namespace
