#include "OrvanGeneric/Components/SmbusProxy.h"

#include <exception>

#include <gmock/gmock.h>

#include "tests/support/FakeHost.h"
#include "tests/support/HostRecord.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::SmbusProxy;
using testing::Return;

// Endpoints live as long as the process and have no virtual destructor.
class MockProxy : public SmbusProxy {
  public:
    MOCK_METHOD( pl_status, receiveByte, ( unsigned char * ), ( override ) );
    MOCK_METHOD( pl_status, sendByte, ( unsigned char ), ( override ) );
    MOCK_METHOD( pl_status, readByte, ( unsigned char, unsigned char * ), ( override ) );
    MOCK_METHOD( pl_status, writeByte, ( unsigned char, unsigned char ), ( override ) );
    MOCK_METHOD( pl_status, readWord, ( unsigned char, unsigned short * ), ( override ) );
    MOCK_METHOD( pl_status, writeWord, ( unsigned char, unsigned short ), ( override ) );
    MOCK_METHOD( pl_status, blockRead, ( unsigned char, unsigned char *, unsigned int * ),
                 ( override ) );
    MOCK_METHOD( pl_status, blockWrite, ( unsigned char, const unsigned char *, unsigned int ),
                 ( override ) );
    MOCK_METHOD( pl_status, i2cBlockRead, ( unsigned char, unsigned char *, unsigned int ),
                 ( override ) );
    MOCK_METHOD( pl_status, i2cBlockWrite, ( unsigned char, const unsigned char *, unsigned int ),
                 ( override ) );
    MOCK_METHOD( pl_status, processCall, ( unsigned char, unsigned short, unsigned short * ),
                 ( override ) );
};

class WholeProxy final : public MockProxy {
  public:
    MOCK_METHOD( pl_status, quickCommand, ( int ), ( override ) );
    MOCK_METHOD( pl_status, blockProcessCall,
                 ( unsigned char, const unsigned char *, unsigned char, unsigned char *,
                   unsigned char * ),
                 ( override ) );
};

class SmbusProxyTest : public testing::Test {
  protected:
    WholeProxy proxy_;
    pl_smbus *record_ = proxy_.record();
    FakeHost &host_ = FakeHost::instance();

    // What travels through the callbacks, by address or by value.
    unsigned char byte_ = 0;
    unsigned char length_ = 0;
    unsigned short word_ = 0;
    unsigned int count_ = 0;
    unsigned char data_[ 8 ] = {};
};

TEST_F( SmbusProxyTest, RecordStandsBehindTheVirtualTablePointer ) {
    expectHostRecord( proxy_, &SmbusProxy::ops_ );
}

TEST_F( SmbusProxyTest, TableHoldsItsSizeAndTheCallbacks ) {
    ORVAN_FOR_32_BITS();
    EXPECT_EQ( SmbusProxy::ops_.size, 56u );
    EXPECT_EQ( offsetof( pl_smbus_ops, quick_command ), 4u );
    EXPECT_EQ( SmbusProxy::ops_.quick_command, SmbusProxy::quickCommandCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, receive_byte ), 8u );
    EXPECT_EQ( SmbusProxy::ops_.receive_byte, SmbusProxy::receiveByteCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, send_byte ), 12u );
    EXPECT_EQ( SmbusProxy::ops_.send_byte, SmbusProxy::sendByteCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, read_byte ), 16u );
    EXPECT_EQ( SmbusProxy::ops_.read_byte, SmbusProxy::readByteCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, write_byte ), 20u );
    EXPECT_EQ( SmbusProxy::ops_.write_byte, SmbusProxy::writeByteCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, read_word ), 24u );
    EXPECT_EQ( SmbusProxy::ops_.read_word, SmbusProxy::readWordCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, write_word ), 28u );
    EXPECT_EQ( SmbusProxy::ops_.write_word, SmbusProxy::writeWordCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, block_read ), 32u );
    EXPECT_EQ( SmbusProxy::ops_.block_read, SmbusProxy::blockReadCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, block_write ), 36u );
    EXPECT_EQ( SmbusProxy::ops_.block_write, SmbusProxy::blockWriteCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, i2c_block_read ), 40u );
    EXPECT_EQ( SmbusProxy::ops_.i2c_block_read, SmbusProxy::i2cBlockReadCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, i2c_block_write ), 44u );
    EXPECT_EQ( SmbusProxy::ops_.i2c_block_write, SmbusProxy::i2cBlockWriteCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, process_call ), 48u );
    EXPECT_EQ( SmbusProxy::ops_.process_call, SmbusProxy::processCallCallback );
    EXPECT_EQ( offsetof( pl_smbus_ops, block_process_call ), 52u );
    EXPECT_EQ( SmbusProxy::ops_.block_process_call, SmbusProxy::blockProcessCallCallback );
}

TEST_F( SmbusProxyTest, VirtualOperationsBeginWithoutADestructor ) {
    EXPECT_EQ( virtualSlot( &SmbusProxy::quickCommand ), 0u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::receiveByte ), 1u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::sendByte ), 2u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::readByte ), 3u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::writeByte ), 4u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::readWord ), 5u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::writeWord ), 6u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::blockRead ), 7u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::blockWrite ), 8u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::i2cBlockRead ), 9u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::i2cBlockWrite ), 10u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::processCall ), 11u );
    EXPECT_EQ( virtualSlot( &SmbusProxy::blockProcessCall ), 12u );
}

TEST_F( SmbusProxyTest, QuickCommandCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, quickCommand( 1 ) ).WillOnce( Return( PL_STATUS_FAULT ) );
    EXPECT_EQ( record_->ops->quick_command( record_, 1 ), PL_STATUS_FAULT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "quickCommandCallback" } } ) );
}

TEST_F( SmbusProxyTest, ReceiveByteCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, receiveByte( &byte_ ) ).WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( record_->ops->receive_byte( record_, &byte_ ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "receiveByteCallback" } } ) );
}

TEST_F( SmbusProxyTest, SendByteCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, sendByte( 0xa5 ) ).WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( record_->ops->send_byte( record_, 0xa5 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "sendByteCallback" } } ) );
}

TEST_F( SmbusProxyTest, ReadByteCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, readByte( 0x8b, &byte_ ) ).WillOnce( Return( PL_STATUS_FAULT ) );
    EXPECT_EQ( record_->ops->read_byte( record_, 0x8b, &byte_ ), PL_STATUS_FAULT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "readByteCallback" } } ) );
}

TEST_F( SmbusProxyTest, WriteByteCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, writeByte( 0x8b, 0xa5 ) ).WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( record_->ops->write_byte( record_, 0x8b, 0xa5 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "writeByteCallback" } } ) );
}

TEST_F( SmbusProxyTest, ReadWordCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, readWord( 0x8b, &word_ ) ).WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( record_->ops->read_word( record_, 0x8b, &word_ ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "readWordCallback" } } ) );
}

TEST_F( SmbusProxyTest, WriteWordCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, writeWord( 0x8b, 0x1234 ) ).WillOnce( Return( PL_STATUS_FAULT ) );
    EXPECT_EQ( record_->ops->write_word( record_, 0x8b, 0x1234 ), PL_STATUS_FAULT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "writeWordCallback" } } ) );
}

TEST_F( SmbusProxyTest, BlockReadCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, blockRead( 0x8b, data_, &count_ ) )
        .WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( record_->ops->block_read( record_, 0x8b, data_, &count_ ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "blockReadCallback" } } ) );
}

TEST_F( SmbusProxyTest, BlockWriteCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, blockWrite( 0x8b, data_, 8 ) ).WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( record_->ops->block_write( record_, 0x8b, data_, 8 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "blockWriteCallback" } } ) );
}

TEST_F( SmbusProxyTest, I2cBlockReadCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, i2cBlockRead( 0x8b, data_, 8 ) ).WillOnce( Return( PL_STATUS_FAULT ) );
    EXPECT_EQ( record_->ops->i2c_block_read( record_, 0x8b, data_, 8 ), PL_STATUS_FAULT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "i2cBlockReadCallback" } } ) );
}

TEST_F( SmbusProxyTest, I2cBlockWriteCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, i2cBlockWrite( 0x8b, data_, 8 ) )
        .WillOnce( Return( PL_STATUS_TRANSPORT ) );
    EXPECT_EQ( record_->ops->i2c_block_write( record_, 0x8b, data_, 8 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "i2cBlockWriteCallback" } } ) );
}

TEST_F( SmbusProxyTest, ProcessCallCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, processCall( 0x8b, 0x1234, &word_ ) )
        .WillOnce( Return( PL_STATUS_FAILED ) );
    EXPECT_EQ( record_->ops->process_call( record_, 0x8b, 0x1234, &word_ ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "processCallCallback" } } ) );
}

TEST_F( SmbusProxyTest, BlockProcessCallCallbackTracesItsNameAndForwards ) {
    EXPECT_CALL( proxy_, blockProcessCall( 0x8b, data_, 3, &byte_, &length_ ) )
        .WillOnce( Return( PL_STATUS_FAULT ) );
    EXPECT_EQ( record_->ops->block_process_call( record_, 0x8b, data_, 3, &byte_, &length_ ),
               PL_STATUS_FAULT );
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "blockProcessCallCallback" } } ) );
}

TEST_F( SmbusProxyTest, QuickCommandThrowsUnlessADriverOffersIt ) {
    MockProxy proxy;
    try {
        proxy.record()->ops->quick_command( proxy.record(), 0 );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented quickCommand" );
    }
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "quickCommandCallback" } } ) );
}

TEST_F( SmbusProxyTest, BlockProcessCallThrowsUnlessADriverOffersIt ) {
    MockProxy proxy;
    try {
        proxy.record()->ops->block_process_call( proxy.record(), 1, data_, 3, &byte_, &length_ );
        FAIL() << "nothing thrown";
    } catch ( const std::exception &error ) {
        EXPECT_STREQ( error.what(), "Not implemented blockProcessCall" );
    }
    EXPECT_EQ( host_.traces, ( Traces{ { 1, "blockProcessCallCallback" } } ) );
}

} // namespace
